#include "tools/dpctl/status/status_text.hpp"

#include <cstddef>
#include <vector>

#include "service_api/choice_list.hpp"
#include "service_api/service_status.hpp"
#include "tools/dpctl/names/near_names.hpp"
#include "tools/dpctl/output/attribute_text.hpp"
#include "tools/dpctl/output/text.hpp"

namespace dpctl {
namespace {

std::string with_allowed(std::string reason, const dp_attribute* attribute) {
    const std::string allowed = attribute != nullptr ? allowed_values(*attribute) : std::string();
    if (!allowed.empty()) {
        reason += " (allowed: " + allowed + ")";
    }
    return reason;
}

std::string not_a_choice(const dp_attribute* attribute, std::string_view value) {
    const auto choices = dp_service::choice_list::split(attribute->chc);
    std::string reason = in_quotes(value) + " is not one of " + allowed_values(*attribute);
    const std::vector<std::string_view> names(choices.begin(), choices.end());
    std::vector<std::string> nearest;
    for (const std::size_t i : near_names(value, names, 1)) {
        nearest.push_back(choices[i]);
    }
    const std::string question = did_you_mean(nearest);
    return question.empty() ? reason : reason + "; " + question;
}

}  // namespace

std::string explain_status(std::uint32_t status, const dp_attribute* attribute,
                           std::string_view value) {
    const auto code = static_cast<std::int32_t>(status);
    if (code == dp_service::service_status::not_a_choice && attribute != nullptr &&
        !allowed_values(*attribute).empty()) {
        return not_a_choice(attribute, value);
    }
    const std::string reason = dp_service::service_status::explanation(code, in_quotes(value));
    if (reason.empty()) {
        return "the settings service refused it with status " + std::to_string(status) +
               ", which dpctl does not know";
    }
    return dp_service::service_status::is_about_value(code) ? with_allowed(reason, attribute)
                                                            : reason;
}

std::string explain_status(std::int32_t status) {
    const std::string reason = dp_service::service_status::explanation(status);
    return reason.empty() ? "for a reason that dpctl does not know" : reason;
}

std::string why_not_carried(std::string_view text, bool blanks_allowed) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"') {
            return "holds a double quote, which a command to the settings service can't carry";
        }
        if (c == '\\') {
            return "holds a backslash, which a command to the settings service can't carry";
        }
        if (byte < 0x20 || byte == 0x7F) {
            return "holds a control character, which a command to the settings service can't carry";
        }
        if (c == ' ' && !blanks_allowed) {
            return "holds a blank, which a command to the settings service can't carry";
        }
    }
    return {};
}

}  // namespace dpctl
