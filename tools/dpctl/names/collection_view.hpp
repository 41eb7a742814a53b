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

/// A setting: an attribute, or one instance of it.
struct setting_ref {
    const collection_view* collection = nullptr;
    const dp_attribute* attribute = nullptr;
    std::string instance;  ///< empty for a setting without instances

    /// COLLECTION.ATTRIBUTE[.INSTANCE]
    [[nodiscard]] std::string name() const;

    /// This setting; without an instance, all settings of its attribute.
    [[nodiscard]] std::vector<setting_ref> all() const;
};

/// The names of `settings`, in the same order.
std::vector<std::string> names_of(const std::vector<setting_ref>& settings);

/// Index of the attributes of a collection and of its settings that have values.
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

    /// The setting with the name `text` within the collection. The last part of the name is an
    /// instance if the part before it is an attribute.
    [[nodiscard]] std::optional<setting_ref> find(std::string_view text) const;

    /// The settings of an attribute of this view: its instances in the order of the settings file,
    /// or the attribute itself if it has none.
    [[nodiscard]] std::vector<setting_ref> settings_of(const dp_attribute& attribute) const;

    /// Whether every setting of an attribute of this view is an instance.
    [[nodiscard]] bool has_only_instances(const dp_attribute& attribute) const;

    /// The settings of all attributes, in the order of the attributes.
    [[nodiscard]] std::vector<setting_ref> settings() const;

    /// The settings that the settings file has values for, in the order of the file.
    [[nodiscard]] std::vector<setting_ref> settings_with_values() const;

  private:
    [[nodiscard]] const std::vector<std::string_view>& instances_of(
        const dp_attribute& attribute) const;

    std::string name_;
    std::span<const dp_attribute> attributes_;
    std::span<const char* const> setting_names_;
    std::unordered_map<std::string_view, std::size_t> index_;  // the first attribute of each name
    std::vector<std::vector<std::string_view>> instances_;     // of each attribute
};

}  // namespace dpctl

#endif
