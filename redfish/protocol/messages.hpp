#ifndef DP_REDFISH_PROTOCOL_MESSAGES_HPP
#define DP_REDFISH_PROTOCOL_MESSAGES_HPP

#include <string>
#include <string_view>
#include <vector>

#include "redfish/protocol/call.hpp"
#include "redfish/protocol/message_registry.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// A message of the Base registry, as part of an answer.
struct message {
    std::string id;                        ///< "PropertyUnknown"
    std::vector<std::string> arguments{};  ///< for the placeholders of its text, in their order
    /// A JSON pointer to the member of the request that it is about: "/Attributes/BootMode". Empty:
    /// none.
    std::string related_property{};
    /// Why, for a person, where the registry's text does not say it; follows that text.
    std::string reason{};
};

/// The message as a member of "@Message.ExtendedInfo": its full id, text, arguments, severity and
/// resolution. An id that is not one of the messages that the service uses is a mistake of the
/// program: it becomes "GeneralError".
dp_support::json_value message_json(const message& text);

/// The text of a message with its placeholders, %1, %2, ..., replaced by arguments; those without
/// an argument by nothing.
std::string message_text(std::string_view text, const std::vector<std::string>& arguments);

/// An error with extended information. With one message, its id is the code of the error; with
/// several, the code is "GeneralError".
answer error_answer(unsigned status, const std::vector<message>& messages);

/// The Base registry with the messages that the service uses.
const message_registry& base_registry();

}  // namespace dp_redfish

#endif
