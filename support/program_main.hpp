#ifndef DP_SUPPORT_PROGRAM_MAIN_HPP
#define DP_SUPPORT_PROGRAM_MAIN_HPP

#include <iosfwd>
#include <string>

namespace dp_support {

/// Exit codes of all programs.
namespace exit_code {
inline constexpr int done = 0;
inline constexpr int failed = 1;
inline constexpr int wrong_usage = 2;
}  // namespace exit_code

/// Runs `body`, all of a program's main function, after `occupy_standard_descriptors`. An exception
/// that leaves it, as when memory runs out, becomes a message of `program` on stderr and the exit
/// code `failed`.
int guarded_main(const char* program, int (*body)(int, char**), int argc, char** argv) noexcept;

/// Flushes `out`; false when something written to it was lost.
bool flushed(std::ostream& out);

/// Flushes standard output. The exit code `done`, or `failed` with a message of `program` when
/// something written to it was lost.
int done_if_written(const std::string& program);

}  // namespace dp_support

#endif
