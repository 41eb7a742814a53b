#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "common/fixed_paths.hpp"
#include "service_api/server_paths.hpp"
#include "support/standard_descriptors.hpp"
#include "host/process/instance_lock.hpp"
#include "platform/posix/posix_log.hpp"
#include "platform/posix/queue_name.hpp"
#include "host/exchange/run_folder.hpp"
#include "host/process/service_log.hpp"
#include "host/service_loop.hpp"
#include "host/settings_service.hpp"
#include "host/process/stop_signal.hpp"

// dp_settingsd: keeps the values of a server's BIOS attributes and carries out batches of setting
// commands. Runs in the foreground.

namespace {

constexpr int wrong_usage = 2;

int fail(const std::string& problem) {
    std::cerr << "dp_settingsd: " << problem << std::endl;
    return EXIT_FAILURE;
}

int serve() {
    if (!dp_host::stop_signal::catch_signals()) {
        return fail("cannot catch signals");
    }
    umask(S_IRWXG | S_IRWXO);
    if (const std::string problem = dp_host::prepare_run_folder(server_paths::data_folder.str());
        !problem.empty()) {
        return fail(problem);
    }
    dp_host::instance_lock lock;
    if (const std::string problem = lock.take(server_paths::service_lock.str()); !problem.empty()) {
        return fail(problem);
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
    return EXIT_SUCCESS;
}

int run(int argc, char** argv) {
    if (!standard_descriptors::occupy()) {
        return fail("the standard descriptors cannot be opened");
    }
    CLI::App app{
        "Keeps the values of a server's BIOS attributes and carries out batches of setting "
        "commands.\nRuns in the foreground until SIGTERM or SIGINT.",
        "dp_settingsd"};
    app.set_version_flag("--version", "dp_settingsd " DP_VERSION);
    app.footer("Exchange folder: " + server_paths::exchange_folder.str() +
               "\nData folder:     " + server_paths::data_folder.str() +
               "\nEnvironment:     DP_LOG (none, stderr, file:PATH, syslog; default stderr), "
               "DP_LOG_MASK, DP_LOG_TAG, DP_QUEUE_PREFIX\n"
               "Exit codes:      0 stopped as asked, 1 failed, 2 wrong usage");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (app.exit(error) != 0) {
            return wrong_usage;
        }
        std::cout.flush();
        return std::cout ? EXIT_SUCCESS : fail("a part of the output could not be written");
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
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        // Nothing of ours throws; what is left is a lack of memory.
        std::fputs("dp_settingsd: ", stderr);
        std::fputs(error.what(), stderr);
        std::fputs("\n", stderr);
        return EXIT_FAILURE;
    }
}
