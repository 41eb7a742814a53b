#ifndef DP_TOOLS_DPCTL_NAMES_CATALOG_HPP
#define DP_TOOLS_DPCTL_NAMES_CATALOG_HPP

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "tools/dpctl/names/attribute_source.hpp"
#include "tools/dpctl/names/collection_view.hpp"

namespace dpctl {

/// Why a name was not found, as a sentence, and names that may have been meant.
struct unknown_name {
    std::string reason;
    std::vector<std::string> suggestions;
};

/// The collections by name, each read from the source when it is first needed.
class catalog {
  public:
    /// The source must outlive the catalog and everything that the catalog returns.
    explicit catalog(attribute_source& source);

    [[nodiscard]] const std::vector<std::string>& collections() const { return collections_; }

    /// The collection of that name; valid as long as the catalog.
    std::variant<const collection_view*, unknown_name> find_collection(const std::string& name);

    /// The setting that a person names as COLLECTION.ATTRIBUTE[.INSTANCE]. COLLECTION may be
    /// omitted if only one collection has such an attribute.
    std::variant<setting_ref, unknown_name> find_setting(const std::string& text);

    /// The settings whose name matches `pattern`, with or without the collection, in the order of
    /// the collections and attributes.
    std::vector<setting_ref> match_settings(const std::string& pattern);

    /// The same for attributes, without instances.
    std::vector<setting_ref> match_attributes(const std::string& pattern);

  private:
    const collection_view& view(const std::string& name);
    [[nodiscard]] bool is_collection(std::string_view name) const;
    [[nodiscard]] std::vector<std::string> similar_collections(const std::string& name) const;
    unknown_name explain_unknown(const std::string& text);

    attribute_source& source_;
    std::vector<std::string> collections_;
    std::unordered_map<std::string, std::unique_ptr<collection_view>> views_;  // null: not read yet
};

}  // namespace dpctl

#endif
