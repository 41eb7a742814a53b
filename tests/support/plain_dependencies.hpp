#ifndef DP_TESTS_SUPPORT_PLAIN_DEPENDENCIES_HPP
#define DP_TESTS_SUPPORT_PLAIN_DEPENDENCIES_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "service_api/attribute_registry.hpp"

namespace test {

/// The dependencies of a registry, evaluated without any index: every batch looks at all of them,
/// again and again. For comparison with `dp_service::registry_dependencies`.
class plain_dependencies {
  public:
    using registry_property = dp_service::registry_property;
    using registry_value = dp_service::registry_value;
    using place = std::pair<std::uint32_t, registry_property>;

    plain_dependencies(const dp_service::attribute_registry& registry,
                       std::vector<registry_value> values, int most_rounds)
        : registry_(registry), values_(std::move(values)), most_rounds_(most_rounds) {
        derive();
    }

    [[nodiscard]] const std::vector<registry_value>& values() const { return values_; }

    [[nodiscard]] registry_value property(std::uint32_t attribute, registry_property which) const {
        if (which == registry_property::current_value) {
            return values_[attribute];
        }
        const auto found = derived_.find({attribute, which});
        return found == derived_.end() ? registry_.attributes[attribute][which] : found->second;
    }

    void assign(const std::map<std::uint32_t, registry_value>& wanted) {
        std::set<std::uint32_t> changed = set(wanted);
        std::set<std::size_t> acted;
        while (!changed.empty()) {
            std::map<std::uint32_t, registry_value> next;
            for (std::size_t i = 0; i < registry_.maps.size(); ++i) {
                const auto& map = registry_.maps[i];
                if (map.property == registry_property::current_value &&
                    changed.contains(*map.cause) && !acted.contains(i) && holds_all(map.terms)) {
                    acted.insert(i);
                    next[map.attribute] = map.value;
                }
            }
            changed = set(next);
        }
    }

  private:
    std::set<std::uint32_t> set(const std::map<std::uint32_t, registry_value>& wanted) {
        std::set<std::uint32_t> changed;
        for (const auto& [attribute, value] : wanted) {
            if (values_[attribute] != value) {
                values_[attribute] = value;
                changed.insert(attribute);
            }
        }
        derive();
        return changed;
    }

    [[nodiscard]] bool holds_all(const std::vector<dp_service::registry_term>& terms) const {
        using joint = dp_service::registry_term::joint;
        bool result = true;
        for (std::size_t i = 0; i < terms.size(); ++i) {
            const auto& term = terms[i];
            bool truth =
                term.subexpressions.empty()
                    ? dp_service::holds(term.condition, property(term.attribute, term.property),
                                        term.value)
                    : holds_all(term.subexpressions);
            truth = term.joined == joint::and_not ? !truth : truth;
            if (i == 0) {
                result = truth;
            } else if (term.joined == joint::any) {
                result = result || truth;
            } else {
                result = result && truth;
            }
        }
        return result;
    }

    static void add_reads(const std::vector<dp_service::registry_term>& terms,
                          std::set<place>& reads) {
        for (const auto& term : terms) {
            if (term.subexpressions.empty()) {
                reads.insert({term.attribute, term.property});
            }
            add_reads(term.subexpressions, reads);
        }
    }

    // Determines a group of properties that depend on each other, or a single one.
    void derive_group(const std::vector<place>& group) {
        for (int round = 0; round < most_rounds_; ++round) {
            bool has_changed = false;
            for (const place& at : group) {
                const dp_service::registry_map* winner = nullptr;
                for (const auto& map : registry_.maps) {
                    if (place(map.attribute, map.property) == at && holds_all(map.terms)) {
                        winner = &map;
                    }
                }
                has_changed = has_changed || winners_[at] != winner;
                winners_[at] = winner;
                derived_.erase(at);
                if (winner != nullptr) {
                    derived_[at] = winner->value;
                }
            }
            if (!has_changed) {
                return;
            }
        }
    }

    void derive() {
        derived_.clear();
        winners_.clear();
        std::vector<place> places;  // in the order of their first dependency
        std::map<place, std::set<place>> reads;
        for (const auto& map : registry_.maps) {
            const place at(map.attribute, map.property);
            if (map.property != registry_property::current_value) {
                if (!reads.contains(at)) {
                    places.push_back(at);
                }
                add_reads(map.terms, reads[at]);
            }
        }
        // Also what is read through others.
        for (const place& through : places) {
            for (auto& [at, read] : reads) {
                if (read.contains(through)) {
                    const auto more = reads[through];
                    read.insert(more.begin(), more.end());
                }
            }
        }
        std::set<place> done;
        while (done.size() < places.size()) {
            for (const place& at : places) {
                std::vector<place> group;
                bool is_ready = !done.contains(at);
                for (const place& other : places) {
                    const bool is_of_group =
                        other == at || (reads[at].contains(other) && reads[other].contains(at));
                    if (is_of_group) {
                        group.push_back(other);
                    } else if (reads[at].contains(other) && !done.contains(other)) {
                        is_ready = false;
                    }
                }
                if (is_ready) {
                    derive_group(group);
                    done.insert(group.begin(), group.end());
                }
            }
        }
    }

    const dp_service::attribute_registry& registry_;
    std::vector<registry_value> values_;
    int most_rounds_;
    std::map<place, registry_value> derived_;
    std::map<place, const dp_service::registry_map*> winners_;
};

}  // namespace test

#endif
