#ifndef DP_REDFISH_PROGRAM_SERVICE_OPTIONS_HPP
#define DP_REDFISH_PROGRAM_SERVICE_OPTIONS_HPP

#include <optional>
#include <string>
#include <vector>

namespace dp_redfish {

/// What the command line of dp_redfishd says.
struct service_options {
    std::string address = "127.0.0.1";
    unsigned port = 8443;
    bool is_plain = false;
    std::string certificate;
    std::string key;
    std::string state_folder;
    std::string accounts;
    std::vector<std::string> host_names;
    unsigned connections = 256;
    unsigned requests = 128;
    unsigned body_size = 4096;  // KiB
    bool allows_root = false;
    std::string added_account;
    std::string added_role;
    std::string pam_helper;
    std::string pam_service;
    std::vector<std::string> pam_administrators;
    std::vector<std::string> pam_operators;
    std::vector<std::string> pam_readers;
};

/// Reads the command line. The exit code of a process that has nothing more to do, as after
/// `--help`, or because something is wrong, which was printed.
std::optional<int> read_command_line(int argc, char** argv, service_options& chosen);

/// The names by which clients reach this server.
std::vector<std::string> host_names(const service_options& chosen);

}  // namespace dp_redfish

#endif
