#ifndef DP_SERVICE_API_SERVER_PATHS_HPP
#define DP_SERVICE_API_SERVER_PATHS_HPP

#include "common/fixed_paths.hpp"

/// The files that dp_settingsd and its clients share, in addition to those of `dp::fixed_paths`.
namespace dp_service::server_paths {

/// The folders of the exchange files, which do not survive a reboot, and of the persistent files.
/// Both belong to the user who runs dp_settingsd (mode 0700).
/// @{
inline constexpr dp::fixed_path exchange_folder{"/tmp/dp"};
inline constexpr dp::fixed_path data_folder{"/var/dp"};
/// @}

/// The file of `dp_service::service_lock`.
inline constexpr dp::fixed_path service_lock{"/var/dp/dp_settingsd.lock"};

/// The socket on which dp_settingsd takes requests: see `request_protocol` and `settings_client`.
/// Its folder belongs to the user who runs dp_settingsd; others can connect only if a group was
/// given access.
/// @{
inline constexpr dp::fixed_path request_folder{"/run/dp"};
inline constexpr dp::fixed_path request_socket{"/run/dp/settings.sock"};
/// @}

/// The registry of the template: see `attribute_registry`. A server may have none.
inline constexpr dp::fixed_path registry{"/var/dp/uefi_registry.json"};

/// The parts of a BIOS update: a template, its registry if it has one, and the text of its build
/// id.
/// @{
inline constexpr dp::fixed_path update_folder{"/var/dp/update"};
inline constexpr dp::fixed_path update_template{"/var/dp/update/uefi_template.efi"};
inline constexpr dp::fixed_path update_registry{"/var/dp/update/uefi_registry.json"};
inline constexpr dp::fixed_path update_build_id{"/var/dp/update/build_id"};
/// @}

/// Progress of the transaction that runs or ran last: the library's process status file.
/// dp_settingsd starts it again for every transaction; its last status record is DP.DONE.
inline constexpr dp::fixed_path process_status{"/tmp/dp/status"};

/// The changes that dp_settingsd made for its clients, oldest first, one `change_record` a line.
/// Only values that changed are listed: no reads, no failed commands, no sets of the value that was
/// there already. The lines of a transaction are appended together, after the changes are on the
/// disk and before it is answered. When the file grows beyond its limit, a new file without the
/// oldest lines replaces it. Readers skip a last line without a newline: it is being written.
inline constexpr dp::fixed_path history{"/var/dp/history"};

/// The server's vital product data, one KEY=VALUE a line; UEFIID is the BIOS's build id. What
/// identifies the server has the keys AssetTag, HostName, Manufacturer, Model, PartNumber, SKU,
/// SerialNumber and UUID; each may be missing.
inline constexpr dp::fixed_path vital_product_data{"/var/dp/vpd.txt"};

}  // namespace dp_service::server_paths

#endif
