#include "bios/uefi_build_id.hpp"

#include "bios/cim_helper.hpp"

int update_uefi_build_id_file() {
    return dp::cim_helper::update_uefi_build_id_file();
}
