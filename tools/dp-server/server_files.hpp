#ifndef DP_TOOLS_DP_SERVER_SERVER_FILES_HPP
#define DP_TOOLS_DP_SERVER_SERVER_FILES_HPP

#include <optional>
#include <string>

#include "service_api/service_lock.hpp"
#include "support/result.hpp"

namespace dp_tools {

/// The parts of a server: files of the operator, and the build id.
struct server_parts {
    std::string template_file;
    std::string settings_file;
    std::string current_file;
    std::optional<std::string> registry;  ///< the content of the registry's file
    std::string build_id;
};

// The reasons of failures contain the name of the file.

/// Whether `path` is a folder of this user. It is not if it is missing, a symlink, not a folder, or
/// owned by another user.
dp_support::result<> check_folder(const std::string& path);

/// Whether there is something at `path`, a symlink included.
bool exists(const std::string& path);

/// Keeps services from starting while `lock` exists. Fails if a service is running.
dp_support::result<> lock_out_services(dp_service::service_lock& lock);

/// Sets up a server that was never started: its folders, for this user only, and its template,
/// registry, values and build id. The parts are checked first. An installed server is replaced only
/// if `replace` is set, and either completely or not at all; the backups and damaged files of its
/// values are removed. Fails while a service runs, which would continue with the old values.
dp_support::result<> install_server(const server_parts& parts, bool replace);

/// The registry that belongs to a template.
struct registry_file {
    std::optional<std::string> content;
    std::string notice;  ///< why there is a file that is not used; usually empty
};

/// Reads the registry `registry`, or when it is not given, `uefi_registry.json` beside the
/// template, if there is one. A file that is not a registry is a failure; one of another template
/// is a failure if it was given, and otherwise not used. What is wrong with the template is not
/// reported.
dp_support::result<registry_file> find_registry(const std::string& template_file,
                                                const std::optional<std::string>& registry);

/// Stores the parts of a BIOS update in the folder from which the service takes them. `registry` is
/// the content of the registry's file; a registry from an earlier update is removed.
dp_support::result<> place_update(const std::string& template_file,
                                  const std::optional<std::string>& registry,
                                  const std::string& build_id);

/// Why `build_id` is not a valid build id; empty if it is.
std::string build_id_problem(const std::string& build_id);

}  // namespace dp_tools

#endif
