#ifndef DP_TOOLS_DPCTL_NAMES_COLLECTION_VIEW_HPP
#define DP_TOOLS_DPCTL_NAMES_COLLECTION_VIEW_HPP

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bios/dp_api.h"

namespace dpctl {

class collection_view;

/// One setting: an attribute, or one instance of it.
struct setting_ref {
    const collection_view* collection = nullptr;
    const dp_attribute* attribute = nullptr;
    std::string instance;  ///< empty for a setting without instances

    /// COLLECTION.ATTRIBUTE[.INSTANCE]
    [[nodiscard]] std::string name() const;

    /// This setting; without an instance, all those of its attribute.
    [[nodiscard]] std::vector<setting_ref> all() const;
};

/// Their names, in their order.
std::vector<std::string> names_of(const std::vector<setting_ref>& settings);

/// The attributes of one collection and the settings that have values, indexed.
class collection_view {
  public:
    /// The attributes and names must outlive the view.
    collection_view(std::string name, std::span<const dp_attribute> attributes,
                    std::span<const char* const> setting_names);
    collection_view(const collection_view&) = delete;
    collection_view& operator=(const collection_view&) = delete;
    ~collection_view() = default;

    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] std::span<const dp_attribute> attributes() const { return attributes_; }

    /// The attribute, and the instance if there is one, that `text` names inside the collection:
    /// the last part is an instance if what stands before it is an attribute.
    [[nodiscard]] std::optional<setting_ref> find(std::string_view text) const;

    /// The settings of an attribute of this view: its instances as the settings file lists them, or
    /// the attribute itself when it has none.
    [[nodiscard]] std::vector<setting_ref> settings_of(const dp_attribute& attribute) const;

    /// Whether every setting of an attribute of this view is an instance.
    [[nodiscard]] bool has_only_instances(const dp_attribute& attribute) const;

    /// The settings of all attributes, in the order of the attributes.
    [[nodiscard]] std::vector<setting_ref> settings() const;

    /// Those settings that the settings file has values for, in its order.
    [[nodiscard]] std::vector<setting_ref> settings_with_values() const;

  private:
    [[nodiscard]] const std::vector<std::string_view>& instances_of(
        const dp_attribute& attribute) const;

    std::string name_;
    std::span<const dp_attribute> attributes_;
    std::span<const char* const> setting_names_;
    std::unordered_map<std::string_view, std::size_t> index_;  // the first attribute of each name
    std::vector<std::vector<std::string_view>> instances_;     // an attribute each
};

}  // namespace dpctl

#endif
