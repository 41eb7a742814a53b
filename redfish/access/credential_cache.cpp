#include "redfish/access/credential_cache.hpp"

#include <algorithm>

#include "redfish/access/secret_text.hpp"

namespace dp_redfish {

digest credential_cache::digest_of(std::string_view user, std::string_view password) const {
    // User names do not contain zero bytes, so the text is unambiguous.
    secret_text both(user.size() + 1 + password.size());
    auto* const after_user = std::copy(user.begin(), user.end(), both.data());
    std::copy(password.begin(), password.end(), after_user + 1);
    return keyed_digest(key_, both.view());
}

bool credential_cache::has(std::string_view user, const digest& credentials) const {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(user);
    return found != entries_.end() &&
           equal_in_constant_time(found->second.credentials, credentials) &&
           now_() < found->second.until;
}

void credential_cache::remember(std::string_view user, const digest& credentials) {
    const std::lock_guard lock(mutex_);
    entries_.insert_or_assign(std::string(user), entry{credentials, now_() + lifetime});
}

void credential_cache::forget(std::string_view user) {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(user);
    if (found != entries_.end()) {
        entries_.erase(found);
    }
}

}  // namespace dp_redfish
