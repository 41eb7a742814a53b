#ifndef DP_REDFISH_PROTOCOL_REQUEST_BODY_HPP
#define DP_REDFISH_PROTOCOL_REQUEST_BODY_HPP

#include <string>
#include <string_view>
#include <variant>

#include "redfish/http/http_message.hpp"
#include "redfish/protocol/call.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// The JSON object in the body of POST, PATCH or PUT, or the answer to a request that has none: of
/// another media type, not JSON, not an object, or with members that are repeated. A POST without
/// a body has an empty object.
std::variant<dp_support::json_value, answer> read_request_body(const http_request& request);

/// `name` as a segment of a JSON pointer, with the "/" before it.
std::string pointer_segment(std::string_view name);

}  // namespace dp_redfish

#endif
