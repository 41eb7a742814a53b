#ifndef DP_SERVICE_API_TEMPLATE_CACHE_HPP
#define DP_SERVICE_API_TEMPLATE_CACHE_HPP

#include <array>

#include "common/fixed_paths.hpp"

/// The files that the library caches a template's expansion in. Every template is expanded to the
/// same files, and readers decide by file times alone whether to expand it again.
namespace dp_service::template_cache {

/// All of them.
inline constexpr std::array<dp::fixed_path, 2> files{dp::fixed_paths::uefi_configs,
                                                     dp::fixed_paths::uefi_info};

/// Removes the files, so that the next reader expands the template again, even when the template is
/// older than they are, as after a clock was set back. A file that cannot be removed stays.
void discard();

}  // namespace dp_service::template_cache

#endif
