#ifndef DP_HOST_PROCESS_SERVICE_FILES_HPP
#define DP_HOST_PROCESS_SERVICE_FILES_HPP

#include "common/fixed_paths.hpp"

/// Files that dp_settingsd uses alone, in addition to `dp_service::server_paths`.
namespace dp_host::service_files {

/// The file of `dp_host::history_journal`.
inline constexpr dp::fixed_path history_journal{"/var/dp/history.pending"};

/// The batch that runs, and the request that is executed: dp_settingsd renames their files to
/// these, so that the next ones can arrive meanwhile.
inline constexpr dp::fixed_path running_batch{"/tmp/dp/batch.run"};
inline constexpr dp::fixed_path running_request{"/tmp/dp/server.run"};

/// The attribute text of a template that is checked before it is installed.
inline constexpr dp::fixed_path update_text{"/tmp/dp/update_info.txt"};

}  // namespace dp_host::service_files

#endif
