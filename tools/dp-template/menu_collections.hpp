#ifndef DP_TOOLS_DP_TEMPLATE_MENU_COLLECTIONS_HPP
#define DP_TOOLS_DP_TEMPLATE_MENU_COLLECTIONS_HPP

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace dp_tools {

/// The elements of a menu path: "Main" and "Boot Options" of "./Main/Boot Options". White space
/// around elements, empty elements and "." are ignored.
std::vector<std::string> menu_elements(std::string_view path);

/// Divides a registry's attributes into collections by their menus.
///
/// The menu elements that all paths share are ignored; the next one names the collection, without
/// the characters that a name cannot contain: "./Main/Setup/..." and "./Main/Boot Options/..."
/// become Setup and BootOptions. A path that ends with the shared elements uses its last one, an
/// attribute without a menu belongs to BIOS. Two menus never share a collection: if a name is
/// taken, a number is appended to the later one.
class menu_collections {
  public:
    struct collection {
        std::string name;      ///< in the names of settings
        std::string title;     ///< the text of the menu
        std::string menu;      ///< the menu's path, elements joined by "/"; empty without a menu
        bool renamed = false;  ///< has a number because an earlier menu has the name
    };

    /// `paths` are the elements of each attribute's menu path, in the registry's order; none for an
    /// attribute without a menu.
    explicit menu_collections(const std::vector<std::vector<std::string>>& paths);

    /// The collection of an attribute with one of the constructor's paths.
    [[nodiscard]] const collection& of(const std::vector<std::string>& path) const;

    /// All collections, in the order of their first attributes.
    [[nodiscard]] const std::vector<collection>& all() const { return all_; }

  private:
    [[nodiscard]] std::string key_of(const std::vector<std::string>& path) const;

    std::size_t shared_ = 0;  ///< number of elements that all paths share
    std::vector<collection> all_;
    std::map<std::string, std::size_t> index_;  ///< key to position in all_
};

}  // namespace dp_tools

#endif
