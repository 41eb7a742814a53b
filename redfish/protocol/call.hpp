#ifndef DP_REDFISH_PROTOCOL_CALL_HPP
#define DP_REDFISH_PROTOCOL_CALL_HPP

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "redfish/access/identity.hpp"
#include "redfish/http/http_message.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// The answer of an operation, before the query and the conditions of the request are applied to
/// it.
struct answer {
    unsigned status = 200;
    dp_support::json_value body;  ///< null: none
    header_fields headers{};
    /// The body's text when it is already written, as that of a large resource which is kept;
    /// `body` is unused then.
    std::shared_ptr<const std::string> text{};
    /// The resource's ETag, with its quotes. Empty: made from the body.
    std::string etag{};
    /// As in `http_response`; there is no body and no text then.
    std::function<void(std::shared_ptr<body_stream>)> start_stream{};
};

/// A request whose sender was admitted, on its way to an answer. An operation keeps the pointer to
/// it until it has answered.
struct call {
    std::shared_ptr<const http_request> request;
    identity caller;
    std::vector<std::string> parameters;  ///< the segments of the path that a route leaves open
    dp_support::json_value document;      ///< the body of POST, PATCH, PUT: a JSON object
    std::function<void(answer)> respond;  ///< to be called once, from any thread
    /// Called when the operation begins, before it has effects. False: it was cancelled, and must
    /// have none; there is nobody to answer then. Empty: it cannot be cancelled.
    std::function<bool()> begin{};
};

/// What a route does. Called on the server's thread or on one of `access_control`, also for several
/// requests at the same time; must not block.
using operation = std::function<void(std::shared_ptr<call>)>;

}  // namespace dp_redfish

#endif
