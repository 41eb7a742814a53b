#ifndef DP_HOST_PROCESS_SERVICE_FILES_HPP
#define DP_HOST_PROCESS_SERVICE_FILES_HPP

#include "common/fixed_paths.hpp"

/// Files that dp_settingsd keeps for itself, beside those of server_paths.
namespace dp_host::service_files {

/// The lines that the history gets as soon as the values they tell of are in place: `history_note`.
inline constexpr dp::fixed_path history_note{"/var/dp/history.pending"};

/// The batch that is being run, and the server request that is being carried out: their files are
/// renamed to these, so that the next one can arrive meanwhile.
inline constexpr dp::fixed_path running_batch{"/tmp/dp/batch.run"};
inline constexpr dp::fixed_path running_request{"/tmp/dp/server.run"};

/// The text of a template that is about to be installed.
inline constexpr dp::fixed_path update_text{"/tmp/dp/update_info.txt"};

}  // namespace dp_host::service_files

#endif
