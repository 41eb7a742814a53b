#include "service_api/dependency_decision.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <unordered_map>
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

using change_list = std::vector<registry_dependencies::change>;

// The change of an attribute, or the end.
change_list::const_iterator find_change(const change_list& changes, std::uint32_t attribute) {
    const auto found =
        std::lower_bound(changes.begin(), changes.end(), attribute,
                         [](const registry_dependencies::change& change, std::uint32_t wanted) {
                             return change.attribute < wanted;
                         });
    return found != changes.end() && found->attribute == attribute ? found : changes.end();
}

std::string why_changed_since(const registry_dependencies& rules, std::uint32_t attribute,
                              const change_list& changes) {
    const auto found = find_change(changes, attribute);
    const std::string value =
        setting_text(rules.property(attribute, registry_property::current_value));
    return found == changes.end() || found->cause == nullptr
               ? "set to " + value + " by the same batch"
               : "set to " + value + " because " + rules.condition_text(*found->cause);
}

// Decides about the commands of one batch.
class batch_decision {
  public:
    batch_decision(registry_dependencies& rules,
                   std::span<const registry_dependencies::assignment> commands)
        : rules_(rules), commands_(commands) {
        result_.refusals.resize(commands.size());
        for (std::size_t i = 0; i < commands.size(); ++i) {
            const auto& [attribute, value] = commands[i];
            is_pending_.push_back(rules.property(attribute, registry_property::current_value) ==
                                  value);
            forbidden_before_.push_back(is_pending_[i] ? std::string()
                                                       : why_forbidden(rules, attribute, value));
            commands_of_[attribute].push_back(i);
        }
    }

    dependency_decision decide() {
        std::vector<std::size_t> checked = assign_accepted();
        for (;;) {
            const std::vector<std::size_t> refused = refuse(checked);
            if (refused.empty()) {
                // Without those that were withdrawn.
                std::erase_if(result_.changes, [this](const registry_dependencies::change& change) {
                    return rules_.property(change.attribute, registry_property::current_value) ==
                           change.before;
                });
                return std::move(result_);
            }
            const bool can_be_withdrawn = std::none_of(
                refused.begin(), refused.end(),
                [this](std::size_t i) { return rules_.matters_to_values(commands_[i].attribute); });
            checked = can_be_withdrawn ? withdraw(refused) : assign_accepted();
        }
    }

  private:
    // Assigns the values of all commands that are not refused. Returns all of these.
    std::vector<std::size_t> assign_accepted() {
        std::vector<registry_dependencies::assignment> accepted;
        std::vector<std::size_t> indices;
        for (std::size_t i = 0; i < commands_.size(); ++i) {
            if (result_.refusals[i].empty()) {
                accepted.push_back(commands_[i]);
                indices.push_back(i);
            }
        }
        rules_.undo();
        result_.changes = rules_.assign(accepted);
        return indices;
    }

    // Refuses what is forbidden of the commands `checked`, and returns these.
    std::vector<std::size_t> refuse(const std::vector<std::size_t>& checked) {
        std::vector<std::size_t> refused;
        for (const std::size_t i : checked) {
            const auto& [attribute, value] = commands_[i];
            if (is_pending_[i] || !result_.refusals[i].empty()) {
                continue;
            }
            std::string& refusal = result_.refusals[i];
            if (!forbidden_before_[i].empty() && !why_forbidden(rules_, attribute, value).empty()) {
                refusal = forbidden_before_[i];
            } else if (rules_.property(attribute, registry_property::current_value) != value) {
                refusal = why_changed_since(rules_, attribute, result_.changes);
            }
            if (!refusal.empty()) {
                refused.push_back(i);
            }
        }
        return refused;
    }

    // Whether a command that is not refused gives the attribute another value.
    [[nodiscard]] bool is_assigned(std::uint32_t attribute) const {
        const auto& own = commands_of_.at(attribute);
        return std::any_of(own.begin(), own.end(), [this](std::size_t i) {
            return result_.refusals[i].empty() && !is_pending_[i];
        });
    }

    // Gives the attributes of refused commands the values that they have without these, and returns
    // the commands whose verdict may be another one then. That is what `assign_accepted` would do,
    // at the cost of what changes.
    std::vector<std::size_t> withdraw(const std::vector<std::size_t>& refused) {
        std::vector<registry_dependencies::assignment> values;
        for (const std::size_t i : refused) {
            const auto change = find_change(result_.changes, commands_[i].attribute);
            if (change != result_.changes.end() && !is_assigned(change->attribute)) {
                values.push_back({change->attribute, change->before});
            }
        }
        std::vector<std::uint32_t> attributes = rules_.correct(values);
        for (const auto& [attribute, value] : values) {
            attributes.push_back(attribute);
        }
        std::vector<std::size_t> checked;
        for (const std::uint32_t attribute : attributes) {
            const auto& own = commands_of_[attribute];
            checked.insert(checked.end(), own.begin(), own.end());
        }
        return checked;
    }

    registry_dependencies& rules_;
    std::span<const registry_dependencies::assignment> commands_;
    dependency_decision result_;
    std::vector<bool> is_pending_;
    std::vector<std::string> forbidden_before_;
    std::unordered_map<std::uint32_t, std::vector<std::size_t>> commands_of_;  // by attribute
};

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
    return batch_decision(rules, commands).decide();
}

}  // namespace dp_service
