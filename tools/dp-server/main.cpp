#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <utility>

#include "service_api/server_paths.hpp"
#include "service_api/settings_client.hpp"
#include "support/command_line.hpp"
#include "support/program_main.hpp"
#include "tools/dp-server/compiled_registry.hpp"
#include "tools/dp-server/kept_values.hpp"
#include "tools/dp-server/run_request.hpp"
#include "tools/dp-server/server_files.hpp"

// The operator panel of the simulated server.

namespace {

using dp_service::settings_client;
using dp_support::command_line;

// Longer than the service waits for locked files before an update.
constexpr double default_timeout = 20;
constexpr double longest_timeout = 3600;

struct options {
    dp_tools::server_parts parts;
    std::string update_template;
    std::optional<std::string> registry;
    std::string update_build_id;
    bool skip_unfit = false;
    bool replace = false;
    bool dry_run = false;
    double timeout = default_timeout;
    std::string restored_name;
    bool partial = false;
};

void add_timeout(command_line& command, options& chosen) {
    command.add_option("--timeout", chosen.timeout, "Seconds to wait for dp_settingsd's answer",
                       {.least = 0, .greatest = longest_timeout},
                       {.value_name = "SECONDS", .show_default = true});
}

constexpr const char* registry_help =
    "The template's registry; uefi_registry.json beside the template, if it\n"
    "exists, when not given";

command_line& add_install(command_line& program, options& chosen) {
    auto& command = program.add_subcommand(
        "install",
        "Set up a server that was never started, while no dp_settingsd is running: its template,\n"
        "its pending and current values, and its build id. They are compiled from a registry, or\n"
        "given as files.");
    command.add_option("--template", chosen.parts.template_file, "The BIOS's template",
                       {.value_name = "FILE"});
    command.add_option(
        "--registry", chosen.registry,
        std::string("Without --template: the registry (JSON) that dp-template compiles first.\n"
                    "With it: ") +
            registry_help,
        {.value_name = "FILE"});
    command.add_option("--settings", chosen.parts.settings_file,
                       "The pending values; required with --template", {.value_name = "FILE"});
    command.add_option("--current", chosen.parts.current_file,
                       "The current values; the pending values if not given",
                       {.value_name = "FILE"});
    command.add_option("--build-id", chosen.parts.build_id,
                       "The BIOS's build id; required with --template, otherwise the registry's\n"
                       "version if not given",
                       {.value_name = "ID", .check = dp_tools::build_id_problem});
    command.add_flag("--skip-unfit", chosen.skip_unfit,
                     "Leave out attributes of the registry that do not fit a template",
                     {.excludes = "--template"});
    command.add_flag("--replace", chosen.replace, "Replace an installed server");
    return command;
}

// Which option an installation lacks; empty if none.
std::string missing_option(const options& chosen) {
    if (chosen.parts.template_file.empty()) {
        return chosen.registry ? "" : "--registry or --template";
    }
    if (chosen.parts.settings_file.empty()) {
        return "--settings";
    }
    return chosen.parts.build_id.empty() ? "--build-id" : "";
}

command_line& add_restart(command_line& program, options& chosen) {
    auto& command =
        program.add_subcommand("restart", "Restart the server: the pending values become current.");
    add_timeout(command, chosen);
    return command;
}

void add_update(command_line& program, options& chosen) {
    auto& command =
        program.add_subcommand("update", "Update the BIOS: a new template and a new build id.");
    command.add_option("--template", chosen.update_template, "The new BIOS's template",
                       {.value_name = "FILE", .required = true});
    command.add_option("--build-id", chosen.update_build_id, "The new BIOS's build id",
                       {.value_name = "ID", .required = true, .check = dp_tools::build_id_problem});
    command.add_option("--registry", chosen.registry, registry_help, {.value_name = "FILE"});
    command.add_flag("--dry-run", chosen.dry_run,
                     "Check the template and report what would become of the values");
    add_timeout(command, chosen);
}

command_line& add_backups(command_line& program) {
    return program.add_subcommand(
        "backups",
        "List the backups of the pending and the current values, and the files of values that\n"
        "dp_settingsd found damaged at a start.");
}

command_line& add_restore(command_line& program, options& chosen) {
    auto& command = program.add_subcommand(
        "restore",
        "Restore the values of a backup or of a damaged file, while no dp_settingsd is running.\n"
        "The replaced file is kept.");
    command.add_option("NAME", chosen.restored_name, "One of the names that backups lists",
                       {.required = true});
    command.add_flag("--partial", chosen.partial,
                     "Restore what is left of a damaged file; all other values become defaults");
    return command;
}

// The content of the registry's file. Prints why one is not used.
dp_support::result<std::optional<std::string>> find_registry(
    const std::string& template_file, const std::optional<std::string>& given) {
    auto found = dp_tools::find_registry(template_file, given);
    if (!found) {
        return found.error();
    }
    if (!found->notice.empty()) {
        std::cerr << "dp-server: " << found->notice << '\n';
    }
    return std::move(found->content);
}

std::string number_of_values(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " value" : " values");
}

