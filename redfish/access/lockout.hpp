#ifndef DP_REDFISH_ACCESS_LOCKOUT_HPP
#define DP_REDFISH_ACCESS_LOCKOUT_HPP

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "redfish/access/access_environment.hpp"
#include "redfish/access/access_policy.hpp"

namespace dp_redfish {

/// Counts failed logins and locks accounts. It also counts those of names that have no account, so
/// that a client cannot find out which names have one. Can be used from any thread.
class lockout {
  public:
    /// Names without an account that are remembered; beyond, the oldest is forgotten.
    static constexpr std::size_t unknown_names_limit = 4096;

    explicit lockout(const access_environment& environment) : now_(environment.steady_now) {}

    /// Whether logins of this user are refused now.
    [[nodiscard]] bool is_locked(std::string_view user, const access_policy& policy) const;

    /// Counts a failed login. True when this one locked the account.
    /// @param has_account  records of accounts are never forgotten to save memory
    bool count_failure(std::string_view user, bool has_account, const access_policy& policy);

    /// Forgets failures and lock, as after a login.
    void clear(std::string_view user);

  private:
    using time = std::chrono::steady_clock::time_point;
    struct record {
        std::int64_t failures = 0;
        time last_failure;
        std::optional<time> locked_until{};
        bool has_account = false;
    };

    void forget_oldest_unknown_name();

    std::function<time()> now_;
    mutable std::mutex mutex_;
    std::map<std::string, record, std::less<>> records_;
    std::size_t unknown_names_ = 0;
};

}  // namespace dp_redfish

#endif
