#ifndef DP_TOOLS_DP_TEMPLATE_COLLECTIONS_HPP
#define DP_TOOLS_DP_TEMPLATE_COLLECTIONS_HPP

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace dp_tools {

/// The elements of a menu path "./Main/Boot Options": "Main" and "Boot Options". Blanks around
/// elements, empty elements and "." do not count.
std::vector<std::string> menu_elements(std::string_view path);

/// Divides a registry's attributes into collections by their menus.
///
/// The menu elements that all paths share say nothing; the next one names the collection, without
/// the characters that a name can't carry: with "./Main/Setup/..." and "./Main/Boot Options/..."
/// these are Setup and BootOptions. A path that ends with the shared elements takes its last one,
/// an attribute without a menu belongs to BIOS. Two menus are never one collection: the later one
/// whose name is taken gets a number behind it.
class collections {
  public:
    struct collection {
        std::string name;      ///< as settings are addressed
        std::string title;     ///< the menu's own text
        std::string menu;      ///< the menu's path, elements joined by "/"; empty without menus
        bool renamed = false;  ///< another menu had the name first
    };

    /// `paths` are the elements of every attribute's menu path, in the registry's order; without
    /// elements where the attribute has no menu.
    explicit collections(const std::vector<std::vector<std::string>>& paths);

    /// The collection of an attribute with one of the constructor's paths.
    [[nodiscard]] const collection& of(const std::vector<std::string>& path) const;

    /// All of them, in the order in which the attributes meet them.
    [[nodiscard]] const std::vector<collection>& all() const { return all_; }

  private:
    [[nodiscard]] std::string key_of(const std::vector<std::string>& path) const;

    std::size_t shared_ = 0;  ///< number of elements that all paths begin with
    std::vector<collection> all_;
    std::map<std::string, std::size_t> index_;  ///< from key to place in all_
};

}  // namespace dp_tools

#endif
