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
#include "host/model/template_model.hpp"
#include "settings/setting.hpp"

namespace dp_host {

/// The values of a model's attributes, with a journal of changes: changes can be undone until they
/// are kept, so that a transaction that cannot be written to disk changes nothing.
class value_store {
  public:
    /// Identifies one value: a setting of the model and an instance.
    struct key {
        dp::setting* setting = nullptr;
        std::uint32_t instance = dp::no_instance;

        /// CONFIGURATION.SETTING[.INSTANCE]
        [[nodiscard]] dp::qualified_setting_name name() const;
    };

    /// Contains no values. The model must outlive the store.
    explicit value_store(const template_model& model);

    // Loading. Nothing of this counts as a change.

    /// The outcome of `load`.
    enum class load_result : std::uint8_t {
        loaded,
        invalid,  ///< the value is not valid for the attribute
        unknown,  ///< the template has no such attribute or instance
    };

    /// Loads a value that was stored earlier, and replaces one that was loaded before. A value that
    /// is not valid is loaded only if `also_invalid` is set.
    load_result load(const dp::qualified_setting_name& name, std::string value, bool also_invalid);

    /// Gives attributes that have no values their default, and returns the number of these
    /// attributes: every single-valued attribute, and of the others those that `is_new` selects, in
    /// all instances. Fields of records, and attributes of more than 100,000 instances, get none:
    /// clients create their instances.
    std::size_t add_defaults(const std::function<bool(const dp::setting&)>& is_new);

    // Reading.

    /// The value, or null. Valid until the next change.
    [[nodiscard]] const std::string* find(key at) const;

    /// Calls `visit(key, const std::string& value)` for every value: attributes in the template's
    /// order, instances in ascending order.
    template <class Visitor>
    void for_each(Visitor visit) const {
        for (std::size_t i = 0; i < values_.size(); ++i) {
            for (const auto& [instance, value] : values_[i]) {
                visit(key{model_.attributes()[i].setting, instance}, value);
            }
        }
    }

    // Changing.

    /// Stores a value. A change, unless the value is the same already.
    void put(key at, const std::string& value);

    /// Removes a value, if there is one.
    void remove(key at);

    /// Whether the value was changed since the last `keep_changes` or `undo_changes`.
    [[nodiscard]] bool is_changed(key at) const;

    /// The changed values, each once.
    [[nodiscard]] std::vector<key> changed() const;

    /// Ends the journal: the changes so far cannot be undone any more.
    void keep_changes();

    /// Restores the values of the last `keep_changes` or `undo_changes`.
    void undo_changes();

  private:
    struct change {
        key at{};
        std::optional<std::string> before;
    };
    using values_by_instance = std::map<std::uint32_t, std::string>;

    [[nodiscard]] std::uint64_t number_of(key at) const;
    void record(key at, std::optional<std::string> before);

    const template_model& model_;
    std::vector<values_by_instance> values_;  // by the attribute's position in the model
    std::vector<change> changes_;             // the first change of each value
    std::unordered_set<std::uint64_t> changed_;
};

}  // namespace dp_host

#endif
