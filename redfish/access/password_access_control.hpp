#ifndef DP_REDFISH_ACCESS_PASSWORD_ACCESS_CONTROL_HPP
#define DP_REDFISH_ACCESS_PASSWORD_ACCESS_CONTROL_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "redfish/access/access_control.hpp"
#include "redfish/access/access_environment.hpp"
#include "redfish/access/account_store.hpp"
#include "redfish/access/audit_log.hpp"
#include "redfish/access/credential_cache.hpp"
#include "redfish/access/digest.hpp"
#include "redfish/access/external_accounts.hpp"
#include "redfish/access/lockout.hpp"
#include "redfish/access/secret_text.hpp"
#include "redfish/access/session_store.hpp"
#include "redfish/threads/worker_thread.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// Identifies clients by the accounts of an accounts file, by external accounts and by sessions.
/// Passwords are hashed, and accounts changed, by a thread of its own. Construct it so:
///
///     const auto environment = access_environment::of_system();
///     const auto is_new = make_first_account(path, environment);   // first_account.hpp
///     ... if `*is_new`, print the name of first_password_path(path), not its content
///     auto access = password_access_control::start({path, [](const std::string& line) {...}});
///     add_session_routes(routes, **access);
///     add_account_routes(routes, **access);
///
/// It must outlive the routes and the server that use it; call `stop` before these end. Its member
/// functions can be called from any thread.
class password_access_control final : public access_control {
  public:
    struct options {
        std::string accounts_path;
        std::function<void(const std::string&)> log;  ///< as in `audit_log`
        access_environment environment = access_environment::of_system();
        unsigned hash_cost = 0;         ///< as in `hash_password`
        std::size_t queue_limit = 256;  ///< logins and changes of accounts that wait
        session_store::limits session_limits{};
        /// Accounts besides those of the file, which come first; null: none.
        std::shared_ptr<external_accounts> external{};
    };

    /// Reads the accounts and starts the thread. Failure, with the reason for a person, when the
    /// accounts file is missing or cannot be used; it is never changed then.
    static dp_support::result<std::unique_ptr<password_access_control>> start(
        const options& chosen);

    void identify(std::shared_ptr<const http_request> request,
                  std::function<void(decision)> done) override;

    enum class login_problem : std::uint8_t {
        none,
        refused,  ///< wrong credentials, or too many failed logins
        too_many_sessions,
        unavailable,  ///< try again later
    };

    /// Checks name and password and opens a session. Calls `done` once, from any thread.
    void log_in(const std::string& user, secret_text password, const std::string& peer,
                const std::string& context,
                const std::function<void(login_problem, login_session, secret_text token)>& done);

    /// Answers those who wait with "unavailable" and ends the thread. Call it before what they use
    /// ends, such as the routes.
    void stop() { thread_.stop(); }

    /// Does `piece` on the thread that changes accounts. False when too much waits there.
    bool post(worker_thread::job piece) { return thread_.post(std::move(piece)); }

    /// Its functions that change or refresh accounts are for `post`.
    account_store& accounts() { return accounts_; }
    [[nodiscard]] const account_store& accounts() const { return accounts_; }
    session_store& sessions() { return sessions_; }
    /// Whether logins of this user are refused now because of failures.
    [[nodiscard]] bool is_locked(std::string_view user) const {
        return failures_.is_locked(user, accounts_.policy());
    }
    void unlock(std::string_view by, const std::string& user);

    /// Whether this is the password of a user who is logged in already. A wrong one counts as a
    /// failed login. To be used in `post`.
    /// @param by  for the log
    login_problem check_again(const std::string& user, secret_text password,
                              const std::string& peer, const char* by);
    audit_log& log() { return log_; }

    /// A function that returns whether a client that was admitted just now still is: whether its
    /// account may log in with the same password and role. The end of its session alone does not
    /// end what it opened, as DSP0266 has it. For clients that keep a connection open. From any
    /// thread; does not block.
    [[nodiscard]] std::function<bool()> admission_of(const identity& client);

    /// The accounts besides those of the file; null: none. To be used in `post`.
    [[nodiscard]] external_accounts* external() const { return external_.get(); }

  private:
    using states = decision::states;
    struct login_attempt {
        std::string user;
        secret_text password;
        std::string peer;
        const char* by;  // for the log
        digest credentials;
    };

    password_access_control(const options& chosen, const digest& cache_key,
                            std::string unknown_hash);

    void decide_by_token(const http_request& request, const std::string& token,
                         const std::function<void(decision)>& done);
    void decide_by_password(const http_request& request, std::string_view authorization,
                            const std::function<void(decision)>& done);
    [[nodiscard]] decision decide(const login_attempt& attempt) noexcept;
    [[nodiscard]] states check(const login_attempt& attempt);
    [[nodiscard]] states check_external(const login_attempt& attempt);
    states refuse(const login_attempt& attempt, bool has_account, const char* reason);
    [[nodiscard]] identity identity_of(const std::string& user) const;

    audit_log log_;
    session_store sessions_;
    lockout failures_;
    credential_cache known_credentials_;
    account_store accounts_;
    std::shared_ptr<external_accounts> external_;
    // Of the users who logged in with an external account, since finding a role may take long.
    mutable std::mutex external_roles_mutex_;
    std::map<std::string, roles> external_roles_;
    // Hashed for names without an account, so that these take as long as others.
    std::string unknown_hash_;
    // Who waits for the same credentials to be checked.
    std::mutex waiting_mutex_;
    std::map<digest, std::vector<std::function<void(decision)>>> waiting_;
    worker_thread thread_;  // last: it uses the others
};

}  // namespace dp_redfish

#endif
