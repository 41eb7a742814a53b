#ifndef DP_HOST_EXCHANGE_FILE_HPP
#define DP_HOST_EXCHANGE_FILE_HPP

#include <string>

namespace dp_host {

/// Takes a file that another process wrote to `path`, by renaming it to `taken_path`. False when
/// there is none, or it is still being written (its end will be noticed), or it is none that may be
/// taken: a link, not a regular file, or somebody else's. Such a one is removed and the log says
/// so.
bool take_exchange_file(const std::string& path, const std::string& taken_path);

}  // namespace dp_host

#endif
