#include "service_api/registry_value.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <compare>
#include <utility>

#include "support/ascii_case.hpp"
#include "support/decimal.hpp"

namespace dp_service {
namespace {

constexpr std::array<std::pair<std::string_view, registry_condition>, 8> condition_names{{
    {"EQU", registry_condition::equal},
    {"NEQ", registry_condition::not_equal},
    {"GTR", registry_condition::greater},
    {"GEQ", registry_condition::greater_or_equal},
    {"LSS", registry_condition::less},
    {"LEQ", registry_condition::less_or_equal},
    {"BITAND", registry_condition::common_bits},
    {"BITOR", registry_condition::any_bits},
}};

bool is_number(const registry_value& value) {
    return std::holds_alternative<std::int64_t>(value) || std::holds_alternative<double>(value);
}

// The number that `value` is, or that its text is written as; null when it is neither.
registry_value number_in(const registry_value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        const auto number = dp_support::decimal::parse<std::int64_t>(*text);
        return number ? registry_value(*number) : registry_value();
    }
    return is_number(value) ? value : registry_value();
}

// A Boolean that `value` is, or that its text is written as.
std::optional<bool> truth_in(const registry_value& value) {
    if (const auto* truth = std::get_if<bool>(&value)) {
        return *truth;
    }
    const auto* text = std::get_if<std::string>(&value);
    return text == nullptr ? std::nullopt : truth_named(*text);
}

double real_of(const registry_value& number) {
    const auto* whole = std::get_if<std::int64_t>(&number);
    return whole != nullptr ? static_cast<double>(*whole) : std::get<double>(number);
}

std::partial_ordering compare_numbers(const registry_value& left, const registry_value& right) {
    const auto* left_whole = std::get_if<std::int64_t>(&left);
    const auto* right_whole = std::get_if<std::int64_t>(&right);
    if (left_whole != nullptr && right_whole != nullptr) {
        return *left_whole <=> *right_whole;
    }
    return real_of(left) <=> real_of(right);
}

bool is_null(const registry_value& value) {
    return std::holds_alternative<std::monostate>(value);
}

// Unordered when the two kinds cannot be compared.
std::partial_ordering compare(const registry_value& left, const registry_value& right,
                              bool digits_are_numbers) {
    if (is_null(left) || is_null(right)) {
        return is_null(left) && is_null(right) ? std::partial_ordering::equivalent
                                               : std::partial_ordering::unordered;
    }
    if (std::holds_alternative<bool>(left) || std::holds_alternative<bool>(right)) {
        const auto left_truth = truth_in(left);
        const auto right_truth = truth_in(right);
        return left_truth && right_truth ? std::partial_ordering(static_cast<int>(*left_truth) <=>
                                                                 static_cast<int>(*right_truth))
                                         : std::partial_ordering::unordered;
    }
    if (digits_are_numbers || is_number(left) || is_number(right)) {
        const registry_value left_number = number_in(left);
        const registry_value right_number = number_in(right);
        if (!is_null(left_number) && !is_null(right_number)) {
            return compare_numbers(left_number, right_number);
        }
    }
    const auto* left_text = std::get_if<std::string>(&left);
    const auto* right_text = std::get_if<std::string>(&right);
    return left_text != nullptr && right_text != nullptr
               ? std::partial_ordering(*left_text <=> *right_text)
               : std::partial_ordering::unordered;
}

// The bits of a whole number.
std::optional<std::uint64_t> bits_of(const registry_value& value) {
    const registry_value number = number_in(value);
    if (const auto* whole = std::get_if<std::int64_t>(&number)) {
        return static_cast<std::uint64_t>(*whole);
    }
    const auto* real = std::get_if<double>(&number);
    constexpr double beyond_64_bits = 18446744073709551616.0;
    if (real != nullptr && *real >= 0 && *real < beyond_64_bits && *real == std::floor(*real)) {
        return static_cast<std::uint64_t>(*real);
    }
    return std::nullopt;
}

}  // namespace

std::optional<registry_condition> registry_condition_named(std::string_view name) {
    const auto* const found = std::find_if(condition_names.begin(), condition_names.end(),
                                           [=](const auto& entry) { return entry.first == name; });
    return found == condition_names.end() ? std::nullopt : std::optional(found->second);
}

bool holds(registry_condition condition, const registry_value& left, const registry_value& right) {
    switch (condition) {
        case registry_condition::equal:
            return std::is_eq(compare(left, right, false));
        case registry_condition::not_equal:
            return std::is_neq(compare(left, right, false));
        case registry_condition::greater:
            return std::is_gt(compare(left, right, true));
        case registry_condition::greater_or_equal:
            return std::is_gteq(compare(left, right, true));
        case registry_condition::less:
            return std::is_lt(compare(left, right, true));
        case registry_condition::less_or_equal:
            return std::is_lteq(compare(left, right, true));
        case registry_condition::common_bits:
        case registry_condition::any_bits: {
            const auto left_bits = bits_of(left);
            const auto right_bits = bits_of(right);
            return left_bits && right_bits &&
                   (condition == registry_condition::common_bits ? *left_bits & *right_bits
                                                                 : *left_bits | *right_bits) != 0;
        }
    }
    return false;
}

std::optional<bool> truth_named(std::string_view text) {
    for (const bool truth : {false, true}) {
        if (dp_support::equal_ignoring_case(text, truth ? "true" : "false")) {
            return truth;
        }
    }
    return std::nullopt;
}

std::string setting_text(const registry_value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return *text;
    }
    if (const auto* truth = std::get_if<bool>(&value)) {
        return *truth ? "True" : "False";
    }
    if (const auto* whole = std::get_if<std::int64_t>(&value)) {
        return std::to_string(*whole);
    }
    if (const auto* real = std::get_if<double>(&value)) {
        constexpr std::size_t longest = 32;
        std::array<char, longest> digits{};
        char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), *real).ptr;
        return {digits.data(), end};
    }
    return "";
}

}  // namespace dp_service
