#ifndef DP_TOOLS_DPCTL_COMMANDS_COMMAND_OPTIONS_HPP
#define DP_TOOLS_DPCTL_COMMANDS_COMMAND_OPTIONS_HPP

#include <memory>
#include <string>
#include <vector>

#include "tools/dpctl/commands/commands.hpp"

namespace dpctl {

/// Adds the subcommand `name`, whose help ends with the examples, a line each, and the exit codes,
/// with the option --json.
CLI::App& add_command(CLI::App& app, job& what, const std::string& name,
                      const std::string& description, const std::vector<std::string>& examples);

/// Adds the options that name other files of template and values.
void add_file_options(CLI::App& command, job& what);

/// Adds the argument COLLECTION.
std::shared_ptr<std::string> add_collection_argument(CLI::App& command);

/// Adds the arguments NAME..., and how names are written to the help.
std::shared_ptr<std::vector<std::string>> add_name_arguments(CLI::App& command);

/// Adds the option --file, which names another file than `default_name`, to read only.
void add_path_option(CLI::App& command, std::string& target, const std::string& description,
                     const std::string& default_name);

/// Puts `text` in front of the examples in the help.
void add_help(CLI::App& command, const std::string& text);

/// How settings are named on the command line, for the help.
extern const char* const name_help;

}  // namespace dpctl

#endif