int list_backups() {
    for (const auto& file : dp_tools::kept_files()) {
        std::cout << file.name << ": " << number_of_values(file.count)
                  << (file.problem.empty() ? std::string() : ", damaged: " + file.problem) << '\n';
    }
    return dp_support::done_if_written("dp-server");
}

int restore(const options& chosen) {
    const auto restored = dp_tools::restore_values(chosen.restored_name, chosen.partial);
    if (!restored) {
        std::cerr << "dp-server: restore: " << restored.reason() << '\n';
        return dp_support::exit_code::failed;
    }
    std::cout << "restored " << number_of_values(*restored) << " of " << chosen.restored_name
              << "; dp_settingsd uses them at its next start\n";
    return dp_support::done_if_written("dp-server");
}

int finish(const std::string& command, const dp_support::result<>& outcome,
           const std::string& message) {
    if (!outcome) {
        std::cerr << "dp-server: " << command << ": " << outcome.reason() << '\n';
        return dp_support::exit_code::failed;
    }
    std::cout << message << '\n';
    return dp_support::done_if_written("dp-server");
}

// Prints the text of the answer after the message.
int finish(const std::string& command, const dp_support::result<std::string>& answer,
           const std::string& message) {
    if (!answer) {
        return finish(command, dp_support::result<>(answer.error()), message);
    }
    return finish(command, dp_support::result<>(),
                  answer->empty() ? message : message + '\n' + *answer);
}

int install_server(options chosen) {
    if (const auto missing = missing_option(chosen); !missing.empty()) {
        std::cerr << missing << " is required\nRun with --help for more information.\n";
        return dp_support::exit_code::wrong_usage;
    }
    const auto failed = [](const dp_support::failure& why) {
        return finish("install", dp_support::result<>(why), "");
    };
    auto& parts = chosen.parts;
    dp_tools::compiled_registry compiled;
    const bool is_compiled = parts.template_file.empty();
    if (is_compiled) {
        if (const auto outcome = compiled.compile(*chosen.registry, chosen.skip_unfit); !outcome) {
            return failed(outcome.error());
        }
        parts.template_file = compiled.template_file();
        if (parts.settings_file.empty()) {
            parts.settings_file = compiled.settings_file();
        }
        chosen.registry = std::nullopt;
    }
    if (parts.current_file.empty()) {
        parts.current_file = parts.settings_file;
    }
    auto registry = find_registry(parts.template_file, chosen.registry);
    if (!registry) {
        return failed(registry.error());
    }
    parts.registry = *std::move(registry);
    if (parts.build_id.empty()) {
        const auto version = dp_tools::build_id_of_registry(parts.registry.value_or(""));
        if (!version) {
            return failed(version.error());
        }
        parts.build_id = *version;
    }
    return finish("install", dp_tools::install_server(parts, chosen.replace),
                  "installed a server with BIOS " + parts.build_id);
}

int run(int argc, char** argv) {
    command_line program("The operator panel of the simulated server that dp_settingsd serves.");
    options chosen;
    const auto& install = add_install(program, chosen);
    const auto& restart = add_restart(program, chosen);
    add_update(program, chosen);
    const auto& backups = add_backups(program);
    const auto& restoring = add_restore(program, chosen);
    program.set_footer("The server's files are in " + dp_service::server_paths::data_folder.str() +
                       " and " + dp_service::server_paths::exchange_folder.str() +
                       ", which belong to the user\nthat runs dp_settingsd; only that user can "
                       "operate the server.\n"
                       "Exit codes: 0 done, 1 failed, 2 wrong usage.");
    if (const auto code = program.parse(argc, argv)) {
        return *code;
    }

    const std::chrono::milliseconds timeout(static_cast<std::int64_t>(chosen.timeout * 1000));
    if (install.is_selected()) {
        return install_server(std::move(chosen));
    }
    if (backups.is_selected()) {
        return list_backups();
    }
    if (restoring.is_selected()) {
        return restore(chosen);
    }
    if (restart.is_selected()) {
        return finish("restart",
                      dp_tools::run_request(&settings_client::restart, timeout,
                                            [] { return dp_support::result<>(); }),
                      "restarted: the pending values are current now");
    }
    const auto prepare = [&] {
        const auto registry = find_registry(chosen.update_template, chosen.registry);
        return registry ? dp_tools::place_update(chosen.update_template, *registry,
                                                 chosen.update_build_id)
                        : dp_support::result<>(registry.error());
    };
    if (chosen.dry_run) {
        return finish("update",
                      dp_tools::run_request(&settings_client::plan_update, timeout, prepare),
                      "an update to " + chosen.update_build_id + " would do this:");
    }
    return finish("update", dp_tools::run_request(&settings_client::update, timeout, prepare),
                  "updated the BIOS to " + chosen.update_build_id);
}

}  // namespace

int main(int argc, char** argv) {
    return dp_support::guarded_main("dp-server", run, argc, argv);
}
