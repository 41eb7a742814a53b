#ifndef DP_TOOLS_DPCTL_COMMANDS_COMMAND_OPTIONS_HPP
#define DP_TOOLS_DPCTL_COMMANDS_COMMAND_OPTIONS_HPP

#include <memory>
#include <string>
#include <vector>

#include "tools/dpctl/commands/commands.hpp"

namespace dpctl {

/// The help of a subcommand.
struct command_help {
    std::string summary;                ///< one line, also in the help of dpctl
    std::string details;                ///< complete lines
    std::vector<std::string> examples;  ///< one line each
    std::string further_exit_codes{};   ///< beyond 0, 1 and 2: "3 nothing to change"
};

/// How settings are named on the command line, for the details of a help.
extern const char* const name_help;

/// How patterns are written in the place of names, the same.
extern const char* const pattern_help;

/// What a desired state is, for the details of a help.
extern const char* const state_help;

/// Why `name` cannot be the name of a file; empty if it can.
std::string why_not_a_path(const std::string& name);

/// Adds the subcommand `name` with the option --json. The exit codes are added to its help.
dp_support::command_line& add_command(dp_support::command_line& program, invocation& request,
                                      const std::string& name, const command_help& help);

/// Adds the options for other template and value files than the default ones.
void add_file_options(dp_support::command_line& command, invocation& request);

/// Adds the argument COLLECTION.
std::shared_ptr<std::string> add_collection_argument(dp_support::command_line& command);

/// Adds the arguments NAME..., which must be given.
std::shared_ptr<std::vector<std::string>> add_name_arguments(dp_support::command_line& command);

/// Settings that are to be changed together, selected by their names.
struct selection_options {
    std::vector<std::string> names;  ///< of settings, attributes and collections
    bool all = false;
    bool is_confirmed = false;
};

/// Adds the arguments NAME..., which may be collections, and the options --all and --yes.
std::shared_ptr<selection_options> add_selection_options(dp_support::command_line& command);

/// Whether something was selected; otherwise reports the wrong usage of `command`.
bool is_selection_given(const selection_options& options, const std::string& command, report& rep);

/// Adds the option --file for another file than `default_name`, which is only read.
void add_path_option(dp_support::command_line& command, std::string& target,
                     const std::string& description, const std::string& default_name);

}  // namespace dpctl

#endif
