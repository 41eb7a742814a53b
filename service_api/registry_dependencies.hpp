#ifndef DP_SERVICE_API_REGISTRY_DEPENDENCIES_HPP
#define DP_SERVICE_API_REGISTRY_DEPENDENCIES_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "service_api/attribute_registry.hpp"
#include "service_api/registry_value.hpp"

namespace dp_service {

/// The values of all attributes of a registry, and what its dependencies make of them.
///
/// A dependency of a current value acts when the attribute named in DependencyFor changes: if its
/// condition holds then, it sets the value, which may make others act. Each acts at most once in a
/// batch of changes, so that cycles end. A dependency of another property changes it as long as its
/// condition holds. Of several that hold for one property the last in the registry wins. Without
/// one the property is as the registry says.
///
/// Properties that depend on each other in a cycle start as the registry says, and are determined
/// again in the order of their first dependencies, until none changes or `most_rounds` are done.
///
/// The cost of a batch grows with its changes and with the dependencies that read what changed, not
/// with the registry. One thread at a time may use an object.
class registry_dependencies {
  public:
    static constexpr int most_rounds = 100;

    /// Starts with the registry's default values where there is one, and current values elsewhere.
    /// `registry` must outlive this object and not be changed.
    explicit registry_dependencies(const attribute_registry& registry);

    struct assignment {
        std::uint32_t attribute;
        registry_value value;
    };

    /// A value that changed.
    struct change {
        std::uint32_t attribute;
        registry_value before;
        const registry_map* cause;  ///< the dependency that set the value; null: it was assigned
    };

    /// Sets values without making any dependency act: those that were stored earlier.
    void load(std::span<const assignment> values);

    /// Assigns values together, the last one of an attribute, and makes dependencies act. Returns
    /// the values that are different afterwards, by attribute.
    std::vector<change> assign(std::span<const assignment> values);

    /// Whether what an assignment makes of current values can depend on this attribute.
    [[nodiscard]] bool matters_to_values(std::uint32_t attribute) const {
        return matters_to_values_[attribute];
    }

    /// Sets values of attributes that do not matter to values: afterwards everything is as if the
    /// last `assign` had been called with them. Returns the attributes of which properties changed,
    /// some more than once.
    std::vector<std::uint32_t> correct(std::span<const assignment> values);

    /// Takes back everything since the last `keep`, or since construction.
    void undo();

    /// Keeps everything: `undo` does not take it back any more.
    void keep();

    /// A property as the dependencies make it; the current value is the one that was set last.
    [[nodiscard]] const registry_value& property(std::uint32_t attribute,
                                                 registry_property which) const;

    /// The dependency that a property other than the current value has its value from; null: the
    /// registry itself.
    [[nodiscard]] const registry_map* cause(std::uint32_t attribute, registry_property which) const;

    /// The condition of a dependency on one line, for a person: "WorkloadProfile is not Custom".
    [[nodiscard]] std::string condition_text(const registry_map& map) const;

  private:
    static constexpr std::uint32_t none = UINT32_MAX;

    // A property, other than the current value, that dependencies change.
    struct cell {
        std::uint32_t attribute;
        registry_property property;
        std::vector<std::uint32_t> maps;     // in the registry's order
        std::vector<std::uint32_t> readers;  // cells whose conditions read this one
        std::uint32_t cycle = 0;             // index of the cells that depend on each other
        std::uint32_t winner = none;         // the map that holds
    };

    // Cells that depend on each other, or a single one. They are determined together.
    struct cell_cycle {
        std::vector<std::uint32_t> cells;  // in order
        bool is_cyclic = false;
    };

    struct journal_entry {
        bool is_cell;
        std::uint32_t index;
        std::uint32_t winner;   // of a cell, before
        registry_value before;  // of an attribute's current value
    };

    [[nodiscard]] const registry_value* find_cell_value(std::uint32_t attribute,
                                                        registry_property which) const;
    [[nodiscard]] bool holds_all(const std::vector<registry_term>& terms) const;
    [[nodiscard]] std::uint32_t winner_of(const cell& of) const;
    [[nodiscard]] std::string terms_text(const std::vector<registry_term>& terms) const;
    void add_cells();
    void find_cycles();
    void find_what_matters_to_values();
    void set_value(std::uint32_t attribute, const registry_value& value);
    void mark_cycle_of(std::uint32_t cell_index);
    void determine_marked();
    void determine(std::uint32_t cycle_index);

    const attribute_registry& registry_;
    std::vector<registry_value> values_;
    std::vector<cell> cells_;
    std::vector<cell_cycle> cycles_;  // each after those that it reads
    std::unordered_map<std::uint64_t, std::uint32_t> cell_index_;
    std::vector<std::vector<std::uint32_t>> value_readers_;  // cells, by attribute
    std::vector<std::vector<std::uint32_t>> acting_;         // maps of current values, by cause
    std::vector<bool> matters_to_values_;
    std::vector<std::uint32_t> marked_;  // a heap of cycles, the first on top
    std::vector<bool> is_marked_;
    std::vector<journal_entry> journal_;
};

}  // namespace dp_service

#endif
