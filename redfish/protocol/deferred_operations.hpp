#ifndef DP_REDFISH_PROTOCOL_DEFERRED_OPERATIONS_HPP
#define DP_REDFISH_PROTOCOL_DEFERRED_OPERATIONS_HPP

#include <functional>
#include <string_view>

#include "redfish/access/identity.hpp"
#include "redfish/http/http_message.hpp"
#include "redfish/protocol/call.hpp"

namespace dp_redfish {

/// Lets operations go on after their request was answered.
class deferred_operations {
  public:
    virtual ~deferred_operations() = default;

    struct accepted_operation {
        answer answer_now;  ///< the answer to the request, or why it is not done
        /// Takes the operation's own answer, once, from any thread. Empty: it is not to be done.
        std::function<void(answer)> finish;
        std::function<bool()> begin{};  ///< see `call::begin`
    };

    /// Accepts an operation. From any thread.
    virtual accepted_operation accept(const identity& caller, const http_request& request) = 0;
};

/// Whether a client with this Prefer field wants to be answered before the operation is done (RFC
/// 7240: respond-async).
bool prefers_deferred(std::string_view prefer);

}  // namespace dp_redfish

#endif
