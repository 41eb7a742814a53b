#ifndef DP_TOOLS_DPCTL_OUTPUT_ALERT_TEXT_HPP
#define DP_TOOLS_DPCTL_OUTPUT_ALERT_TEXT_HPP

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace sysipc {
class message;
}

namespace dpctl {

/// What a message on one of the alert queues says. Where it has no name there is its number.
struct alert_text {
    int queue = 0;              ///< on which it came
    int kind = 0;               ///< the message's
    std::string from;           ///< "plugin 1", "service", "source 7"
    std::string what;           ///< "settings_changed", "alert 77", "kind 11"
    std::optional<int> value;   ///< of the kinds that have one
    std::optional<int> detail;  ///< of kind 11
    std::string payload;        ///< of kinds that are not known: the bytes, hexadecimal
    std::string meaning;        ///< for people, of alerts that are known
};

/// Reads a message of any content.
alert_text read_alert(int queue, sysipc::message& content);

/// "queue 8  plugin 1  settings_changed  value 2  (2 settings changed)".
std::string to_line(const alert_text& alert);

/// {"queue": 8, "kind": 1, "from": "plugin 1", "alert": "settings_changed", "value": 2, ...}
nlohmann::ordered_json to_json(const alert_text& alert);

}  // namespace dpctl

#endif
