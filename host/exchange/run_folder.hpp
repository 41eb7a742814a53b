#ifndef DP_HOST_EXCHANGE_RUN_FOLDER_HPP
#define DP_HOST_EXCHANGE_RUN_FOLDER_HPP

#include <string>

namespace dp_host {

/// Makes sure that the folder `path` is one that only this user can reach into: a real folder, not
/// a link, owned by the effective user, mode 0700 (a wider mode is narrowed), below folders in
/// which nobody else can replace it. A missing folder is created, and so are missing parents.
/// Returns why the folder can't be used; empty when it can.
std::string prepare_run_folder(const std::string& path);

}  // namespace dp_host

#endif
