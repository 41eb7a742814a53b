#ifndef DP_EXEC_SECURITY_WRAP_HPP
#define DP_EXEC_SECURITY_WRAP_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "common/export.hpp"

namespace dp {

/// Replacement for the C library's `system` that checks a command line and never runs it. It splits
/// the line by a deliberately small grammar, refuses everything that could hide a second command
/// (pipes, input redirection, escapes outside quotes, quotes inside a word), and applies the output
/// redirections. It never starts a program and never passes text to a shell.
///
/// All operations are stateless and may be called from several threads. None throws for a line that
/// it refuses; the reason goes to the application log. Words are separated by spaces (character 32)
/// only. A parameter has at most 127 characters. Inside double quotes a backslash may only precede
/// a double quote or another backslash.
class DP_API security_wrap {
  public:
    /// What a redirection does with its file.
    enum operations : std::int32_t {
        truncate = 1,  ///< ">": replaces the content
        append = 2,    ///< ">>": adds to the content
    };

    /// Bits of the redirection flag.
    enum redirection_flags : std::uint32_t {
        out_to_null = 0x01,  ///< standard output to /dev/null
        err_to_null = 0x02,  ///< standard error to /dev/null
        out_to_file = 0x04,  ///< standard output to a file
        err_to_file = 0x08,  ///< standard error to a file
        err_to_out = 0x10,   ///< "2>&1"
        out_to_err = 0x20,   ///< "1>&2"
    };

    /// One redirection of a command line.
    struct redirection {
        std::string source;          ///< "1" standard output, "2" standard error
        std::string target;          ///< a file name, "/dev/null", "&1" or "&2"
        std::int32_t operation = 0;  ///< see operations
    };

    /// Where one output stream goes.
    struct redirection_file {
        std::string name;            ///< of the file
        std::int32_t operation = 0;  ///< see operations
    };

    /// Checks `command`, then creates, truncates or opens for append the file of its standard
    /// output. A file for standard error is accepted but never touched. 1 when the line is
    /// accepted, even if the file cannot be opened; -1 when it is refused or has no parameter.
    static int system(const char* command);

    /// Length of the command without the spaces around it and without one trailing "&", counted
    /// from its first character that is not a space. Does not change `*command`. Sets `flag` to 1.
    /// When nothing is left, returns -1 and does not change `flag`.
    static int chomp_cmd(const char** command, unsigned int& flag);

    /// Splits a command line. Clears both lists first; after a refusal they contain what precedes
    /// the refused character. Examines as many characters from the start of the text as
    /// `chomp_cmd` counts, so N leading spaces cut off the last N characters. Drops an unclosed
    /// quote and a redirection without a target. Sets `flag` to 1. True when the whole line was
    /// accepted.
    static bool parse_commandline(const char* command, std::vector<std::string>& params,
                                  std::vector<redirection>& redirections, unsigned int& flag);

    /// Returns the bits of `redirection_flags` for `redirections`, and fills `out` and `err` for
    /// streams that go to a file. -1 for an unknown operation or source and for a second file of
    /// the same stream.
    static int parse_redirection(const std::vector<redirection>& redirections,
                                 redirection_file& out, redirection_file& err);

    /// Replaces the file's content by `data`, or appends `data`, which may be empty. 0; -1 when the
    /// operation is unknown or the file cannot be opened. A pipe without a reader cannot: opening
    /// never waits. Errors after opening are not reported.
    static int redirect_2_file(std::vector<unsigned char>& data, redirection_file& file);
};

}  // namespace dp

#endif
