#ifndef DP_COMMON_FIXED_PATHS_HPP
#define DP_COMMON_FIXED_PATHS_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

/// A path of a file or command outside the library that never changes on the board.
///
/// The library that a board ships uses the path as it is. The relocatable build, which is for demos
/// and tests and never shipped, prefixes it with the folder that the environment variable DP_ROOT
/// names when the first path is used; empty or unset means no prefix.
class fixed_path {
  public:
    /// `board_path` is a literal and not owned.
    constexpr explicit fixed_path(const char* board_path) : board_path_(board_path) {}

    /// The path to use in this process.
    [[nodiscard]] DP_API std::string str() const;

  private:
    const char* board_path_;
};

/// Every fixed path and command outside the library, each defined once.
namespace fixed_paths {

/// Defaults of the BIOS service's file names: the template, the pending values and the current
/// values. The `dp_cim_change_*_fname` functions replace them.
/// @{
inline constexpr fixed_path uefi_template{"/var/dp/uefi_template.efi"};
inline constexpr fixed_path uefi_settings{"/var/dp/uefi_settings.txt"};
inline constexpr fixed_path uefi_current{"/var/dp/uefi_current.txt"};
/// @}

/// Texts that outside tools write for the BIOS service: the attributes and the collections of the
/// template, and the build id.
/// @{
inline constexpr fixed_path uefi_info{"/tmp/dp/uefi_info.txt"};
inline constexpr fixed_path uefi_configs{"/tmp/dp/uefi_configs.txt"};
inline constexpr fixed_path uefi_build_id{"/tmp/dp/uefi.bld"};
/// @}

/// The batch exchange with the settings service: the commands and their results.
/// @{
inline constexpr fixed_path batch{"/tmp/dp/batch"};
inline constexpr fixed_path batch_result{"/tmp/dp/batch.out"};
/// @}

/// The folder for temporary files.
inline constexpr fixed_path temporary_folder{"/tmp"};

/// Change history of the transaction that just ended. The misspelling is part of the name.
inline constexpr fixed_path change_history{"/tmp/config_change_hisroty.log"};

/// Table of RAS event categories, written by another component.
inline constexpr fixed_path event_categories{"/tmp/DS/uim_ras_category_mapping.cfg"};

/// Tools that the library runs: one expands templates, one prints vital product data.
/// @{
inline constexpr fixed_path dpspy{"/bin/dpspy"};
inline constexpr fixed_path sysvpd{"/bin/sysvpd"};
/// @}

}  // namespace fixed_paths
}  // namespace dp

#endif
