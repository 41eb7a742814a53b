#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "service_api/server_paths.hpp"
#include "service_api/server_request.hpp"
#include "support/command_line.hpp"
#include "support/program_main.hpp"
#include "tools/dp-server/server_files.hpp"
#include "tools/dp-server/server_request.hpp"

// The simulated server's operator panel.

namespace {

constexpr double default_timeout = 10;
constexpr double longest_timeout = 3600;

struct options {
    dp_tools::server_parts parts;
    std::string update_template;
    std::string update_build_id;
    bool replace = false;
    double timeout = default_timeout;
};

void add_timeout(CLI::App& command, options& chosen) {
    command.add_option("--timeout", chosen.timeout, "Seconds to wait for dp_settingsd's answer")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, longest_timeout))
        // The range lets it through.
        ->check([](const std::string& text) {
            return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + " is not a number"
                                                                  : std::string();
        })
        ->capture_default_str();
}

CLI::App* add_install(CLI::App& app, options& chosen) {
    auto* const command = app.add_subcommand(
        "install",
        "Lay out a server that was never started, while no dp_settingsd runs: its template, its\n"
        "pending and current values, and its build id.");
    command->add_option("--template", chosen.parts.template_file, "The BIOS's template")
        ->type_name("FILE")
        ->required();
    command->add_option("--settings", chosen.parts.settings_file, "The pending values")
        ->type_name("FILE")
        ->required();
    command
        ->add_option("--current", chosen.parts.current_file,
                     "The values in force; the pending ones if not given")
        ->type_name("FILE");
    command->add_option("--build-id", chosen.parts.build_id, "The BIOS's build id")
        ->type_name("ID")
        ->required()
        ->check(dp_tools::build_id_problem);
    command->add_flag("--replace", chosen.replace, "Replace a server that is installed already");
    return command;
}

CLI::App* add_restart(CLI::App& app, options& chosen) {
    auto* const command =
        app.add_subcommand("restart", "Restart the server: the pending values become current.");
    add_timeout(*command, chosen);
    return command;
}

CLI::App* add_update(CLI::App& app, options& chosen) {
    auto* const command =
        app.add_subcommand("update", "Update the BIOS: a new template and a new build id.");
    command->add_option("--template", chosen.update_template, "The new BIOS's template")
        ->type_name("FILE")
        ->required();
    command->add_option("--build-id", chosen.update_build_id, "The new BIOS's build id")
        ->type_name("ID")
        ->required()
        ->check(dp_tools::build_id_problem);
    add_timeout(*command, chosen);
    return command;
}

int finish(const std::string& command, const std::string& problem, const std::string& done) {
    if (!problem.empty()) {
        std::cerr << "dp-server: " << command << ": " << problem << '\n';
        return dp_support::exit_code::failed;
    }
    std::cout << done << '\n';
    return dp_support::done_if_written("dp-server");
}

int run(int argc, char** argv) {
    CLI::App app{"The operator panel of the simulated server that dp_settingsd serves."};
    options chosen;
    app.require_subcommand(1);
    const auto* const install = add_install(app, chosen);
    const auto* const restart = add_restart(app, chosen);
    add_update(app, chosen);
    app.footer("The server's files lie in " + dp_service::server_paths::data_folder.str() +
               " and " + dp_service::server_paths::exchange_folder.str() +
               ", which belong to the user\nwho runs dp_settingsd; only that user can operate the "
               "server.\n"
               "Exit codes: 0 done, 1 failed, 2 wrong usage.");
    if (const auto code = dp_support::parse_command_line(app, argc, argv)) {
        return *code;
    }

    const std::chrono::milliseconds timeout(static_cast<std::int64_t>(chosen.timeout * 1000));
    if (install->parsed()) {
        if (chosen.parts.current_file.empty()) {
            chosen.parts.current_file = chosen.parts.settings_file;
        }
        return finish("install", dp_tools::install_server(chosen.parts, chosen.replace),
                      "installed a server with BIOS " + chosen.parts.build_id);
    }
    if (restart->parsed()) {
        return finish("restart",
                      dp_tools::run_request(dp_service::server_request::restart, timeout,
                                            [] { return std::string(); }),
                      "restarted: pending values are current now");
    }
    const auto place = [&] {
        return dp_tools::place_update(chosen.update_template, chosen.update_build_id);
    };
    return finish("update",
                  dp_tools::run_request(dp_service::server_request::update, timeout, place),
                  "updated the BIOS to " + chosen.update_build_id);
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dp-server", run, argc, argv);
}
