#ifndef DP_REDFISH_ACCESS_ACCESS_POLICY_HPP
#define DP_REDFISH_ACCESS_ACCESS_POLICY_HPP

#include <chrono>
#include <cstdint>

namespace dp_redfish {

/// What an administrator decides about logins. The limits are those of Redfish's schemas, and where
/// these have none, a day.
struct access_policy {
    static constexpr std::int64_t least_session_timeout = 30;
    static constexpr std::int64_t greatest_time = 86400;
    static constexpr std::int64_t greatest_threshold = 1000;

    /// From its last use until a session ends.
    std::chrono::seconds session_timeout{1800};
    /// Whether a session ends `absolute_timeout` after its login also when it is used.
    bool has_absolute_timeout = false;
    std::chrono::seconds absolute_timeout{greatest_time};
    /// Failed logins after which an account is locked; 0: never.
    std::int64_t lockout_threshold = 5;
    /// For how long it is locked; zero: never.
    std::chrono::seconds lockout_duration{300};
    /// From the last failed login until failed logins are forgotten; at most `lockout_duration`,
    /// unless that is zero.
    std::chrono::seconds lockout_reset_after{300};

    /// Whether the times fit together: no failed login is forgotten later than its lock ends.
    [[nodiscard]] bool is_consistent() const {
        return lockout_duration.count() == 0 || lockout_reset_after <= lockout_duration;
    }

    bool operator==(const access_policy&) const = default;
};

}  // namespace dp_redfish

#endif
