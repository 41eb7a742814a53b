#include "tools/dpctl/status/status_reason.hpp"

#include <cstddef>
#include <vector>

#include "service_api/attribute_description.hpp"
#include "service_api/choice_list.hpp"
#include "service_api/service_status.hpp"
#include "support/suggestions.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

namespace service_status = dp_service::service_status;

std::string with_allowed(std::string reason, const dp_attribute* attribute) {
    const std::string allowed =
        attribute != nullptr ? dp_service::allowed_values(*attribute) : std::string();
    if (!allowed.empty()) {
        reason += " (allowed: " + allowed + ")";
    }
    return reason;
}

std::string not_a_choice(const dp_attribute* attribute, std::string_view value) {
    const auto choices = dp_service::choice_list::split(attribute->chc);
    std::string reason =
        in_quotes(value) + " is not one of " + dp_service::allowed_values(*attribute);
    const std::vector<std::string_view> names(choices.begin(), choices.end());
    std::vector<std::string> most_similar;
    for (const std::size_t i : dp_support::similar_names(value, names, 1)) {
        most_similar.push_back(choices[i]);
    }
    const std::string question = dp_support::did_you_mean(most_similar);
    return question.empty() ? reason : reason + "; " + question;
}

}  // namespace

std::string explain_status(std::uint32_t status, const dp_attribute* attribute,
                           std::string_view value) {
    const auto code = static_cast<std::int32_t>(status);
    if (code == service_status::not_a_choice && attribute != nullptr &&
        !dp_service::allowed_values(*attribute).empty()) {
        return not_a_choice(attribute, value);
    }
    const std::string reason = service_status::explanation(code, in_quotes(value));
    if (reason.empty()) {
        return "the settings service refused it with status " + std::to_string(status) +
               ", which dpctl does not know";
    }
    return service_status::is_about_value(code) ? with_allowed(reason, attribute) : reason;
}

std::string explain_status(std::int32_t status) {
    const std::string reason = service_status::explanation(status);
    return reason.empty() ? "the reason is not known to dpctl" : reason;
}

std::string why_not_encodable(std::string_view text, text_part part) {
    for (const char c : text) {
        const char* obstacle = nullptr;
        if (c == '\n') {
            obstacle = "a newline";
        } else if (c == '\0') {
            obstacle = "a null character";
        } else if (part == text_part::name && c == ' ') {
            obstacle = "a space";
        } else if (part == text_part::name && c >= '\t' && c <= '\r') {
            obstacle = "white space";
        }
        if (obstacle != nullptr) {
            return std::string("contains ") + obstacle +
                   ", which a request to the settings service cannot contain";
        }
    }
    return {};
}

}  // namespace dpctl
