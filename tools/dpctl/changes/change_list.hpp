#ifndef DP_TOOLS_DPCTL_CHANGES_CHANGE_LIST_HPP
#define DP_TOOLS_DPCTL_CHANGES_CHANGE_LIST_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "service_api/change_record.hpp"

namespace dpctl {

/// What a change history tells, oldest change first.
struct change_list {
    std::vector<dp_service::change_record> changes;
    std::size_t foreign_lines = 0;  ///< that are no changes
    bool is_torn = false;           ///< the last line has no end, and is left out
};

change_list read_changes(std::string_view text);

/// Whether `target`, COLLECTION.ATTRIBUTE[.INSTANCE], is what a person names: a collection, an
/// attribute, also without its collection, or one instance.
bool is_meant(std::string_view target, std::string_view name);

/// Those changes whose target one of `names` means, or all without names; of these the last `count`
/// (0: all).
std::vector<dp_service::change_record> choose(const std::vector<dp_service::change_record>& changes,
                                              const std::vector<std::string>& names,
                                              std::size_t count);

}  // namespace dpctl

#endif
