#include "redfish/protocol/selection.hpp"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <string_view>
#include <utility>

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

// The selected members of an object, and of the objects in them.
struct member_selection {
    bool is_whole = false;
    std::map<std::string, member_selection, std::less<>> members;
};

member_selection selection_of(const std::vector<std::string>& names) {
    member_selection selection;
    for (const std::string_view name : names) {
        member_selection* at = &selection;
        for (std::size_t begin = 0; begin <= name.size();) {
            const std::size_t end = std::min(name.find('/', begin), name.size());
            at = &at->members[std::string(name.substr(begin, end - begin))];
            begin = end + 1;
        }
        at->is_whole = true;
    }
    return selection;
}

bool is_always_selected(std::string_view name) {
    return name == "@odata.id" || name == "@odata.type" || name == "@odata.context" ||
           name == "@odata.etag";
}

void reduce(json_value& value, const member_selection& selection) {
    if (selection.is_whole) {
        return;
    }
    if (value.kind == json_kind::array) {
        for (auto& item : value.items) {
            reduce(item, selection);
        }
        return;
    }
    if (value.kind != json_kind::object) {
        return;
    }
    std::vector<json_value> kept;
    for (auto& member : value.items) {
        const std::string_view name = member.name;
        const auto found = selection.members.find(name);
        if (found != selection.members.end()) {
            reduce(member, found->second);
            kept.push_back(std::move(member));
        } else if (const std::size_t at = name.find('@');
                   is_always_selected(name) ||
                   (at != 0 && at != std::string_view::npos &&
                    selection.members.find(name.substr(0, at)) != selection.members.end())) {
            kept.push_back(std::move(member));
        }
    }
    value.items = std::move(kept);
}

}  // namespace

void select_members(json_value& resource, const std::vector<std::string>& names) {
    reduce(resource, selection_of(names));
}

}  // namespace dp_redfish
