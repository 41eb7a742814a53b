#ifndef DP_SERVICE_API_EXPANDED_TEXTS_HPP
#define DP_SERVICE_API_EXPANDED_TEXTS_HPP

#include <array>

#include "common/fixed_paths.hpp"

/// The texts that a template is expanded to for those who read attributes. All templates are
/// expanded to the same files, and readers only compare times.
namespace expanded_texts {

inline constexpr std::array all{dp::fixed_paths::uefi_configs, dp::fixed_paths::uefi_info};

/// Removes them, so that the next reader has its template expanded: also when that one is older
/// than they are, as after a clock was set back. What can't be removed stays.
void forget();

}  // namespace expanded_texts

#endif
