#ifndef DP_REDFISH_PAGE_PAGE_FILES_HPP
#define DP_REDFISH_PAGE_PAGE_FILES_HPP

#include <span>
#include <string_view>

namespace dp_redfish {

/// A file of the setup page, as it is in the source tree. Its content is part of the program.
struct page_file {
    std::string_view name;  ///< "style.css"
    std::string_view content;
};

/// All files of the setup page, sorted by name.
std::span<const page_file> page_files();

}  // namespace dp_redfish

#endif
