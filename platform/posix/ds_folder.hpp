#ifndef DP_PLATFORM_POSIX_DS_FOLDER_HPP
#define DP_PLATFORM_POSIX_DS_FOLDER_HPP

#include <string>

#include "common/export.hpp"

/// The data store on Linux is the folder that the environment variable DP_DS_FOLDER names, or
/// "/var/dp/ds" when that is unset or empty. The first write creates it with mode 0750 if its
/// parent folder exists. A file is written under a temporary name and renamed, so a process that
/// dies leaves the old content. It is not forced to the disk.
namespace dp_platform {

/// The path of the store's file `name`: in the folder, under `name` with a leading '.' and every
/// byte other than letters, digits, '_', '-' and '.' written as "%" and two hexadecimal digits.
DP_API std::string ds_file_path(const std::string& name);

}  // namespace dp_platform

#endif
