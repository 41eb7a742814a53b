#ifndef DP_TOOLS_DPCTL_CHANGES_CHANGE_LIST_HPP
#define DP_TOOLS_DPCTL_CHANGES_CHANGE_LIST_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "service_api/change_record.hpp"

namespace dpctl {

/// The content of a change history, oldest change first.
struct change_list {
    std::vector<dp_service::change_record> changes;
    std::size_t foreign_lines = 0;  ///< lines that are not changes
    bool is_incomplete = false;     ///< the last line has no newline and was ignored
};

change_list read_changes(std::string_view text);

/// Whether `name`, given by a person, includes `target`, which is COLLECTION.ATTRIBUTE[.INSTANCE].
/// It may name a collection, an attribute with or without its collection, or one instance.
bool is_named(std::string_view target, std::string_view name);

/// The changes whose target is one of `names`, or all changes if there are no names; of these only
/// the last `count` (0: all).
std::vector<dp_service::change_record> select_changes(
    const std::vector<dp_service::change_record>& changes, const std::vector<std::string>& names,
    std::size_t count);

}  // namespace dpctl

#endif
