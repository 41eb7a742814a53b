#ifndef DP_BIOS_UEFI_BUILD_ID_HPP
#define DP_BIOS_UEFI_BUILD_ID_HPP

#include "common/export.hpp"

/// Runs the outside tool that prints the BIOS's build id, and replaces the build-id file when the
/// id differs. Returns 1 when the file was replaced, otherwise 0. When the tool fails, that is
/// logged and its output is still used, even when it is empty. The host calls this when the BIOS
/// may have changed. It needs no initialised service.
DP_API int update_uefi_build_id_file();

#endif
