#ifndef DP_HOST_PROCESS_PRIVATE_FOLDER_HPP
#define DP_HOST_PROCESS_PRIVATE_FOLDER_HPP

#include <sys/types.h>

#include <optional>
#include <string>

#include "support/result.hpp"

namespace dp_host {

/// Ensures that only this user can access the folder `path`: it is a folder and not a symlink, the
/// effective user owns it, its mode is 0700 (other modes are changed), and no other user can
/// replace it or one of its parents. Missing folders are created.
///
/// With `readers`, the members of that group can read the folder too: it has that group and the
/// mode 02750, so that files created there have the group. The process's mask decides whether they
/// can read these.
dp_support::result<> prepare_private_folder(const std::string& path,
                                            std::optional<gid_t> readers = std::nullopt);

}  // namespace dp_host

#endif
