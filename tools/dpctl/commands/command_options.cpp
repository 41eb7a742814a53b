#include "tools/dpctl/commands/command_options.hpp"

#include <algorithm>
#include <string_view>

#include "common/fixed_paths.hpp"
#include "service_api/server_paths.hpp"
#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

using dp_support::command_line;

constexpr unsigned longest_lock_timeout = 24 * 60 * 60;

// The library puts the names of its files into command lines. Only characters that have no special
// meaning to a shell are allowed.
std::string why_not_a_file_name(const std::string& name) {
    const auto is_safe = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view("/._-+,:=@%").find(c) != std::string_view::npos;
    };
    if (name.empty()) {
        return "the file name is empty";
    }
    if (name.front() == '-' || !std::all_of(name.begin(), name.end(), is_safe)) {
        return in_quotes(name) + " cannot be used as a file name here: only letters, digits and " +
               "/._-+,:=@% are allowed, and no - at the start";
    }
    return {};
}

}  // namespace

std::string why_not_a_path(const std::string& name) {
    return name.empty() ? "the file name is empty" : "";
}

const char* const name_help =
    "A name is COLLECTION.ATTRIBUTE or COLLECTION.ATTRIBUTE.INSTANCE. COLLECTION may be omitted\n"
    "if only one collection has such an attribute.\n";

const char* const state_help =
    "A desired state is a JSON object {\"Attributes\": {NAME: VALUE, ...}}, as \"dpctl export\"\n"
    "prints it and a Redfish service has it, or lines NAME=VALUE. Names are full or bare.\n";

const char* const pattern_help =
    "In a name, * is any text and ? is any character; the shell leaves them to dpctl in quotes.\n";

command_line& add_command(command_line& program, invocation& request, const std::string& name,
                          const command_help& help) {
    command_line& command = program.add_subcommand(name, help.summary);
    command.add_flag("--json", request.json, "Print one JSON document instead of text");
    std::string footer = help.details + "\nExamples:\n";
    for (const auto& example : help.examples) {
        footer += "  " + example + '\n';
    }
    command.set_footer(footer +
                       "\nExit codes: 0 done, 1 failed, with the reason on standard error, "
                       "2 wrong usage" +
                       (help.further_exit_codes.empty() ? "" : ", " + help.further_exit_codes) +
                       '.');
    return command;
}

void add_file_options(command_line& command, invocation& request) {
    const auto add = [&](const std::string& option, std::string& target, const std::string& text,
                         const dp::fixed_path& default_name) {
        command.add_option(option, target, text + " instead of " + default_name.str(),
                           {.value_name = "FILE", .check = why_not_a_file_name});
    };
    add("--template-file", request.files.template_file, "The template",
        dp::fixed_paths::uefi_template);
    add("--settings-file", request.files.settings, "The settings file (pending values)",
        dp::fixed_paths::uefi_settings);
    add("--current-file", request.files.current, "The current-values file",
        dp::fixed_paths::uefi_current);
    command.add_option("--registry-file", request.files.registry,
                       "The template's registry instead of " +
                           dp_service::server_paths::registry.str() +
                           ", which belongs to the server's own template only",
                       {.value_name = "FILE", .check = why_not_a_path});
    command.add_option("--lock-timeout", request.files.lock_timeout,
                       "How long to wait for a process that has one of the files locked",
                       {.least = 0, .greatest = longest_lock_timeout},
                       {.value_name = "SECONDS", .show_default = true});
}

std::shared_ptr<std::string> add_collection_argument(command_line& command) {
    auto collection = std::make_shared<std::string>();
    command.add_option("COLLECTION", *collection, "The name of the collection", {.required = true});
    return collection;
}

std::shared_ptr<std::vector<std::string>> add_name_arguments(command_line& command) {
    auto names = std::make_shared<std::vector<std::string>>();
    command.add_option("NAME", *names, "Names of settings", {.required = true});
    return names;
}

std::shared_ptr<selection_options> add_selection_options(command_line& command) {
    auto options = std::make_shared<selection_options>();
    command.add_option("NAME", options->names,
                       "Names or patterns of settings, and names of collections");
    command.add_flag("--all", options->all, "All settings", {.excludes = "NAME"});
    command.add_flag("--yes", options->is_confirmed, "Do not ask");
    return options;
}

bool is_selection_given(const selection_options& options, const std::string& command, report& rep) {
    if (options.names.empty() && !options.all) {
        rep.usage_problem(command + " needs the names of settings or collections, or --all");
        return false;
    }
    return true;
}

void add_path_option(command_line& command, std::string& target, const std::string& description,
                     const std::string& default_name) {
    command.add_option("--file", target, description + " instead of " + default_name,
                       {.value_name = "FILE", .check = why_not_a_path});
}

}  // namespace dpctl
