#ifndef DP_HOST_PROCESS_SERVICE_FILES_HPP
#define DP_HOST_PROCESS_SERVICE_FILES_HPP

#include "common/fixed_paths.hpp"

/// Files that dp_settingsd uses alone, in addition to `dp_service::server_paths`.
namespace dp_host::service_files {

/// The file of `dp_host::history_journal`.
inline constexpr dp::fixed_path history_journal{"/var/dp/history.pending"};

/// The batch that runs: dp_settingsd renames its file, so that the next one can arrive meanwhile.
/// One that runs again after the service was killed has a second name.
inline constexpr dp::fixed_path running_batch{"/tmp/dp/batch.run"};
inline constexpr dp::fixed_path repeated_batch{"/tmp/dp/batch.repeated"};

/// The last batch that was not run, because its client no longer waited or could not be answered.
inline constexpr dp::fixed_path late_batch{"/tmp/dp/batch.late"};

/// The file of `dp_host::clock_check`.
inline constexpr dp::fixed_path clock_check{"/tmp/dp/clock"};

/// The attribute text of a template that is checked before it is installed.
inline constexpr dp::fixed_path update_text{"/tmp/dp/update_info.txt"};

}  // namespace dp_host::service_files

#endif
