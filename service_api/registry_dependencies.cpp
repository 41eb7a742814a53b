#include "service_api/registry_dependencies.hpp"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string_view>

namespace dp_service {
namespace {

std::uint64_t key_of(std::uint32_t attribute, registry_property property) {
    return std::uint64_t{attribute} * registry_property_count +
           static_cast<std::uint64_t>(property);
}

// Calls `use` with every comparison in a condition. Recursion ends at the depth that the parser
// allows.
template <class Use>
// NOLINTNEXTLINE(misc-no-recursion)
void for_each_comparison(const std::vector<registry_term>& terms, const Use& use) {
    for (const registry_term& term : terms) {
        if (term.subexpressions.empty()) {
            use(term);
        } else {
            for_each_comparison(term.subexpressions, use);
        }
    }
}

std::string_view words_of(registry_condition condition) {
    switch (condition) {
        case registry_condition::equal:
            return " is ";
        case registry_condition::not_equal:
            return " is not ";
        case registry_condition::greater:
            return " is above ";
        case registry_condition::greater_or_equal:
            return " is at least ";
        case registry_condition::less:
            return " is below ";
        case registry_condition::less_or_equal:
            return " is at most ";
        case registry_condition::common_bits:
            return " has bits of ";
        case registry_condition::any_bits:
            return " or the mask has bits: ";
    }
    return " ";
}

// Finds the strongly connected components of a graph with Tarjan's algorithm, without recursion:
// the graph comes from a file. Components are numbered so that each comes after those that it has
// edges to.
class component_finder {
  public:
    explicit component_finder(const std::vector<std::vector<std::uint32_t>>& edges)
        : edges_(edges), order_(edges.size()), low_(edges.size()), is_open_(edges.size()) {}

    std::vector<std::vector<std::uint32_t>> find() {
        for (std::uint32_t node = 0; node < edges_.size(); ++node) {
            if (order_[node] == 0) {
                visit(node);
            }
        }
        return std::move(components_);
    }

  private:
    struct frame {
        std::uint32_t node;
        std::size_t next_edge;
    };

    void open(std::uint32_t node) {
        order_[node] = low_[node] = ++count_;
        is_open_[node] = true;
        stack_.push_back(node);
        path_.push_back({node, 0});
    }

    void visit(std::uint32_t start) {
        open(start);
        while (!path_.empty()) {
            const std::uint32_t node = path_.back().node;
            if (path_.back().next_edge < edges_[node].size()) {
                const std::uint32_t to = edges_[node][path_.back().next_edge++];
                if (order_[to] == 0) {
                    open(to);
                } else if (is_open_[to]) {
                    low_[node] = std::min(low_[node], order_[to]);
                }
                continue;
            }
            path_.pop_back();
            if (!path_.empty()) {
                std::uint32_t& low = low_[path_.back().node];
                low = std::min(low, low_[node]);
            }
            if (low_[node] == order_[node]) {
                close(node);
            }
        }
    }

    void close(std::uint32_t node) {
        auto& component = components_.emplace_back();
        std::uint32_t member = 0;
        do {
            member = stack_.back();
            stack_.pop_back();
            is_open_[member] = false;
            component.push_back(member);
        } while (member != node);
    }

