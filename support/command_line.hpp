#ifndef DP_SUPPORT_COMMAND_LINE_HPP
#define DP_SUPPORT_COMMAND_LINE_HPP

#include <CLI/CLI.hpp>
#include <optional>

namespace dp_support {

/// Parses the command line into what was bound to `app`. Nothing: continue. Otherwise the exit code
/// to end with: help or version was requested and printed (`failed` when it could not be printed),
/// or the usage was wrong and a message is on stderr.
std::optional<int> parse_command_line(CLI::App& app, int argc, const char* const* argv);

}  // namespace dp_support

#endif
