#ifndef DP_COMMON_OPEN_REGULAR_FILE_HPP
#define DP_COMMON_OPEN_REGULAR_FILE_HPP

#include <string>

namespace dp {

/// Opens a regular file where other users may have put something else under its name: it never
/// waits for the other end of a pipe and never uses a device, which it does not even open. A
/// symlink to a regular file is followed unless `flags`, those of open(2), say otherwise. A new
/// file has mode 0666 less the process's creation mask. Returns a descriptor that the caller
/// closes, or -1 when there is no regular file to open.
int open_regular_file(const std::string& path, int flags);

}  // namespace dp

#endif
