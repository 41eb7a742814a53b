#include "service_api/dependency_decision.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "support/utf8.hpp"
#include "support/value_pattern.hpp"

namespace dp_service {
namespace {

// A property of one attribute: a flag in any case, anything else if a dependency determines it.
class mapped_property {
  public:
    mapped_property(const registry_dependencies& rules, std::uint32_t attribute,
                    registry_property which)
        : rules_(rules),
          cause_(rules.cause(attribute, which)),
          value_(rules.property(attribute, which)) {}

    [[nodiscard]] bool is_set() const {
        const auto* truth = std::get_if<bool>(&value_);
        return truth != nullptr && *truth;
    }

    [[nodiscard]] std::optional<std::int64_t> number() const {
        const auto* number = std::get_if<std::int64_t>(&value_);
        return cause_ != nullptr && number != nullptr ? std::optional(*number) : std::nullopt;
    }

    [[nodiscard]] std::string text() const {
        return cause_ != nullptr ? setting_text(value_) : std::string();
    }

    [[nodiscard]] std::string because(const std::string& what) const {
        return cause_ == nullptr ? what : what + " because " + rules_.condition_text(*cause_);
    }

  private:
    const registry_dependencies& rules_;
    const registry_map* cause_;
    const registry_value& value_;
};

// Whether a number is a whole number of steps above the lower bound. The distance has no sign: it
// may exceed 63 bits.
bool is_on_step(std::int64_t number, std::int64_t lowest, std::int64_t step) {
    const auto from = static_cast<std::uint64_t>(std::min(number, lowest));
    const auto to = static_cast<std::uint64_t>(std::max(number, lowest));
    return step <= 0 || (to - from) % static_cast<std::uint64_t>(step) == 0;
}

std::string why_number_forbidden(const registry_dependencies& rules, std::uint32_t attribute,
                                 std::int64_t number) {
    const mapped_property lower(rules, attribute, registry_property::lower_bound);
    if (const auto bound = lower.number(); bound && number < *bound) {
        return lower.because("below the lower bound " + std::to_string(*bound));
    }
    const mapped_property upper(rules, attribute, registry_property::upper_bound);
    if (const auto bound = upper.number(); bound && number > *bound) {
        return upper.because("above the upper bound " + std::to_string(*bound));
    }
    const mapped_property increment(rules, attribute, registry_property::scalar_increment);
    const auto* lowest =
        std::get_if<std::int64_t>(&rules.property(attribute, registry_property::lower_bound));
    if (const auto step = increment.number();
        step && !is_on_step(number, lowest == nullptr ? 0 : *lowest, *step)) {
        return increment.because("not on a step of " + std::to_string(*step));
    }
    return "";
}

std::string why_text_forbidden(const registry_dependencies& rules, std::uint32_t attribute,
                               const std::string& text) {
    const auto length =
        static_cast<std::int64_t>(dp_support::utf8::count_characters(text).value_or(text.size()));
    const mapped_property least(rules, attribute, registry_property::min_length);
    if (const auto bound = least.number(); bound && length < *bound) {
        return least.because("shorter than " + std::to_string(*bound) + " characters");
    }
    const mapped_property greatest(rules, attribute, registry_property::max_length);
    if (const auto bound = greatest.number(); bound && *bound != 0 && length > *bound) {
        return greatest.because("longer than " + std::to_string(*bound) + " characters");
    }
    return "";
}

std::string why_changed_since(const registry_dependencies& rules, std::uint32_t attribute,
                              const std::vector<registry_dependencies::change>& changes) {
    const auto found =
        std::lower_bound(changes.begin(), changes.end(), attribute,
                         [](const registry_dependencies::change& change, std::uint32_t wanted) {
                             return change.attribute < wanted;
                         });
    const std::string value =
        setting_text(rules.property(attribute, registry_property::current_value));
    return found == changes.end() || found->attribute != attribute || found->cause == nullptr
               ? "set to " + value + " by the same batch"
               : "set to " + value + " because " + rules.condition_text(*found->cause);
}

}  // namespace

std::string why_forbidden(const registry_dependencies& rules, std::uint32_t attribute,
                          const registry_value& value) {
    const mapped_property read_only(rules, attribute, registry_property::read_only);
    if (read_only.is_set()) {
        return read_only.because("read-only");
    }
    const mapped_property immutable(rules, attribute, registry_property::immutable);
    if (immutable.is_set()) {
        return immutable.because("immutable");
    }
    std::string reason;
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
        reason = why_number_forbidden(rules, attribute, *number);
    } else if (const auto* text = std::get_if<std::string>(&value)) {
        reason = why_text_forbidden(rules, attribute, *text);
    }
    const mapped_property expression(rules, attribute, registry_property::value_expression);
    const std::string pattern = expression.text();
    if (reason.empty() && !pattern.empty() &&
        dp_support::value_pattern(pattern).judge(setting_text(value)) !=
            dp_support::value_pattern::verdict::matches) {
        reason = expression.because("does not match the pattern " + pattern);
    }
    return reason;
}

dependency_decision decide(registry_dependencies& rules,
                           std::span<const registry_dependencies::assignment> commands) {
    dependency_decision decision;
    decision.refusals.resize(commands.size());
    std::vector<std::string> forbidden_before;
    std::vector<bool> is_pending;
    for (const auto& [attribute, value] : commands) {
        is_pending.push_back(rules.property(attribute, registry_property::current_value) == value);
        forbidden_before.push_back(is_pending.back() ? std::string()
                                                     : why_forbidden(rules, attribute, value));
    }
    for (bool has_changed = true; has_changed;) {
        has_changed = false;
        std::vector<registry_dependencies::assignment> accepted;
        for (std::size_t i = 0; i < commands.size(); ++i) {
            if (decision.refusals[i].empty()) {
                accepted.push_back(commands[i]);
            }
        }
        rules.undo();
        decision.changes = rules.assign(accepted);
        for (std::size_t i = 0; i < commands.size(); ++i) {
            const auto& [attribute, value] = commands[i];
            if (is_pending[i] || !decision.refusals[i].empty()) {
                continue;
            }
            std::string& refusal = decision.refusals[i];
            if (!forbidden_before[i].empty() && !why_forbidden(rules, attribute, value).empty()) {
                refusal = forbidden_before[i];
            } else if (rules.property(attribute, registry_property::current_value) != value) {
                refusal = why_changed_since(rules, attribute, decision.changes);
            }
            has_changed = has_changed || !refusal.empty();
        }
    }
    return decision;
}

}  // namespace dp_service
