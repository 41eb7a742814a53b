#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/posix/posix_log.hpp"
#include "platform/sysipc/application_log.hpp"
#include "redfish/access/access_environment.hpp"
#include "redfish/access/add_account.hpp"
#include "redfish/access/first_account.hpp"
#include "redfish/access/pam_accounts.hpp"
#include "redfish/access/password_access_control.hpp"
#include "redfish/access/role_names.hpp"
#include "redfish/events/event_service.hpp"
#include "redfish/events/service_event.hpp"
#include "redfish/http/http_server.hpp"
#include "redfish/model/server_model.hpp"
#include "redfish/model/watched_files.hpp"
#include "redfish/page/page_routes.hpp"
#include "redfish/program/certificate_source.hpp"
#include "redfish/program/service_options.hpp"
#include "redfish/program/state_folder.hpp"
#include "redfish/protocol/gateway.hpp"
#include "redfish/protocol/route_table.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/account_routes.hpp"
#include "redfish/resources/all_resources.hpp"
#include "redfish/resources/event_resources.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/session_routes.hpp"
#include "redfish/resources/task_resources.hpp"
#include "redfish/resources/task_store.hpp"
#include "support/folder_of.hpp"
#include "support/process_log.hpp"
#include "support/program_main.hpp"

// dp_redfishd: shows a server's BIOS settings as a Redfish service. Runs in the foreground.

namespace {

using dp_redfish::certificate_source;
using dp_redfish::prepare_state_folder;
using dp_redfish::service_options;
using dp_support::log_error;
using dp_support::log_line;
using dp_support::result;
using dp_support::exit_code::done;
using dp_support::exit_code::failed;

// How often a certificate of its own is looked at.
constexpr std::time_t renewal_check_seconds = 43'200;
// After a signal, until SIGALRM ends a process that cannot.
constexpr unsigned patience_seconds = 60;

void log_request(const std::string& line) {
    dp_support::append_to_log(sysipc::event_log::log_level::trace_1, "DBG", line);
}

int fail(const std::string& problem) {
    std::cerr << "dp_redfishd: " << problem << std::endl;
    return failed;
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
void wait_for_end(const sigset_t& signals, const service_options& chosen,
                  const certificate_source& source, dp_redfish::http_server& server) {
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

// The users of the operating system who may log in; null: none.
std::shared_ptr<dp_redfish::external_accounts> external_accounts_of(const service_options& chosen) {
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
int add_account(const service_options& chosen) {
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

result<std::unique_ptr<dp_redfish::password_access_control>> start_access(
    const service_options& chosen) {
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

dp_redfish::http_options server_options(const service_options& chosen) {
    dp_redfish::http_options options;
    options.address = chosen.address;
    options.port = static_cast<std::uint16_t>(chosen.port);
    options.host_names = dp_redfish::host_names(chosen);
    options.limits.connections = chosen.connections;
    options.limits.requests = chosen.requests;
    options.limits.body = std::size_t{chosen.body_size} * 1024;
    options.error_text = dp_redfish::refusal_text;
    options.log = log_request;
    return options;
}

dp_redfish::event_service::options event_options(dp_redfish::password_access_control& access) {
    dp_redfish::event_service::options options;
    options.admission_of = [&access](const dp_redfish::identity& client) {
        return access.admission_of(client);
    };
    options.has_settings_service = dp_redfish::server_model::has_settings_service;
    if (auto digits = dp_redfish::random_digits(dp_redfish::access_environment::of_system(), 4)) {
        options.origin = *std::move(digits);
    }
    return options;
}

// Tasks are reported as events.
dp_redfish::task_store::options task_options(dp_redfish::event_service& events) {
    dp_redfish::task_store::options options;
    options.report = [&events](const char* message, const dp_redfish::deferred_task& task) {
        events.publish(dp_redfish::make_event("TaskEvent", message, {std::to_string(task.id)},
                                              dp_redfish::task_path(task), "Task",
                                              dp_redfish::time_now_text()));
    };
    return options;
}

int serve(const service_options& chosen) {
    if (geteuid() == 0 && !chosen.allows_root) {
        return fail(
            "does not run as root, because it talks to the network; run it as a user who can read "
            "the settings (see --read-group of dp_settingsd), or add --allow-root");
    }
    const sigset_t signals = block_signals();
    if (const auto prepared = prepare_state_folder(chosen.state_folder); !prepared) {
        return fail(prepared.reason());
    }
    for (const std::string& folder :
         {chosen.state_folder, dp_support::folder_of(chosen.accounts)}) {
        dp_redfish::remove_left_files(folder);
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
    const auto uuid = dp_redfish::service_uuid(chosen.state_folder);
    if (!uuid) {
        return fail(uuid.reason());
    }
    const auto access = start_access(chosen);
    if (!access) {
        return fail(access.reason());
    }
    dp_redfish::event_service events(event_options(**access));
    dp_redfish::task_store tasks(task_options(events));
    dp_redfish::server_model model({.watches_files = true, .log = log_line});
    model.set_observer([&events](const dp_redfish::snapshot_pointer& now) { events.observe(now); });
    dp_redfish::route_table routes;
    dp_redfish::add_server_routes(routes, model, {.version = DP_VERSION, .uuid = *uuid});
    dp_redfish::add_event_routes(routes, model, events);
    dp_redfish::add_task_routes(routes, tasks);
    dp_redfish::add_session_routes(routes, **access);
    dp_redfish::add_account_routes(routes, **access);
    dp_redfish::add_page_routes(routes);
    dp_redfish::gateway gateway(routes, **access, &tasks);
    dp_redfish::http_server server(std::move(options), gateway);
    if (const auto started = server.start(); !started) {
        return fail(started.reason());
    }
    // The first client does not wait for it.
    model.read([](const dp_redfish::snapshot_pointer&) {});
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
    events.stop();
    if (model.is_blocked()) {
        // The library waits for as long as another process has a file locked.
        log_line("stopped while a file of the server is locked");
        std::_Exit(done);
    }
    // Requests that it no longer waits for use the routes.
    model.stop();
    (*access)->stop();
    log_line("stopped");
    return done;
}

int run(int argc, char** argv) {
    dp_redfish::service_options chosen;
    if (const auto code = dp_redfish::read_command_line(argc, argv, chosen)) {
        return *code;
    }
    umask(S_IRWXG | S_IRWXO);
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
