#include "bios/uefi_build_id.hpp"

#include <cstdlib>
#include <string>

#include "bios/attribute_files.hpp"
#include "common/file_locks.hpp"
#include "common/file_utilities.hpp"
#include "common/fixed_paths.hpp"
#include "common/log.hpp"

namespace fixed_paths = dp::fixed_paths;

int update_uefi_build_id_file() {
    const std::string file = fixed_paths::uefi_build_id.str();
    const std::string fresh = tempname(fixed_paths::temporary_folder.str(), "uefiinfo");
    const std::string command = fixed_paths::sysvpd.str() + " -g UEFIID > " + fresh;
    if (std::system(command.c_str()) != 0) {
        dp::log_error_line("Failed running sysvpd");
    }
    int replaced = 0;
    if (compfile(fresh, file) == 0) {
        const writelock lock(file);
        copyfile(fresh, file);
        replaced = 1;
    }
    dp::remove_file(fresh);
    return replaced;
}
