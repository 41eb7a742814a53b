#ifndef DP_REDFISH_ACCESS_CREDENTIAL_CACHE_HPP
#define DP_REDFISH_ACCESS_CREDENTIAL_CACHE_HPP

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "redfish/access/access_environment.hpp"
#include "redfish/access/digest.hpp"

namespace dp_redfish {

/// Remembers for a minute which user names and passwords were right: a client that sends them with
/// each request is not slowed down by hashing each time. Keeps a digest with a random key that
/// never leaves the process. Can be used from any thread.
class credential_cache {
  public:
    static constexpr std::chrono::seconds lifetime{60};

    credential_cache(const access_environment& environment, const digest& key)
        : now_(environment.steady_now), key_(key) {}

    /// What is kept of a user name and a password.
    [[nodiscard]] digest digest_of(std::string_view user, std::string_view password) const;

    /// Whether these were right less than `lifetime` ago.
    [[nodiscard]] bool has(std::string_view user, const digest& credentials) const;

    /// Remembers that they were right; the user's other ones are forgotten.
    void remember(std::string_view user, const digest& credentials);

    /// Forgets the user's.
    void forget(std::string_view user);

  private:
    struct entry {
        digest credentials;
        std::chrono::steady_clock::time_point until;
    };

    std::function<std::chrono::steady_clock::time_point()> now_;
    digest key_;
    mutable std::mutex mutex_;
    std::map<std::string, entry, std::less<>> entries_;  // at most one for each account
};

}  // namespace dp_redfish

#endif
