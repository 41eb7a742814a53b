#ifndef DP_REDFISH_ACCESS_ACCOUNT_STORE_HPP
#define DP_REDFISH_ACCESS_ACCOUNT_STORE_HPP

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "redfish/access/access_environment.hpp"
#include "redfish/access/account.hpp"
#include "redfish/access/accounts_file.hpp"
#include "redfish/access/audit_log.hpp"
#include "redfish/access/credential_cache.hpp"
#include "redfish/access/lockout.hpp"
#include "redfish/access/secret_text.hpp"
#include "redfish/access/session_store.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// Why accounts were not changed.
enum class account_problem : std::uint8_t {
    none,
    no_such_account,
    name_taken,
    too_many_accounts,
    last_administrator,   ///< nobody could administer the service after the change
    precondition_failed,  ///< the account is not the one that the client has seen
    no_space,             ///< on the disk
    failed,               ///< the reason is in the log
};

/// The accounts of the accounts file, in memory. Every change is in the file before it counts. When
/// an account's password, role or right to log in changes, its sessions end.
///
/// Reading can be done from any thread. `load`, `refresh` and the changes are for one thread, since
/// they take long.
class account_store {
  public:
    /// Where a change of an account is to be noticed.
    struct followers {
        audit_log& log;
        session_store& sessions;
        lockout& failures;
        credential_cache& known_credentials;
    };

    /// @param hash_cost  as in `hash_password`
    account_store(const std::string& path, const access_environment& environment,
                  unsigned hash_cost, followers to_tell)
        : file_(path), environment_(environment), hash_cost_(hash_cost), to_tell_(to_tell) {}

    /// Reads the file at start. The code of a failure is ENOENT when there is none.
    dp_support::result<> load();

    /// The account with this name; nothing when there is none.
    [[nodiscard]] std::optional<account> find(std::string_view name) const;
    /// Whether there is an account with this name whose password must be changed.
    [[nodiscard]] bool must_change_password(std::string_view name) const;
    /// All accounts, in the file's order.
    [[nodiscard]] std::vector<account> list() const;
    [[nodiscard]] access_policy policy() const;

    /// Whether the file on the disk is the one that was read last. One system call.
    [[nodiscard]] bool is_current() const;

    /// Reads the file if another process replaced it. When it cannot be read, the accounts stay as
    /// they were and false is returned; the log has the reason, once.
    bool refresh();

    /// Whether an account is the one that a client wants to change; empty: any is.
    using precondition = std::function<bool(const account&)>;

    /// What a change is to set; what is empty stays as it is.
    struct account_change {
        const secret_text* password = nullptr;  ///< not owned
        std::optional<roles> role{};
        std::optional<bool> enabled{};
        bool unlock = false;
        /// Without it, a new password makes it false.
        std::optional<bool> must_change_password{};
        /// The session of the user who changes the own password, which goes on; empty: none.
        std::string kept_session{};
    };

    /// @param by  the user who asks for the change, for the log
    account_problem create(std::string_view by, const std::string& name, roles role, bool enabled,
                           const secret_text& password, bool must_change_password = false);
    account_problem change(std::string_view by, std::string_view name, const account_change& change,
                           const precondition& expected);
    account_problem remove(std::string_view by, std::string_view name,
                           const precondition& expected);
    /// @param edit  changes the policy that it gets; false: it does not want to
    account_problem change_policy(std::string_view by,
                                  const std::function<bool(access_policy&)>& edit);

  private:
    [[nodiscard]] account_data copy() const;
    account_problem edit(const std::function<account_problem(account_data&)>& edit,
                         const std::string& kept_session = {});
    [[nodiscard]] account_problem report(const dp_support::failure& why) const;
    void adopt(const account_data& data, const accounts_file::version& version,
               const std::string& kept_session = {});
    [[nodiscard]] dp_support::result<std::string> hash(const secret_text& password) const;

    accounts_file file_;
    access_environment environment_;
    unsigned hash_cost_;
    followers to_tell_;
    mutable std::mutex mutex_;
    account_data data_;
    accounts_file::version read_;          // the version that data_ is
    accounts_file::version not_readable_;  // the one that was last reported as not readable
    bool is_readable_ = true;
};

}  // namespace dp_redfish

#endif
