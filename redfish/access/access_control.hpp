#ifndef DP_REDFISH_ACCESS_ACCESS_CONTROL_HPP
#define DP_REDFISH_ACCESS_ACCESS_CONTROL_HPP

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "redfish/access/identity.hpp"
#include "redfish/http/http_message.hpp"

namespace dp_redfish {

/// Finds out who sends a request.
class access_control {
  public:
    virtual ~access_control() = default;

    struct decision {
        enum class states : std::uint8_t {
            known,        ///< `caller` is who sent it, or nobody if it has no credentials
            refused,      ///< wrong or expired credentials, or too many failed logins
            unavailable,  ///< cannot be decided now
        };
        states state = states::known;
        identity caller{};
    };

    /// Decides by the session token in X-Auth-Token or by the user name and password in
    /// Authorization; the token counts when there are both. Calls `done` once, from any thread,
    /// maybe before it returns. Does not block.
    virtual void identify(std::shared_ptr<const http_request> request,
                          std::function<void(decision)> done) = 0;
};

}  // namespace dp_redfish

#endif