    const std::vector<std::vector<std::uint32_t>>& edges_;
    std::vector<std::uint32_t> order_;  // 0: not visited
    std::vector<std::uint32_t> low_;
    std::vector<bool> is_open_;
    std::vector<std::uint32_t> stack_;
    std::vector<frame> path_;
    std::vector<std::vector<std::uint32_t>> components_;
    std::uint32_t count_ = 0;
};

}  // namespace

registry_dependencies::registry_dependencies(const attribute_registry& registry)
    : registry_(registry),
      value_readers_(registry.attributes.size()),
      acting_(registry.attributes.size()) {
    values_.reserve(registry.attributes.size());
    for (const registry_attribute& attribute : registry.attributes) {
        const registry_value& initial = attribute[registry_property::default_value];
        values_.push_back(std::holds_alternative<std::monostate>(initial)
                              ? attribute[registry_property::current_value]
                              : initial);
    }
    add_cells();
    find_cycles();
    find_what_matters_to_values();
    for (std::uint32_t i = 0; i < cells_.size(); ++i) {
        mark_cycle_of(i);
    }
    determine_marked();
    keep();
}

void registry_dependencies::add_cells() {
    for (std::uint32_t i = 0; i < registry_.maps.size(); ++i) {
        const registry_map& map = registry_.maps[i];
        if (map.property == registry_property::current_value) {
            acting_[*map.cause].push_back(i);
            continue;
        }
        const auto index = static_cast<std::uint32_t>(cells_.size());
        const auto [found, is_new] =
            cell_index_.try_emplace(key_of(map.attribute, map.property), index);
        if (is_new) {
            cells_.push_back({map.attribute, map.property, {}, {}});
        }
        cells_[found->second].maps.push_back(i);
    }
}

void registry_dependencies::find_cycles() {
    std::vector<std::vector<std::uint32_t>> reads(cells_.size());
    for (std::uint32_t i = 0; i < cells_.size(); ++i) {
        for (const std::uint32_t map : cells_[i].maps) {
            for_each_comparison(registry_.maps[map].terms, [&](const registry_term& term) {
                if (term.property == registry_property::current_value) {
                    value_readers_[term.attribute].push_back(i);
                } else if (const auto read =
                               cell_index_.find(key_of(term.attribute, term.property));
                           read != cell_index_.end()) {
                    reads[i].push_back(read->second);
                    cells_[read->second].readers.push_back(i);
                }
            });
        }
    }
    for (auto& component : component_finder(reads).find()) {
        std::sort(component.begin(), component.end());
        const auto index = static_cast<std::uint32_t>(cycles_.size());
        for (const std::uint32_t member : component) {
            cells_[member].cycle = index;
        }
        const auto& own = reads[component.front()];
        const bool reads_itself = std::find(own.begin(), own.end(), component.front()) != own.end();
        const bool is_cyclic = component.size() > 1 || reads_itself;
        cycles_.push_back({std::move(component), is_cyclic});
    }
    is_marked_.resize(cycles_.size());
}

// Causes and results of dependencies of current values, and what their conditions read, directly or
// through properties that depend on it.
void registry_dependencies::find_what_matters_to_values() {
    matters_to_values_.resize(values_.size());
    std::vector<bool> is_read(cells_.size());
    std::vector<std::uint32_t> unread;
    const auto read = [&](const registry_term& term) {
        if (term.property == registry_property::current_value) {
            matters_to_values_[term.attribute] = true;
            return;
        }
        const auto found = cell_index_.find(key_of(term.attribute, term.property));
        if (found != cell_index_.end() && !is_read[found->second]) {
            is_read[found->second] = true;
            unread.push_back(found->second);
        }
    };
    for (const registry_map& map : registry_.maps) {
        if (map.property == registry_property::current_value) {
            matters_to_values_[*map.cause] = true;
            matters_to_values_[map.attribute] = true;
            for_each_comparison(map.terms, read);
        }
    }
    while (!unread.empty()) {
        const std::uint32_t index = unread.back();
        unread.pop_back();
        for (const std::uint32_t map : cells_[index].maps) {
            for_each_comparison(registry_.maps[map].terms, read);
        }
    }
}

const registry_value& registry_dependencies::property(std::uint32_t attribute,
                                                      registry_property which) const {
    if (which == registry_property::current_value) {
        return values_[attribute];
    }
    const registry_map* const map = cause(attribute, which);
    return map == nullptr ? registry_.attributes[attribute][which] : map->value;
}

const registry_map* registry_dependencies::cause(std::uint32_t attribute,
                                                 registry_property which) const {
    const auto found = cell_index_.find(key_of(attribute, which));
    if (found == cell_index_.end() || cells_[found->second].winner == none) {
        return nullptr;
    }
    return &registry_.maps[cells_[found->second].winner];
}

// NOLINTNEXTLINE(misc-no-recursion)
bool registry_dependencies::holds_all(const std::vector<registry_term>& terms) const {
    bool result = true;
    bool is_first = true;
    for (const registry_term& term : terms) {
        const bool is_or = term.joined == registry_term::joint::any && !is_first;
        is_first = false;
        // The result is known without the term.
        if (is_or ? result : !result) {
            continue;
        }
        const bool truth =
            term.subexpressions.empty()
                ? holds(term.condition, property(term.attribute, term.property), term.value)
                : holds_all(term.subexpressions);
        result = truth != (term.joined == registry_term::joint::and_not);
    }
    return result;
}

std::uint32_t registry_dependencies::winner_of(const cell& of) const {
    const auto found = std::find_if(of.maps.rbegin(), of.maps.rend(), [this](std::uint32_t map) {
        return holds_all(registry_.maps[map].terms);
    });
    return found == of.maps.rend() ? none : *found;
}

void registry_dependencies::mark_cycle_of(std::uint32_t cell_index) {
    const std::uint32_t cycle = cells_[cell_index].cycle;
    if (!is_marked_[cycle]) {
        is_marked_[cycle] = true;
        marked_.push_back(cycle);
        std::push_heap(marked_.begin(), marked_.end(), std::greater<>());
    }
}

void registry_dependencies::determine_marked() {
    while (!marked_.empty()) {
        std::pop_heap(marked_.begin(), marked_.end(), std::greater<>());
        const std::uint32_t cycle = marked_.back();
        marked_.pop_back();
        is_marked_[cycle] = false;
        determine(cycle);
    }
}

void registry_dependencies::determine(std::uint32_t cycle_index) {
    const auto& [members, is_cyclic] = cycles_[cycle_index];
    std::vector<std::uint32_t> before;
    before.reserve(members.size());
    for (const std::uint32_t member : members) {
        before.push_back(cells_[member].winner);
        if (is_cyclic) {
            cells_[member].winner = none;
        }
    }
    bool has_changed = true;
    for (int round = 0; has_changed && round < (is_cyclic ? most_rounds : 1); ++round) {
        has_changed = false;
        for (const std::uint32_t member : members) {
            const std::uint32_t winner = winner_of(cells_[member]);
            has_changed = has_changed || winner != cells_[member].winner;
            cells_[member].winner = winner;
        }
    }
    for (std::size_t i = 0; i < members.size(); ++i) {
        const cell& member = cells_[members[i]];
        if (member.winner == before[i]) {
            continue;
        }
        journal_.push_back({true, members[i], before[i], {}});
        for (const std::uint32_t reader : member.readers) {
            if (cells_[reader].cycle != cycle_index) {
                mark_cycle_of(reader);
            }
        }
    }
}

void registry_dependencies::set_value(std::uint32_t attribute, const registry_value& value) {
    journal_.push_back({false, attribute, none, std::exchange(values_[attribute], value)});
    for (const std::uint32_t reader : value_readers_[attribute]) {
        mark_cycle_of(reader);
    }
}

void registry_dependencies::load(std::span<const assignment> values) {
    for (const auto& [attribute, value] : values) {
        if (values_[attribute] != value) {
            set_value(attribute, value);
        }
    }
    determine_marked();
}

std::vector<registry_dependencies::change> registry_dependencies::assign(
    std::span<const assignment> values) {
    struct net_change {
        registry_value before;
        const registry_map* cause;
    };
    std::map<std::uint32_t, net_change> touched;
    std::map<std::uint32_t, const registry_value*> wanted;
    for (const auto& [attribute, value] : values) {
        wanted[attribute] = &value;
    }
    std::vector<std::uint32_t> changed;
    for (const auto& [attribute, value] : wanted) {
        if (values_[attribute] != *value) {
            touched.try_emplace(attribute, net_change{values_[attribute], nullptr});
            set_value(attribute, *value);
            changed.push_back(attribute);
        }
    }
    determine_marked();
    std::set<std::uint32_t> acted;
    while (!changed.empty()) {
        // All that act now see the same values; the last one of an attribute wins.
        std::map<std::uint32_t, std::uint32_t> winners;
        for (const std::uint32_t attribute : changed) {
            for (const std::uint32_t index : acting_[attribute]) {
                const registry_map& map = registry_.maps[index];
                if (!acted.contains(index) && holds_all(map.terms)) {
                    acted.insert(index);
                    std::uint32_t& winner = winners.try_emplace(map.attribute, index).first->second;
                    winner = std::max(winner, index);
                }
            }
        }
        changed.clear();
        for (const auto& [attribute, index] : winners) {
            const registry_map& map = registry_.maps[index];
            if (values_[attribute] != map.value) {
                touched.try_emplace(attribute, net_change{values_[attribute], nullptr})
                    .first->second.cause = &map;
                set_value(attribute, map.value);
                changed.push_back(attribute);
            }
        }
        determine_marked();
    }
    std::vector<change> result;
    for (auto& [attribute, net] : touched) {
        if (values_[attribute] != net.before) {
            result.push_back({attribute, std::move(net.before), net.cause});
        }
    }
    return result;
}

std::vector<std::uint32_t> registry_dependencies::correct(std::span<const assignment> values) {
    const std::size_t begin = journal_.size();
    load(values);
    std::vector<std::uint32_t> changed;
    for (std::size_t i = begin; i < journal_.size(); ++i) {
        if (journal_[i].is_cell) {
            changed.push_back(cells_[journal_[i].index].attribute);
        }
    }
    return changed;
}

void registry_dependencies::undo() {
    for (; !journal_.empty(); journal_.pop_back()) {
        journal_entry& entry = journal_.back();
        if (entry.is_cell) {
            cells_[entry.index].winner = entry.winner;
        } else {
            values_[entry.index] = std::move(entry.before);
        }
    }
}

void registry_dependencies::keep() {
    journal_.clear();
}

std::string registry_dependencies::condition_text(const registry_map& map) const {
    std::string text = terms_text(map.terms);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return text;
}

// NOLINTNEXTLINE(misc-no-recursion)
std::string registry_dependencies::terms_text(const std::vector<registry_term>& terms) const {
    std::string text;
    for (const registry_term& term : terms) {
        const bool is_not = term.joined == registry_term::joint::and_not;
        if (!text.empty()) {
            text += term.joined == registry_term::joint::any ? " or " : " and ";
        }
        text += is_not ? "not " : "";
        if (!term.subexpressions.empty()) {
            text += "(" + terms_text(term.subexpressions) + ")";
            continue;
        }
        if (term.property != registry_property::current_value) {
            text += std::string(name_of(term.property)) + " of ";
        }
        const std::string value = setting_text(term.value);
        text += registry_.attributes[term.attribute].name + std::string(words_of(term.condition)) +
                (value.empty() ? "empty" : value);
    }
    return text;
}

}  // namespace dp_service
