#ifndef DP_TOOLS_DPCTL_OUTPUT_ALERT_TEXT_HPP
#define DP_TOOLS_DPCTL_OUTPUT_ALERT_TEXT_HPP

#include <optional>
#include <string>

#include "support/json.hpp"

namespace sysipc {
class message;
}

namespace dpctl {

/// A message from an alert queue, in words. What has no name is shown as a number.
struct alert_text {
    int queue = 0;              ///< from which it was received
    int kind = 0;               ///< of the message
    std::string from;           ///< "plugin 1", "service", "source 7"
    std::string what;           ///< "settings_changed", "alert 77", "kind 11"
    std::optional<int> value;   ///< of the kinds that have a value
    std::optional<int> detail;  ///< of kind 11
    std::string payload;        ///< of unknown kinds: the bytes, hexadecimal
    std::string meaning;        ///< of known alerts, for a person
};

/// Decodes a message with any content.
alert_text read_alert(int queue, sysipc::message& content);

/// "queue 8  plugin 1  settings_changed  value 2  (2 settings changed)".
std::string to_line(const alert_text& alert);

/// {"queue": 8, "kind": 1, "from": "plugin 1", "alert": "settings_changed", "value": 2, ...}
dp_support::json_value to_json(const alert_text& alert);

}  // namespace dpctl

#endif
