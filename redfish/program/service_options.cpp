#include "redfish/program/service_options.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <iostream>

#include "common/fixed_paths.hpp"
#include "support/command_line.hpp"
#include "support/program_main.hpp"

namespace dp_redfish {
namespace {

constexpr dp::fixed_path default_state_folder{"/var/lib/dp_redfish"};

bool is_host_name(const std::string& name) {
    return !name.empty() && name.find_first_not_of(
                                "abcdefghijklmnopqrstuvwxyz"
                                "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                "0123456789.-_:") == std::string::npos;
}

std::string problem_with_host_name(const std::string& name) {
    return is_host_name(name) ? "" : "is not a host name or an IP address";
}

int report_wrong_usage(const char* problem) {
    std::cerr << "dp_redfishd: " << problem << std::endl;
    return dp_support::exit_code::wrong_usage;
}

}  // namespace

std::vector<std::string> host_names(const service_options& chosen) {
    std::vector<std::string> names = chosen.host_names;
    std::array<char, HOST_NAME_MAX + 1> own{};
    if (gethostname(own.data(), own.size() - 1) == 0 && is_host_name(own.data())) {
        names.emplace_back(own.data());
    }
    for (const char* const always : {"localhost", "127.0.0.1", "::1"}) {
        names.emplace_back(always);
    }
    if (chosen.address != "0.0.0.0" && chosen.address != "::" &&
        std::find(names.begin(), names.end(), chosen.address) == names.end()) {
        names.push_back(chosen.address);
    }
    return names;
}

std::optional<int> read_command_line(int argc, char** argv, service_options& chosen) {
    dp_support::command_line program(
        "Shows and changes the BIOS settings of a server as a Redfish service.\n"
        "Runs in the foreground until SIGTERM or SIGINT. SIGHUP reads the certificate again.",
        "dp_redfishd");
    program.add_version("dp_redfishd " DP_VERSION);
    chosen.state_folder = default_state_folder.str();
    program.add_option("--address", chosen.address, "The IP address to listen on",
                       {.value_name = "ADDRESS", .show_default = true});
    program.add_option("--port", chosen.port, "The port to listen on; 0: any free one",
                       {0, UINT16_MAX}, {.value_name = "PORT", .show_default = true});
    program.add_flag("--http", chosen.is_plain, "Without TLS; on loopback addresses only");
    program.add_option("--certificate", chosen.certificate,
                       "The server's certificate and those of its issuers, as PEM; without it, one "
                       "is made in the state folder",
                       {.value_name = "FILE", .excludes = "--http"});
    program.add_option("--key", chosen.key,
                       "The certificate's private key, as PEM; if it is not in the same file",
                       {.value_name = "FILE", .excludes = "--http"});
    program.add_option("--host-name", chosen.host_names,
                       "Another name or address by which clients reach this server; may be given "
                       "several times",
                       {.value_name = "NAME", .check = problem_with_host_name});
    program.add_option("--state-folder", chosen.state_folder,
                       "The folder for the accounts and the certificate",
                       {.value_name = "FOLDER", .show_default = true});
    program.add_option("--accounts", chosen.accounts,
                       "The file of accounts; default accounts.json in the state folder",
                       {.value_name = "FILE"});
    program.add_option("--connections", chosen.connections, "Most connections at a time",
                       {1, 65535}, {.value_name = "NUMBER", .show_default = true});
    program.add_option("--requests", chosen.requests, "Most requests that are executed at a time",
                       {1, 65535}, {.value_name = "NUMBER", .show_default = true});
    program.add_option("--body-size", chosen.body_size, "Largest body of a request, in KiB",
                       {1, 1048576}, {.value_name = "NUMBER", .show_default = true});
    program.add_flag("--allow-root", chosen.allows_root,
                     "Run as root too, as for a try on a workstation");
    program.add_option("--add-account", chosen.added_account,
                       "Add an account to the file of accounts, or give it another password and "
                       "role, and end. The password is asked for, or read from standard input",
                       {.value_name = "NAME"});
    program.add_option(
        "--role", chosen.added_role, "The role of that account",
        {.value_name = "ROLE", .choices = {"Administrator", "Operator", "ReadOnly"}});
    program.add_option("--pam-helper", chosen.pam_helper,
                       "Let users of the operating system log in: dp_redfish_auth, or the socket "
                       "of another process that starts it",
                       {.value_name = "FILE"});
    program.add_option("--pam-service", chosen.pam_service,
                       "The service whose rules PAM applies; for a helper that is not a socket",
                       {.value_name = "NAME"});
    program.add_option("--pam-administrators", chosen.pam_administrators,
                       "The group whose members have the role Administrator; may be given several "
                       "times",
                       {.value_name = "GROUP"});
    program.add_option("--pam-operators", chosen.pam_operators, "The same for the role Operator",
                       {.value_name = "GROUP"});
    program.add_option("--pam-readers", chosen.pam_readers, "The same for the role ReadOnly",
                       {.value_name = "GROUP"});
    program.set_footer(
        "The first start makes the account 'admin', whose password is then in a file of the state\n"
        "folder; the file's name is printed.\n"
        "Environment:     DP_LOG (none, stderr, file:PATH, syslog; default stderr), DP_LOG_MASK\n"
        "                 (0x90000001 has a line for each request), DP_LOG_TAG\n"
        "Exit codes:      0 stopped by a signal, 1 failed, 2 wrong usage");
    if (const auto code = program.parse(argc, argv)) {
        return code;
    }
    if (chosen.certificate.empty() && !chosen.key.empty()) {
        return report_wrong_usage("--key needs --certificate");
    }
    if (chosen.added_account.empty() != chosen.added_role.empty()) {
        return report_wrong_usage("--add-account and --role belong together");
    }
    if (chosen.accounts.empty()) {
        chosen.accounts = chosen.state_folder + "/accounts.json";
    }
    return std::nullopt;
}

}  // namespace dp_redfish
