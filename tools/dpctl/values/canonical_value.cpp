#include "tools/dpctl/values/canonical_value.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "service_api/attribute_description.hpp"
#include "service_api/choice_list.hpp"
#include "support/ascii_case.hpp"
#include "support/decimal.hpp"

namespace dpctl {
namespace {

struct truth_pair {
    const char* when_true;
    const char* when_false;
};

constexpr std::array<truth_pair, 4> truth_pairs{
    {{"true", "false"}, {"enabled", "disabled"}, {"on", "off"}, {"yes", "no"}}};

std::string canonical_choice(const dp_attribute& attribute, const std::string& value) {
    std::string found;
    for (auto& choice : dp_service::choice_list::split(attribute.chc)) {
        if (choice == value) {
            return value;
        }
        if (dp_support::equal_ignoring_case(choice, value)) {
            if (!found.empty()) {
                return value;
            }
            found = std::move(choice);
        }
    }
    return found.empty() ? value : found;
}

}  // namespace

std::string canonical_value(const dp_attribute& attribute, const std::string& value) {
    if (dp_service::is_numeric(attribute) && dp_support::decimal::is_digits(value)) {
        return value.substr(std::min(value.find_first_not_of('0'), value.size() - 1));
    }
    return dp_service::is_enumeration(attribute) ? canonical_choice(attribute, value) : value;
}

std::string choice_for(const dp_attribute& attribute, bool truth) {
    const auto choices = dp_service::choice_list::split(attribute.chc);
    if (choices.size() != 2) {
        return "";
    }
    for (const auto& pair : truth_pairs) {
        const std::string_view wanted = truth ? pair.when_true : pair.when_false;
        const std::string_view other = truth ? pair.when_false : pair.when_true;
        for (std::size_t i = 0; i < choices.size(); ++i) {
            if (dp_support::equal_ignoring_case(choices[i], wanted) &&
                dp_support::equal_ignoring_case(choices[1 - i], other)) {
                return choices[i];
            }
        }
    }
    return "";
}

}  // namespace dpctl
