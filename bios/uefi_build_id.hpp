#ifndef DP_BIOS_UEFI_BUILD_ID_HPP
#define DP_BIOS_UEFI_BUILD_ID_HPP

#include "common/export.hpp"

/// Asks the outside tool for the BIOS's build id and replaces the build-id file when it differs. 1
/// when the file was replaced, 0 otherwise. A failed run of the tool is logged and what it printed,
/// possibly nothing, is taken all the same. The host calls it when the BIOS may have changed; it
/// needs no initialised service.
DP_API int update_uefi_build_id_file();

#endif
