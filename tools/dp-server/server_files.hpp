#ifndef DP_TOOLS_DP_SERVER_SERVER_FILES_HPP
#define DP_TOOLS_DP_SERVER_SERVER_FILES_HPP

#include <string>

namespace dp_tools {

/// What a server is made of, as files of the operator's.
struct server_parts {
    std::string template_file;
    std::string settings_file;
    std::string current_file;
    std::string build_id;
};

// All of these return why it did not work, naming the file; empty on success.

/// Why the folder `path` is not one of our own to write into: it is missing, a link, no folder, or
/// somebody else's.
std::string problem_with_folder(const std::string& path);

/// Lays out a server that was never started: its folders, for this user only, and its template,
/// values and build id. The parts are examined first. A server that is there already is replaced
/// only when `replace` is set, and only as a whole. Refused while a service runs, which would go on
/// with what it has read.
std::string install_server(const server_parts& parts, bool replace);

/// Puts the parts of a BIOS update into the folder where the service takes them from.
std::string place_update(const std::string& template_file, const std::string& build_id);

/// Why `build_id` can't be a build id.
std::string build_id_problem(const std::string& build_id);

}  // namespace dp_tools

#endif
