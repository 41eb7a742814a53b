#include "tools/dpctl/values/limits_in_force.hpp"

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <variant>

#include "service_api/registry_value.hpp"

namespace dpctl {
namespace {

using dp_service::registry_dependencies;
using dp_service::registry_property;

// The number that a dependency gives the property now.
std::optional<std::int64_t> dependent_number(const registry_dependencies& rules,
                                             std::uint32_t index, registry_property which) {
    if (rules.cause(index, which) == nullptr) {
        return std::nullopt;
    }
    const auto* const number = std::get_if<std::int64_t>(&rules.property(index, which));
    return number == nullptr ? std::nullopt : std::optional(*number);
}

}  // namespace

dp_service::number_limits limits_in_force(dp_service::number_limits limits,
                                          const registry_dependencies& rules, std::uint32_t index) {
    const auto lower = dependent_number(rules, index, registry_property::lower_bound);
    limits.least = std::max(limits.least, lower.value_or(limits.least));
    const auto upper = dependent_number(rules, index, registry_property::upper_bound);
    limits.greatest = std::min(limits.greatest, upper.value_or(limits.greatest));
    const auto step = dependent_number(rules, index, registry_property::scalar_increment);
    if (step && *step > 0) {
        // A template's numbers have 32 bits: a longer step leaves one number.
        constexpr std::int64_t longest = std::numeric_limits<std::uint32_t>::max();
        limits.step = *step > longest ? *step : std::lcm(limits.step, *step);
    }
    return limits;
}

dp_service::text_limits limits_in_force(dp_service::text_limits limits,
                                        const registry_dependencies& rules, std::uint32_t index) {
    const auto least = dependent_number(rules, index, registry_property::min_length);
    limits.least = std::max(limits.least, least.value_or(limits.least));
    const auto greatest = dependent_number(rules, index, registry_property::max_length);
    if (greatest && *greatest > 0) {
        limits.greatest = limits.greatest == 0 ? *greatest : std::min(limits.greatest, *greatest);
    }
    if (rules.cause(index, registry_property::value_expression) != nullptr) {
        const std::string pattern =
            dp_service::setting_text(rules.property(index, registry_property::value_expression));
        limits.pattern = pattern.empty() ? limits.pattern : pattern;
    }
    return limits;
}

}  // namespace dpctl
