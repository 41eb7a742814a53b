#include "redfish/access/lockout.hpp"

namespace dp_redfish {

bool lockout::is_locked(std::string_view user, const access_policy& policy) const {
    const std::lock_guard lock(mutex_);
    const auto found = records_.find(user);
    return policy.lockout_threshold != 0 && found != records_.end() &&
           found->second.locked_until > now_();
}

bool lockout::count_failure(std::string_view user, bool has_account, const access_policy& policy) {
    const std::lock_guard lock(mutex_);
    const time now = now_();
    auto found = records_.find(user);
    if (found == records_.end()) {
        if (!has_account && unknown_names_ == unknown_names_limit) {
            forget_oldest_unknown_name();
        }
        found = records_.emplace(user, record{0, now, std::nullopt, has_account}).first;
        unknown_names_ += has_account ? 0U : 1U;
    }
    record& of_user = found->second;
    if (of_user.has_account != has_account) {
        of_user.has_account = has_account;
        unknown_names_ = has_account ? unknown_names_ - 1 : unknown_names_ + 1;
    }
    const bool lock_is_over = of_user.locked_until && *of_user.locked_until <= now;
    if (lock_is_over || now - of_user.last_failure >= policy.lockout_reset_after) {
        of_user.failures = 0;
        of_user.locked_until.reset();
    }
    ++of_user.failures;
    of_user.last_failure = now;
    if (policy.lockout_threshold == 0 || of_user.failures < policy.lockout_threshold ||
        policy.lockout_duration.count() == 0) {
        return false;
    }
    of_user.locked_until = now + policy.lockout_duration;
    return true;
}

void lockout::clear(std::string_view user) {
    const std::lock_guard lock(mutex_);
    const auto found = records_.find(user);
    if (found != records_.end()) {
        unknown_names_ -= found->second.has_account ? 0U : 1U;
        records_.erase(found);
    }
}

// Looks at all records, which takes less time than the hash of the password that was tried.
void lockout::forget_oldest_unknown_name() {
    auto oldest = records_.end();
    for (auto it = records_.begin(); it != records_.end(); ++it) {
        if (!it->second.has_account &&
            (oldest == records_.end() || it->second.last_failure < oldest->second.last_failure)) {
            oldest = it;
        }
    }
    if (oldest != records_.end()) {
        records_.erase(oldest);
        --unknown_names_;
    }
}

}  // namespace dp_redfish
