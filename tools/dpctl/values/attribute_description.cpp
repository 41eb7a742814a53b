#include "tools/dpctl/values/attribute_description.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "service_api/choice_list.hpp"
#include "service_api/template_flags.hpp"

namespace dpctl {
namespace {

constexpr std::size_t most_named_choices = 20;

std::string allowed_choices(const dp_attribute& attribute) {
    const auto choices = dp_service::choice_list::split(attribute.chc);
    std::string text;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        if (i == most_named_choices) {
            return text + " and " + std::to_string(choices.size() - i) + " more";
        }
        if (i != 0) {
            text += ", ";
        }
        text += choices[i].empty() ? "\"\"" : choices[i];
    }
    return text;
}

std::string allowed_numbers(const dp_attribute& attribute) {
    const std::uint32_t step = number_step(attribute);
    return number_range(attribute) + (step > 1 ? " in steps of " + std::to_string(step) : "");
}

std::string allowed_strings(const dp_attribute& attribute) {
    const bool any_length = attribute.minc == 0 && attribute.maxc == 0;
    if (*attribute.reg == '\0') {
        return any_length ? std::string() : string_length(attribute);
    }
    return (any_length ? "texts" : string_length(attribute)) + " that match " + attribute.reg;
}

}  // namespace

bool is_numeric(const dp_attribute& attribute) {
    return attribute.type == DP_TYPE_NUMERIC;
}

bool is_string(const dp_attribute& attribute) {
    return attribute.type == DP_TYPE_STRING;
}

bool is_enumeration(const dp_attribute& attribute) {
    return !is_numeric(attribute) && !is_string(attribute) && attribute.type != DP_TYPE_NO_RANGE;
}

bool is_read_only(const dp_attribute& attribute) {
    return (attribute.flg & dp_service::template_flags::read_only) != 0;
}

bool is_removed_by_default(const dp_attribute& attribute) {
    return std::string(attribute.dfa) == "remove";
}

const char* type_name(const dp_attribute& attribute) {
    if (is_numeric(attribute)) {
        return "integer";
    }
    if (is_string(attribute)) {
        return "string";
    }
    return is_enumeration(attribute) ? "enumeration" : "free";
}

std::uint32_t number_maximum(const dp_attribute& attribute) {
    const bool unbounded = attribute.min == 0 && attribute.max == 0;
    return unbounded ? std::numeric_limits<std::uint32_t>::max() : attribute.max;
}

std::uint32_t number_step(const dp_attribute& attribute) {
    return std::max<std::uint32_t>(1, attribute.stp);
}

std::string number_range(const dp_attribute& attribute) {
    return std::to_string(attribute.min) + " to " + std::to_string(number_maximum(attribute));
}

std::string string_length(const dp_attribute& attribute) {
    const std::string least = std::to_string(attribute.minc);
    if (attribute.maxc == 0) {
        return attribute.minc == 0 ? "any length" : "at least " + least + " characters";
    }
    if (attribute.minc == attribute.maxc) {
        return "exactly " + least + " characters";
    }
    return least + " to " + std::to_string(attribute.maxc) + " characters";
}

std::string allowed_values(const dp_attribute& attribute) {
    if (is_numeric(attribute)) {
        return allowed_numbers(attribute);
    }
    if (is_string(attribute)) {
        return allowed_strings(attribute);
    }
    return is_enumeration(attribute) ? allowed_choices(attribute) : std::string();
}

}  // namespace dpctl
