#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "common/fixed_paths.hpp"
#include "platform/posix/posix_log.hpp"
#include "platform/sysipc/application_log.hpp"
#include "redfish/access/access_environment.hpp"
#include "redfish/access/add_account.hpp"
#include "redfish/access/first_account.hpp"
#include "redfish/access/pam_accounts.hpp"
#include "redfish/access/password_access_control.hpp"
#include "redfish/access/role_names.hpp"
#include "redfish/events/event_service.hpp"
#include "redfish/http/http_server.hpp"
#include "redfish/http/tls_certificate.hpp"
#include "redfish/model/server_model.hpp"
#include "redfish/model/watched_files.hpp"
#include "redfish/protocol/gateway.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/route_table.hpp"
#include "redfish/resources/account_routes.hpp"
#include "redfish/resources/all_resources.hpp"
#include "redfish/resources/event_resources.hpp"
#include "redfish/resources/session_routes.hpp"
#include "support/command_line.hpp"
#include "support/json.hpp"
#include "support/program_main.hpp"
#include "support/read_file.hpp"
#include "support/staged_file.hpp"

// dp_redfishd: shows a server's BIOS settings as a Redfish service. Runs in the foreground.

namespace {

using dp_redfish::tls_certificate;
using dp_support::failure;
using dp_support::result;
using dp_support::exit_code::done;
using dp_support::exit_code::failed;
namespace log_level = sysipc::event_log::log_level;

constexpr dp::fixed_path default_state_folder{"/var/lib/dp_redfish"};
// How often a certificate of its own is looked at.
constexpr std::time_t renewal_check_seconds = 43'200;
// After a signal, until SIGALRM ends a process that cannot.
constexpr unsigned patience_seconds = 60;

struct settings {
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

int fail(const std::string& problem) {
    std::cerr << "dp_redfishd: " << problem << std::endl;
    return failed;
}

// Appends a line to the process's log, from any thread.
void append_to_log(std::uint32_t level, const char* tag, const std::string& line) {
    auto* const streams = sysipc::application_log::app_streams;
    if (streams != nullptr && (streams->mask() & level) != 0) {
        streams->append(tag, " " + line);
    }
}

void log_line(const std::string& line) {
    append_to_log(log_level::log, "LOG", line);
}

void log_error(const std::string& line) {
    append_to_log(log_level::error, "ERR", "***ERROR*** " + line);
}

void log_request(const std::string& line) {
    append_to_log(log_level::trace_1, "DBG", line);
}

bool is_host_name(const std::string& name) {
    return !name.empty() && name.find_first_not_of(
                                "abcdefghijklmnopqrstuvwxyz"
                                "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                "0123456789.-_:") == std::string::npos;
}

// The names by which clients reach this server.
std::vector<std::string> host_names(const settings& chosen) {
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

// Makes the folder for this user alone, or checks that it is so.
result<> prepare_state_folder(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (mkdir(path.c_str(), S_IRWXU) == 0) {
        return {};
    }
    const int why = errno;
    struct stat found {};
    if (why != EEXIST || stat(path.c_str(), &found) != 0) {
        return dp_support::system_failure("create", path, why);
    }
    if (!S_ISDIR(found.st_mode) || found.st_uid != geteuid() ||
        (found.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return failure{path + " is not a folder which only this user can change"};
    }
    return {};
}

// The identifier of this service, made at the first start.
result<std::string> service_uuid(const std::string& state_folder) {
    constexpr std::size_t size = 36;
    const std::string path = state_folder + "/uuid";
    const auto kept = dp_support::read_file(path, size + 1);
    if (kept && kept->size() == size + 1) {
        return kept->substr(0, size);
    }
    if (!kept && kept.code() != ENOENT) {
        return kept.error();
    }
    auto digits =
        dp_redfish::random_digits(dp_redfish::access_environment::of_system(), size / 2 - 2);
    if (!digits) {
        return digits;
    }
    // A random one, of version 4 and variant 1.
    (*digits)[12] = '4';
    (*digits)[16] = 'a';
    for (const std::size_t place : {8U, 13U, 18U, 23U}) {
        digits->insert(place, "-");
    }
    const auto written = dp_support::write_private_file(path, *digits + '\n');
    return written ? digits : result<std::string>(written.error());
}

// The signals that `wait_for_end` takes, for this thread and those that it starts.
sigset_t block_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(number, SIG_DFL);
        sigaddset(&signals, number);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // Writing fails then, which is handled.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    return signals;
}

class certificate_source {
  public:
    explicit certificate_source(const settings& chosen)
        : certificate_(chosen.certificate),
          key_(chosen.key),
          names_(host_names(chosen)),
          is_own_(certificate_.empty()) {
        if (is_own_) {
            certificate_ = chosen.state_folder + "/certificate.pem";
        }
        if (key_.empty()) {
            key_ = certificate_;
        }
    }

    // One that was not given is made when there is none, or when it expires soon.
    [[nodiscard]] result<std::shared_ptr<const tls_certificate>> load() const {
        const std::time_t now = std::time(nullptr);
        auto loaded = is_own_ ? tls_certificate::load_or_make(certificate_, names_, now)
                              : tls_certificate::load(certificate_, key_);
        if (loaded && (*loaded)->expiry() <= now) {
            log_error("the certificate in " + certificate_ + " has expired");
        }
        return loaded;
    }

    [[nodiscard]] bool is_own() const { return is_own_; }
    [[nodiscard]] const std::string& path() const { return certificate_; }

  private:
    std::string certificate_;
    std::string key_;
    std::vector<std::string> names_;
    bool is_own_;
};

void reload_certificate(const certificate_source& source, dp_redfish::http_server& server) {
    const auto loaded = source.load();
    const auto used = loaded ? server.use_certificate(**loaded) : result<>(loaded.error());
    if (used) {
        log_line("uses the certificate in " + source.path());
    } else {
        log_error("keeps its certificate: " + used.reason());
    }
}

// Returns when the process is to end. SIGHUP reads the certificate again.
void wait_for_end(const sigset_t& signals, const settings& chosen, const certificate_source& source,
                  dp_redfish::http_server& server) {
    for (;;) {
        const timespec time{renewal_check_seconds, 0};
        const int signal = sigtimedwait(&signals, nullptr, &time);
        if (signal == SIGTERM || signal == SIGINT) {
            return;
        }
        const bool is_time_over = signal < 0 && errno == EAGAIN;
        if (!chosen.is_plain && (signal == SIGHUP || (is_time_over && source.is_own()))) {
            reload_certificate(source, server);
        }
    }
}

std::string error_text(unsigned status, const std::string& reason) {
    dp_redfish::message text{"GeneralError"};
    if (status == 503) {
        text = {"ServiceTemporarilyUnavailable", {"1"}};
    } else if (status >= 500) {
        text = {"InternalError"};
    }
    text.reason = reason;
    return dp_support::to_text(dp_redfish::error_answer(status, {text}).body,
                               dp_support::json_layout::one_line);
}

// The users of the operating system who may log in; null: none.
std::shared_ptr<dp_redfish::external_accounts> external_accounts_of(const settings& chosen) {
    using dp_redfish::roles;
    if (chosen.pam_helper.empty()) {
        return nullptr;
    }
    dp_redfish::pam_accounts::options options;
    options.helper = chosen.pam_helper;
    options.service = chosen.pam_service;
    const std::array<std::pair<const std::vector<std::string>&, roles>, 3> groups{
        {{chosen.pam_administrators, roles::administrator},
         {chosen.pam_operators, roles::operator_role},
         {chosen.pam_readers, roles::read_only}}};
    for (const auto& [names, role] : groups) {
        for (const std::string& name : names) {
            options.groups.emplace_back(name, role);
        }
    }
    return std::make_shared<dp_redfish::pam_accounts>(std::move(options));
}

// Adds an account to the file of accounts, and is all that the process then does.
int add_account(const settings& chosen) {
    struct stat folder {};
    // Root may do this for the user of the service, whose folder it is.
    if (stat(chosen.state_folder.c_str(), &folder) != 0) {
        if (const auto prepared = prepare_state_folder(chosen.state_folder); !prepared) {
            return fail(prepared.reason());
        }
    }
    const auto role = dp_redfish::find_role(chosen.added_role);
    const auto password = dp_redfish::read_new_password(STDIN_FILENO, STDERR_FILENO);
    if (!role || !password) {
        return fail(role ? password.reason() : "there is no role '" + chosen.added_role + "'");
    }
    const auto added =
        dp_redfish::add_account(chosen.accounts, chosen.added_account, *role, *password,
                                dp_redfish::access_environment::of_system());
    return added ? done : fail(added.reason());
}

result<std::unique_ptr<dp_redfish::password_access_control>> start_access(const settings& chosen) {
    const auto environment = dp_redfish::access_environment::of_system();
    const auto is_new = dp_redfish::make_first_account(chosen.accounts, environment);
    if (!is_new) {
        return is_new.error();
    }
    if (*is_new) {
        std::cerr << "dp_redfishd: made the account '" << dp_redfish::first_account_name
                  << "'; its password is in " << dp_redfish::first_password_path(chosen.accounts)
                  << std::endl;
    }
    dp_redfish::password_access_control::options options;
    options.accounts_path = chosen.accounts;
    options.log = log_line;
    options.environment = environment;
    options.external = external_accounts_of(chosen);
    return dp_redfish::password_access_control::start(options);
}

dp_redfish::http_options server_options(const settings& chosen) {
    dp_redfish::http_options options;
    options.address = chosen.address;
    options.port = static_cast<std::uint16_t>(chosen.port);
    options.host_names = host_names(chosen);
    options.limits.connections = chosen.connections;
    options.limits.requests = chosen.requests;
    options.limits.body = std::size_t{chosen.body_size} * 1024;
    options.error_text = error_text;
    options.log = log_request;
    return options;
}

dp_redfish::event_service::options event_options(dp_redfish::password_access_control& access,
                                                 dp_redfish::server_model& model) {
    dp_redfish::event_service::options options;
    options.admission_of = [&access](const dp_redfish::identity& client) {
        return access.admission_of(client);
    };
    options.refresh = [&model] { model.read([](const dp_redfish::snapshot_pointer&) {}); };
    options.has_settings_service = dp_redfish::server_model::has_settings_service;
    if (auto digits = dp_redfish::random_digits(dp_redfish::access_environment::of_system(), 4)) {
        options.origin = *std::move(digits);
    }
    return options;
}

int serve(const settings& chosen) {
    if (geteuid() == 0 && !chosen.allows_root) {
        return fail(
            "does not run as root, because it talks to the network; run it as a user who can read "
            "the settings (see --read-group of dp_settingsd), or add --allow-root");
    }
    const sigset_t signals = block_signals();
    if (const auto prepared = prepare_state_folder(chosen.state_folder); !prepared) {
        return fail(prepared.reason());
    }
    const certificate_source source(chosen);
    auto options = server_options(chosen);
    if (!chosen.is_plain) {
        auto certificate = source.load();
        if (!certificate) {
            return fail(certificate.reason());
        }
        options.certificate = *std::move(certificate);
    }
    const auto uuid = service_uuid(chosen.state_folder);
    if (!uuid) {
        return fail(uuid.reason());
    }
    const auto access = start_access(chosen);
    if (!access) {
        return fail(access.reason());
    }
    dp_redfish::server_model model;
    dp_redfish::event_service events(event_options(**access, model));
    model.set_observer([&events](const dp_redfish::snapshot_pointer& now) { events.observe(now); });
    dp_redfish::route_table routes;
    dp_redfish::add_server_routes(routes, model, {.version = DP_VERSION, .uuid = *uuid});
    dp_redfish::add_event_routes(routes, model, events);
    dp_redfish::add_session_routes(routes, **access);
    dp_redfish::add_account_routes(routes, **access);
    dp_redfish::gateway gateway(routes, **access);
    dp_redfish::http_server server(std::move(options), gateway);
    if (const auto started = server.start(); !started) {
        return fail(started.reason());
    }
    const bool is_ipv6 = chosen.address.find(':') != std::string::npos;
    // It serves nevertheless: dp_settingsd may give it the rights later.
    if (const auto rights = dp_redfish::check_rights_to_read(); !rights) {
        log_error(rights.reason() +
                  "; its user is neither that of dp_settingsd nor in its --read-group");
    }
    // Programs that start the service wait for this line.
    std::cout << "dp_redfishd: ready " << (chosen.is_plain ? "http" : "https") << "://"
              << (is_ipv6 ? "[" + chosen.address + "]" : chosen.address) << ":" << server.port()
              << std::endl;
    wait_for_end(signals, chosen, source, server);
    alarm(patience_seconds);
    server.stop();
    // Requests that it no longer waits for use the routes.
    model.stop();
    events.stop();
    (*access)->stop();
    log_line("stopped");
    return done;
}

std::string problem_with_host_name(const std::string& name) {
    return is_host_name(name) ? "" : "is not a host name or an IP address";
}

int run(int argc, char** argv) {
    dp_support::command_line program(
        "Shows and changes the BIOS settings of a server as a Redfish service.\n"
        "Runs in the foreground until SIGTERM or SIGINT. SIGHUP reads the certificate again.",
        "dp_redfishd");
    program.add_version("dp_redfishd " DP_VERSION);
    settings chosen;
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
        return *code;
    }
    if (chosen.certificate.empty() && !chosen.key.empty()) {
        fail("--key needs --certificate");
        return dp_support::exit_code::wrong_usage;
    }
    if (chosen.added_account.empty() != chosen.added_role.empty()) {
        fail("--add-account and --role belong together");
        return dp_support::exit_code::wrong_usage;
    }
    umask(S_IRWXG | S_IRWXO);
    if (chosen.accounts.empty()) {
        chosen.accounts = chosen.state_folder + "/accounts.json";
    }
    if (!chosen.added_account.empty()) {
        return add_account(chosen);
    }
    dp_platform::log_defaults log;
    log.sink = "stderr";
    if (!dp_platform::configure_log(log)) {
        return fail("cannot open the log");
    }
    return serve(chosen);
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dp_redfishd", run, argc, argv);
}
