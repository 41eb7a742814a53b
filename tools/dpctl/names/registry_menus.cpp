#include "tools/dpctl/names/registry_menus.hpp"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <variant>

namespace dpctl {
namespace {

using dp_service::attribute_registry;
using dp_service::registry_dependencies;
using dp_service::registry_menu;
using dp_service::registry_property;

// A path from a file may have any length; menus that are deeper are not below others.
constexpr std::ptrdiff_t deepest_menu = 64;

std::int64_t display_order(const registry_dependencies& rules, std::uint32_t attribute) {
    const auto& order = rules.property(attribute, registry_property::display_order);
    const auto* const number = std::get_if<std::int64_t>(&order);
    return number == nullptr ? INT64_MAX : *number;
}

}  // namespace

// Makes the menus of paths such as "./Setup/Boot".
class registry_menus::builder {
  public:
    builder(const attribute_registry& registry, std::vector<menu>& menus) : menus_(menus) {
        menus_.emplace_back();
        for (const registry_menu& record : registry.menus) {
            records_.try_emplace(record.path, &record);
        }
        for (const registry_menu& record : registry.menus) {
            menu_at(record.path);
        }
    }

    // The index of the menu with that path, which is made with those above it if it is new.
    std::size_t menu_at(std::string_view path) {
        std::vector<std::string_view> missing;
        std::size_t above = 0;
        while (!path.empty() && path != ".") {
            if (const auto known = index_.find(path); known != index_.end()) {
                above = known->second;
                break;
            }
            missing.push_back(path);
            path = path_above(path);
        }
        for (; !missing.empty(); missing.pop_back()) {
            above = add(missing.back(), above);
        }
        return above;
    }

  private:
    // A menu's name may contain a slash: the nearest path that the registry has is the one above.
    [[nodiscard]] std::string_view path_above(std::string_view path) const {
        if (std::count(path.begin(), path.end(), '/') > deepest_menu) {
            return {};
        }
        const std::string_view nearest = without_last_part(path);
        for (auto above = nearest; !above.empty(); above = without_last_part(above)) {
            if (records_.contains(above)) {
                return above;
            }
        }
        return nearest;
    }

    static std::string_view without_last_part(std::string_view path) {
        const std::size_t slash = path.rfind('/');
        return path.substr(0, slash == std::string_view::npos ? 0 : slash);
    }

    std::size_t add(std::string_view path, std::size_t above) {
        const std::size_t added = menus_.size();
        menu& made = menus_.emplace_back();
        menus_[above].below.push_back(added);
        index_.emplace(path, added);
        std::string_view name = path.substr(path.rfind('/') + 1);
        made.is_hidden = menus_[above].is_hidden;
        if (const auto found = records_.find(path); found != records_.end()) {
            const registry_menu& record = *found->second;
            name = record.display_name.empty() ? name : std::string_view(record.display_name);
            made.order = record.display_order.value_or(INT64_MAX);
            made.is_hidden = made.is_hidden || record.hidden;
        }
        made.title = menus_[above].title + (above == 0 ? "" : " > ");
        made.title += name;
        return added;
    }

    std::vector<menu>& menus_;
    std::unordered_map<std::string_view, const registry_menu*> records_;
    std::unordered_map<std::string_view, std::size_t> index_;
};

registry_menus::registry_menus(const attribute_registry& registry,
                               const registry_dependencies& rules)
    : positions_(registry.attributes.size()) {
    builder menus(registry, menus_);
    for (const auto& attribute : registry.attributes) {
        menu_of_.push_back(menus.menu_at(attribute.menu_path));
    }
    // A menu comes before those below it, and these before the next one beside it.
    std::vector<std::size_t> waiting{0};
    for (std::size_t rank = 0; !waiting.empty(); ++rank) {
        menu& next = menus_[waiting.back()];
        waiting.pop_back();
        next.rank = rank;
        std::stable_sort(
            next.below.begin(), next.below.end(),
            [this](std::size_t a, std::size_t b) { return menus_[a].order < menus_[b].order; });
        waiting.insert(waiting.end(), next.below.rbegin(), next.below.rend());
    }
    std::vector<std::uint32_t> attributes(registry.attributes.size());
    std::iota(attributes.begin(), attributes.end(), 0U);
    std::sort(attributes.begin(), attributes.end(), [&](std::uint32_t a, std::uint32_t b) {
        return std::tuple(menus_[menu_of_[a]].rank, display_order(rules, a), a) <
               std::tuple(menus_[menu_of_[b]].rank, display_order(rules, b), b);
    });
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        positions_[attributes[i]] = i;
    }
}

}  // namespace dpctl
