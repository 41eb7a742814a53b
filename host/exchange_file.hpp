#ifndef DP_HOST_EXCHANGE_FILE_HPP
#define DP_HOST_EXCHANGE_FILE_HPP

#include <string>

namespace dp_host {

/// Takes a file that another process wrote to `path`, by renaming it to `taken_path`. False when
/// there is none, or it is still being written (its end will be noticed), or it is none that may be
/// taken: a link, not a regular file, or somebody else's. Such a one is removed and the log says
/// so. An empty file is taken only when the end of its writing was noticed, which `has_ended`
/// tells: for a moment a file is there before the one who makes it counts as its writer.
bool take_exchange_file(const std::string& path, const std::string& taken_path, bool has_ended);

}  // namespace dp_host

#endif
