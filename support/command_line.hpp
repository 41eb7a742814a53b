#ifndef DP_SUPPORT_COMMAND_LINE_HPP
#define DP_SUPPORT_COMMAND_LINE_HPP

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <optional>
#include <string>

namespace dp_tools {

/// Exit codes that every program shares.
namespace exit_code {
inline constexpr int done = 0;
inline constexpr int failed = 1;
inline constexpr int wrong_usage = 2;
}  // namespace exit_code

/// Parses the command line into what was bound to `app`. Empty: go on. Otherwise the exit code to
/// end with: help was asked for and printed (or could not be, then it is `failed`), or the usage
/// was wrong and a message is on stderr.
std::optional<int> parse_command_line(CLI::App& app, int argc, const char* const* argv);

/// Runs `body`, the whole of a program's main function, with the standard descriptors occupied: an
/// exception that nobody expected, as when the memory is used up, becomes a message of `program`
/// and the exit code `failed`.
int guarded_main(const char* program, int (*body)(int, char**), int argc, char** argv) noexcept;

/// Flushes `out`; false when something written to it was lost.
bool flushed(std::ostream& out);

/// Flushes standard output; the exit code `done`, or `failed` with a message of `program` when
/// something written to it was lost.
int done_if_written(const std::string& program);

}  // namespace dp_tools

#endif
