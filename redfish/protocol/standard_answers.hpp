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

/// The body, as text, of an answer that the server gives before a request reaches an operation: a
/// general error, or one that fits the status. `reason` is a sentence for a person.
std::string refusal_text(unsigned status, const std::string& reason);

/// 403 for what the caller may not do: because of the role, or because the password must be changed
/// first.
answer not_allowed_answer(const identity& caller);

/// Adds the WWW-Authenticate that a 401 has. A browser whose page sent the request gets none: it
/// would ask for name and password in a window of its own.
void add_challenge(answer& refused, const http_request& request);

}  // namespace dp_redfish

#endif
