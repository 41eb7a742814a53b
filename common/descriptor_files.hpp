#ifndef DP_COMMON_DESCRIPTOR_FILES_HPP
#define DP_COMMON_DESCRIPTOR_FILES_HPP

#include <string>
#include <string_view>

namespace dp {

/// Opens a regular file, with `flags` as those of open(2), for a place where others may plant
/// something under its name: a pipe's other end is not waited for, nor a device used. A file that
/// is made may be read and written by all that the process's mask allows. The descriptor is the
/// caller's; -1 when there is no regular file to open.
int open_regular_file(const std::string& path, int flags);

/// Writes all of `text`, in as many pieces as it takes; what can't be written is lost.
void write_all(int descriptor, std::string_view text);

}  // namespace dp

#endif
