#ifndef DP_PLATFORM_POSIX_DS_FOLDER_HPP
#define DP_PLATFORM_POSIX_DS_FOLDER_HPP

#include <string>

#include "common/export.hpp"

/// The data store on Linux is a folder: the one that the environment variable DP_DS_FOLDER names,
/// "/var/dp/ds" without it. It is made (mode 0750) when the first file is written, if the folder
/// above it exists. A file is written beside its place and renamed, so that a process that dies
/// leaves the old content; it is not forced to the disk.
namespace dp_platform {

/// Where the store keeps the file `name`: in the folder, under the name with every byte other than
/// letters, digits, '_', '-' and '.', and a '.' in front, written as "%" and two hexadecimal
/// digits.
DP_API std::string ds_file_path(const std::string& name);

}  // namespace dp_platform

#endif
