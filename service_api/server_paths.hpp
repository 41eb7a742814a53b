#ifndef DP_SERVICE_API_SERVER_PATHS_HPP
#define DP_SERVICE_API_SERVER_PATHS_HPP

#include "common/fixed_paths.hpp"

/// Files through which dp_settingsd and the simulated server's tools meet.
namespace server_paths {

/// The folders of the exchange files and of the lasting files.
inline constexpr dp::fixed_path exchange_folder{"/tmp/dp"};
inline constexpr dp::fixed_path data_folder{"/var/dp"};

/// Its record lock (fcntl) is held as long as a service runs, and by whoever replaces the server's
/// files, so that no service starts meanwhile. The file stays.
inline constexpr dp::fixed_path service_lock{"/var/dp/dp_settingsd.lock"};

/// What the server should do, one line: "restart", or "update" for a BIOS update whose parts lie
/// ready in `update_folder`. dp_settingsd takes the file away and answers in `server_answer` with
/// one line: "0", or a status other than 0 and a reason.
inline constexpr dp::fixed_path server_request{"/tmp/dp/server"};
inline constexpr dp::fixed_path server_answer{"/tmp/dp/server.out"};

/// The parts of a BIOS update: a template, and the text of its build id.
inline constexpr dp::fixed_path update_folder{"/var/dp/update"};
inline constexpr dp::fixed_path update_template{"/var/dp/update/uefi_template.efi"};
inline constexpr dp::fixed_path update_build_id{"/var/dp/update/build_id"};

/// What the transaction that runs, or ran last, does: the library's process status file.
/// dp_settingsd begins it anew for every transaction; its last record is DP.DONE.
inline constexpr dp::fixed_path process_status{"/tmp/dp/status"};

/// Every change that dp_settingsd made for its clients, oldest first, a `change_record` a line.
/// Only what changed a value is there: no reads, no failed commands, and no sets of the value that
/// was there already. Lines are appended once the change is on the disk, all of a transaction in
/// one go and before it is answered. When the file grows beyond its limit the oldest lines are
/// dropped, and it is another file then. Readers pass over a last line without a line end: it is
/// being written.
inline constexpr dp::fixed_path change_history{"/var/dp/history"};

/// The server's vital product data, a line KEY=VALUE each; UEFIID is the BIOS's build id.
inline constexpr dp::fixed_path vital_product_data{"/var/dp/vpd.txt"};

}  // namespace server_paths

#endif
