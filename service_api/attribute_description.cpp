#include "service_api/attribute_description.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "service_api/choice_list.hpp"
#include "service_api/template_flags.hpp"

namespace dp_service {
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
    const number_limits limits = number_limits_of(attribute);
    return range_text(limits) +
           (limits.step > 1 ? " in steps of " + std::to_string(limits.step) : "");
}

std::string allowed_strings(const dp_attribute& attribute) {
    const text_limits limits = text_limits_of(attribute);
    const bool any_length = limits.least == 0 && limits.greatest == 0;
    if (limits.pattern.empty()) {
        return any_length ? std::string() : length_text(limits);
    }
    return (any_length ? "texts" : length_text(limits)) + " that match " + limits.pattern;
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

number_limits number_limits_of(const dp_attribute& attribute) {
    const bool is_unbounded = attribute.min == 0 && attribute.max == 0;
    return {attribute.min, is_unbounded ? std::numeric_limits<std::uint32_t>::max() : attribute.max,
            std::max<std::uint32_t>(1, attribute.stp)};
}

text_limits text_limits_of(const dp_attribute& attribute) {
    return {attribute.minc, attribute.maxc, attribute.reg};
}

std::string range_text(const number_limits& limits) {
    return limits.least > limits.greatest
               ? "no number"
               : std::to_string(limits.least) + " to " + std::to_string(limits.greatest);
}

std::string length_text(const text_limits& limits) {
    const std::string least = std::to_string(limits.least);
    if (limits.greatest == 0) {
        return limits.least <= 0 ? "any length" : "at least " + least + " characters";
    }
    if (limits.least == limits.greatest) {
        return "exactly " + least + " characters";
    }
    return limits.least > limits.greatest
               ? "no text"
               : least + " to " + std::to_string(limits.greatest) + " characters";
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

}  // namespace dp_service
