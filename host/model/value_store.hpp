#ifndef DP_HOST_MODEL_VALUE_STORE_HPP
#define DP_HOST_MODEL_VALUE_STORE_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "batch/qualified_setting_name.hpp"
#include "settings/setting.hpp"
#include "host/model/template_model.hpp"

namespace dp_host {

/// The values of a model's attributes. Changes are noted until they are kept or undone, so that a
/// transaction that can't be written to disk leaves nothing behind.
class value_store {
  public:
    /// The value of one instance of one attribute.
    struct place {
        dp::setting* setting = nullptr;
        std::uint32_t instance = dp::no_instance;
    };

    /// Starts without values; the model outlives the store.
    explicit value_store(const template_model& model);

    // Filling it, which notes no changes.

    /// What became of a value that was stored before.
    enum class adoption : std::uint8_t {
        taken,
        not_valid,  ///< the attribute can't have that value
        no_place,   ///< the template has no such attribute or instance
    };

    /// Takes a value that was stored before, if the template has a place for it; one that is not
    /// valid only when `also_not_valid` is set. The later of two for one place wins.
    adoption adopt(const dp::qualified_setting_name& name, std::string value, bool also_not_valid);

    /// Gives attributes that have no value at all their default, and returns how many: every
    /// single-valued one, and of those with instances the ones that `is_new` picks, in each of
    /// their instances. Rows of records, and attributes of more than 100,000 instances, are not
    /// spelt out: their instances come into being when they are set.
    std::size_t add_defaults(const std::function<bool(const dp::setting&)>& is_new);

    // Looking at it.

    /// The value there, or null. Good until the next change.
    [[nodiscard]] const std::string* find(place at) const;

    /// Calls `visit(place, const std::string& value)` for every value: attributes in the template's
    /// order, instances in ascending order.
    template <class Visitor>
    void for_each(Visitor visit) const {
        for (std::size_t i = 0; i < values_.size(); ++i) {
            for (const auto& [instance, value] : values_[i]) {
                visit(place{model_.attributes()[i].setting, instance}, value);
            }
        }
    }

    // Changing it.

    /// Stores a value; a change unless it is there already.
    void put(place at, const std::string& value);

    /// Removes a value, if there is one.
    void remove(place at);

    [[nodiscard]] bool has_changes() const { return !changes_.empty(); }

    /// Whether the value there was changed since the last `keep_changes` or `undo_changes`.
    [[nodiscard]] bool is_changed(place at) const;

    /// Every place that was changed, each once.
    [[nodiscard]] std::vector<place> changed_places() const;

    void keep_changes();
    void undo_changes();

  private:
    struct noted_change {
        place at{};
        std::optional<std::string> before;
    };
    using instances = std::map<std::uint32_t, std::string>;

    [[nodiscard]] std::uint64_t key_of(place at) const;
    void note(place at, std::optional<std::string> before);

    const template_model& model_;
    std::vector<instances> values_;      // by the attribute's position in the model
    std::vector<noted_change> changes_;  // the first one of each place: what to go back to
    std::unordered_set<std::uint64_t> changed_;
};

}  // namespace dp_host

#endif
