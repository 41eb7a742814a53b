#include "tools/dpctl/commands/command_options.hpp"

#include <algorithm>
#include <string_view>

#include "common/fixed_paths.hpp"
#include "tools/dpctl/output/text.hpp"

namespace dpctl {
namespace {

// The library puts the names of its files into command lines, so nothing that a shell could take
// for anything but a letter of a name may be in them.
std::string why_not_a_file_name(const std::string& name) {
    const auto is_safe = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view("/._-+,:=@%").find(c) != std::string_view::npos;
    };
    if (name.empty()) {
        return "the file name is empty";
    }
    if (name.front() == '-' || !std::all_of(name.begin(), name.end(), is_safe)) {
        return in_quotes(name) + " can't be used as a file name here: only letters, digits and " +
               "/._-+,:=@% are allowed, and no - in front";
    }
    return {};
}

}  // namespace

const char* const name_help =
    "A name is COLLECTION.ATTRIBUTE or COLLECTION.ATTRIBUTE.INSTANCE. The collection may be\n"
    "left out where only one has such an attribute.\n";

CLI::App& add_command(CLI::App& app, job& what, const std::string& name,
                      const std::string& description, const std::vector<std::string>& examples) {
    CLI::App& command = *app.add_subcommand(name, description);
    command.add_flag("--json", what.json, "Print one JSON document instead of text");
    std::string footer = "Examples:\n";
    for (const auto& example : examples) {
        footer += "  " + example + '\n';
    }
    command.footer(footer +
                   "\nExit codes: 0 done, 1 failed, with the reason on standard error, "
                   "2 wrong usage.");
    return command;
}

void add_file_options(CLI::App& command, job& what) {
    const CLI::Validator is_file_name(why_not_a_file_name, "", "file_name");
    const auto add = [&](const std::string& option, std::string& target, const std::string& text,
                         const dp::fixed_path& default_name) {
        command.add_option(option, target, text + " instead of " + default_name.str())
            ->type_name("FILE")
            ->check(is_file_name);
    };
    add("--template-file", what.files.template_file, "The template",
        dp::fixed_paths::uefi_template);
    add("--settings-file", what.files.settings, "The settings file (pending values)",
        dp::fixed_paths::uefi_settings);
    add("--current-file", what.files.current, "The current-values file",
        dp::fixed_paths::uefi_current);
}

std::shared_ptr<std::string> add_collection_argument(CLI::App& command) {
    auto collection = std::make_shared<std::string>();
    command.add_option("COLLECTION", *collection, "Its name")->type_name("")->required();
    return collection;
}

std::shared_ptr<std::vector<std::string>> add_name_arguments(CLI::App& command) {
    auto names = std::make_shared<std::vector<std::string>>();
    command.add_option("NAME", *names, "Names of settings")->type_name("")->required();
    add_help(command, name_help);
    return names;
}

void add_path_option(CLI::App& command, std::string& target, const std::string& description,
                     const std::string& default_name) {
    command.add_option("--file", target, description + " instead of " + default_name)
        ->type_name("FILE")
        ->check(CLI::Validator(
            [](const std::string& name) {
                return name.empty() ? std::string("the file name is empty") : std::string();
            },
            "", "path"));
}

void add_help(CLI::App& command, const std::string& text) {
    command.footer(text + '\n' + command.get_footer());
}

}  // namespace dpctl
