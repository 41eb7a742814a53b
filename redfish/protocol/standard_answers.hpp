#ifndef DP_REDFISH_PROTOCOL_STANDARD_ANSWERS_HPP
#define DP_REDFISH_PROTOCOL_STANDARD_ANSWERS_HPP

#include <string>

#include "redfish/protocol/call.hpp"

// Answers that several operations give.

namespace dp_redfish {

/// 204.
answer no_content_answer();

/// 404 for a resource that a collection does not have.
answer not_found_answer(const std::string& type, const std::string& name);

/// 503 with Retry-After, which is `pause`, in seconds; `reason` is a sentence for a person, or
/// empty.
answer unavailable_answer(const std::string& reason, const std::string& pause = "5");

}  // namespace dp_redfish

#endif
