#include <grp.h>
#include <sys/stat.h>

#include <cerrno>
#include <iostream>
#include <optional>
#include <string>

#include "host/process/private_folder.hpp"
#include "host/process/service_log.hpp"
#include "host/process/single_instance.hpp"
#include "host/process/stop_signal.hpp"
#include "host/service_loop.hpp"
#include "host/settings_service.hpp"
#include "platform/posix/posix_log.hpp"
#include "platform/posix/queue_name.hpp"
#include "service_api/server_paths.hpp"
#include "service_api/service_lock.hpp"
#include "support/command_line.hpp"
#include "support/program_main.hpp"

// dp_settingsd: keeps the values of a server's BIOS attributes and executes batches of setting
// commands. Runs in the foreground.

namespace {

namespace server_paths = dp_service::server_paths;
using dp_support::exit_code::done;
using dp_support::exit_code::failed;

int fail(const std::string& problem) {
    std::cerr << "dp_settingsd: " << problem << std::endl;
    return failed;
}

// The group with this name; nothing when no name is given.
dp_support::result<std::optional<gid_t>> find_group(const std::string& name) {
    if (name.empty()) {
        return std::optional<gid_t>();
    }
    errno = 0;
    const group* const found = getgrnam(name.c_str());
    if (found == nullptr) {
        return dp_support::failure{"there is no group '" + name + "'", errno};
    }
    return std::optional<gid_t>(found->gr_gid);
}

// Who may do what beside the user who runs the service and root.
struct groups {
    std::string senders;  // of requests
    std::string readers;
};

int serve(const groups& names) {
    if (!dp_host::stop_signal::install()) {
        return fail("cannot install signal handlers");
    }
    const auto senders = find_group(names.senders);
    const auto readers = find_group(names.readers);
    if (!senders || !readers) {
        return fail(senders ? readers.reason() : senders.reason());
    }
    umask(*readers ? S_IWGRP | S_IXGRP | S_IRWXO : S_IRWXG | S_IRWXO);
    dp_service::service_lock lock;
    dp_host::settings_service service(*readers);
    dp_host::service_loop loop(service, *senders);
    const auto started =
        dp_host::prepare_private_folder(server_paths::data_folder.str(), *readers)
            .and_then([&] {
                return dp_host::ensure_single_instance(lock, server_paths::service_lock.str());
            })
            .and_then([&] { return loop.begin(); })
            .and_then([&] { return service.start(); });
    if (!started) {
        return dp_host::stop_signal::received() ? done : fail(started.reason());
    }
    loop.recover();
    // Programs that start the service wait for this line.
    std::cout << "dp_settingsd: ready" << std::endl;
    if (const auto ended = loop.run(); !ended) {
        return fail(ended.reason());
    }
    dp_host::log_line("stopped");
    return done;
}

int run(int argc, char** argv) {
    dp_support::command_line program(
        "Keeps the values of a server's BIOS attributes and executes batches of setting commands.\n"
        "Runs in the foreground until SIGTERM or SIGINT.",
        "dp_settingsd");
    program.add_version("dp_settingsd " DP_VERSION);
    groups names;
    program.add_option(
        "--group", names.senders,
        "A group whose members may send requests, beside root and the user that runs "
        "this",
        {.value_name = "NAME"});
    program.add_option("--read-group", names.readers,
                       "A group whose members may read the settings, their history and the status",
                       {.value_name = "NAME"});
    program.set_footer("Request socket:  " + server_paths::request_socket.str() +
                       "\nExchange folder: " + server_paths::exchange_folder.str() +
                       "\nData folder:     " + server_paths::data_folder.str() +
                       "\nEnvironment:     DP_LOG (none, stderr, file:PATH, syslog; default "
                       "stderr), DP_LOG_MASK, DP_LOG_TAG, DP_QUEUE_PREFIX\n"
                       "Exit codes:      0 stopped by a signal, 1 failed, 2 wrong usage");
    if (const auto code = program.parse(argc, argv)) {
        return *code;
    }
    dp_platform::log_defaults log;
    log.sink = "stderr";
    if (!dp_platform::configure_log(log)) {
        return fail("cannot open the log");
    }
    if (const std::string problem = dp_platform::problem_with_queue_prefix(); !problem.empty()) {
        return fail(problem);
    }
    return serve(names);
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dp_settingsd", run, argc, argv);
}
