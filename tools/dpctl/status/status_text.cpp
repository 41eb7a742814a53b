#include "tools/dpctl/status/status_text.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "service_api/choice_list.hpp"
#include "service_api/service_status.hpp"
#include "tools/dpctl/output/attribute_text.hpp"
#include "tools/dpctl/names/near_names.hpp"
#include "tools/dpctl/output/text.hpp"
#include "transactions/command_status.hpp"

namespace dpctl {
namespace {

struct status_reason {
    std::int32_t status;
    const char* text;
};

// Reasons that say everything without the value.
constexpr std::array<status_reason, 14> reasons{{
    {dp::command_status::success, "done"},
    {dp::command_status::unresolved, "the settings service knows no setting of that name"},
    {dp::command_status::no_owner, "no plug-in of the settings service looks after this setting"},
    {dp::command_status::value_cut, "the value is longer than can be read and was cut"},
    {dp::command_status::not_answered, "the plug-in that looks after this setting gave no answer"},
    {dp::command_status::value_not_known, "its value is no longer known to the settings service"},
    {dp::command_status::unknown_operation, "the settings service does not know the operation"},
    {dp::command_status::delete_not_permitted, "it can't be deleted"},
    {dp::command_status::not_run, "the settings service did not carry the command out"},
    {service_status::read_only, "it is read-only"},
    {service_status::not_persisted,
     "the settings service could not write the change to disk, so it was not made"},
    {service_status::malformed_line, "the settings service could not read the command"},
    {service_status::not_supported, "the settings service does not support the operation"},
    {service_status::bad_instance, "the attribute has no such instance"},
}};

std::string with_allowed(std::string reason, const dp_attribute* attribute) {
    const std::string allowed = attribute != nullptr ? allowed_values(*attribute) : std::string();
    if (!allowed.empty()) {
        reason += " (allowed: " + allowed + ")";
    }
    return reason;
}

std::string not_a_choice(const dp_attribute* attribute, std::string_view value) {
    const auto choices = choice_list::split(attribute->chc);
    std::string reason = in_quotes(value) + " is not one of " + allowed_values(*attribute);
    const std::vector<std::string_view> names(choices.begin(), choices.end());
    std::vector<std::string> nearest;
    for (const std::size_t i : near_names(value, names, 1)) {
        nearest.push_back(choices[i]);
    }
    const std::string question = did_you_mean(nearest);
    return question.empty() ? reason : reason + "; " + question;
}

// Reasons that lie in the value, which is called `value`; empty for any other status.
std::string reason_in_value(std::uint32_t status, const std::string& value) {
    switch (status) {
        case service_status::not_a_choice:
            return value + " is not one of its possible values";
        case service_status::not_a_number:
            return value + " is not a decimal number";
        case service_status::out_of_range:
            return value + " is out of range";
        case service_status::not_a_step:
            return value + " does not lie on a step";
        case service_status::too_short:
            return value + " is too short";
        case service_status::too_long:
            return value + " is too long";
        case service_status::pattern_mismatch:
            return value + " does not match the pattern";
        case dp::command_status::value_not_mapped:
            return "the settings service can't make a value out of " + value;
        default:
            return {};
    }
}

// Any other status; empty when it is not known.
std::string other_reason(std::uint32_t status) {
    const auto* const found =
        std::find_if(reasons.begin(), reasons.end(), [&](const status_reason& reason) {
            return static_cast<std::uint32_t>(reason.status) == status;
        });
    return found != reasons.end() ? found->text : "";
}

}  // namespace

std::string explain_status(std::uint32_t status, const dp_attribute* attribute,
                           std::string_view value) {
    if (status == service_status::not_a_choice && attribute != nullptr &&
        !allowed_values(*attribute).empty()) {
        return not_a_choice(attribute, value);
    }
    const std::string reason = reason_in_value(status, in_quotes(value));
    if (!reason.empty()) {
        return with_allowed(reason, attribute);
    }
    const std::string other = other_reason(status);
    return !other.empty() ? other
                          : "the settings service refused it with status " +
                                std::to_string(status) + ", which dpctl does not know";
}

std::string explain_status(std::int32_t status) {
    const auto code = static_cast<std::uint32_t>(status);
    const std::string reason = reason_in_value(code, "the value");
    const std::string other = reason.empty() ? other_reason(code) : reason;
    return !other.empty() ? other : "for a reason that dpctl does not know";
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
