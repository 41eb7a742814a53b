#include <sys/stat.h>

#include <iostream>
#include <string>

#include "common/fixed_paths.hpp"
#include "host/exchange/run_folder.hpp"
#include "host/process/service_log.hpp"
#include "host/process/single_instance.hpp"
#include "host/process/stop_signal.hpp"
#include "host/service_loop.hpp"
#include "host/settings_service.hpp"
#include "platform/posix/posix_log.hpp"
#include "platform/posix/queue_name.hpp"
#include "service_api/server_paths.hpp"
#include "support/command_line.hpp"
#include "support/program_main.hpp"

// dp_settingsd: keeps the values of a server's BIOS attributes and carries out batches of setting
// commands. Runs in the foreground.

namespace {

int fail(const std::string& problem) {
    std::cerr << "dp_settingsd: " << problem << std::endl;
    return dp_support::exit_code::failed;
}

int serve() {
    if (!dp_host::stop_signal::catch_signals()) {
        return fail("cannot catch signals");
    }
    umask(S_IRWXG | S_IRWXO);
    if (const std::string problem =
            dp_host::prepare_run_folder(dp_service::server_paths::data_folder.str());
        !problem.empty()) {
        return fail(problem);
    }
    dp_service::service_lock lock;
    if (const auto locked =
            dp_host::ensure_single_instance(lock, dp_service::server_paths::service_lock.str());
        !locked) {
        return fail(locked.reason());
    }
    dp_host::settings_service service;
    dp_host::service_loop loop(service);
    std::string problem = loop.begin();
    if (problem.empty()) {
        problem = service.start();
    }
    if (!problem.empty()) {
        return fail(problem);
    }
    loop.recover();
    // Whoever started the service waits for this line.
    std::cout << "dp_settingsd: ready" << std::endl;
    problem = loop.run();
    if (!problem.empty()) {
        return fail(problem);
    }
    dp_host::log_line("stopped");
    return dp_support::exit_code::done;
}

int run(int argc, char** argv) {
    dp_support::command_line program(
        "Keeps the values of a server's BIOS attributes and carries out batches of setting "
        "commands.\nRuns in the foreground until SIGTERM or SIGINT.",
        "dp_settingsd");
    program.add_version("dp_settingsd " DP_VERSION);
    program.set_footer("Exchange folder: " + dp_service::server_paths::exchange_folder.str() +
                       "\nData folder:     " + dp_service::server_paths::data_folder.str() +
                       "\nEnvironment:     DP_LOG (none, stderr, file:PATH, syslog; default "
                       "stderr), DP_LOG_MASK, DP_LOG_TAG, DP_QUEUE_PREFIX\n"
                       "Exit codes:      0 stopped as asked, 1 failed, 2 wrong usage");
    if (const auto code = program.parse(argc, argv)) {
        return *code;
    }
    dp_platform::log_defaults log;
    log.sink = "stderr";
    if (!dp_platform::configure_log(log)) {
        return fail("the log cannot be opened");
    }
    if (const std::string problem = dp_platform::problem_with_queue_prefix(); !problem.empty()) {
        return fail(problem);
    }
    return serve();
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dp_settingsd", run, argc, argv);
}
