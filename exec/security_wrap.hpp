#ifndef DP_EXEC_SECURITY_WRAP_HPP
#define DP_EXEC_SECURITY_WRAP_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "common/export.hpp"

namespace dp {

/// Vets a command line in place of `::system`. It splits the line by a deliberately small grammar,
/// refuses everything that could smuggle in a second command (pipes, input redirection, escapes
/// outside quotes, quotes inside a word), and applies its output redirections. It never starts a
/// program and never hands text to a shell.
///
/// All operations are free of state and may be called from several threads. None throws for a line
/// that it refuses; the reason goes to the application log. Blanks are the character 32 only, a
/// parameter has at most 127 characters, and inside double quotes a backslash stands before a
/// double quote or a backslash and nothing else.
class DP_API security_wrap {
  public:
    /// What a redirection does with its file.
    enum operations : std::int32_t { truncate = 1, append = 2 };

    /// Bits of the redirection flag.
    enum redirection_flags : std::uint32_t {
        out_to_null = 0x01,
        err_to_null = 0x02,
        out_to_file = 0x04,
        err_to_file = 0x08,
        err_to_out = 0x10,
        out_to_err = 0x20,
    };

    /// One redirection of a command line.
    struct redirection {
        std::string source;          ///< "1" standard output, "2" standard error
        std::string target;          ///< a file name, "/dev/null", "&1" or "&2"
        std::int32_t operation = 0;  ///< see operations
    };

    /// Where one output stream goes.
    struct redirection_file {
        std::string name;
        std::int32_t operation = 0;  ///< see operations
    };

    /// Vets `command` and creates, truncates or opens for append the file to which its standard
    /// output goes; a file for standard error is accepted but never touched. 1 when the line is
    /// accepted (whatever became of the file), -1 when it is refused or has no parameter.
    static int system(const char* command);

    /// Length of the command without blanks around it and without one "&" behind it, counted from
    /// its first character that is not a blank; `*command` is not moved. Sets `flag` to 1. -1, and
    /// `flag` as it was, when nothing is left.
    static int chomp_cmd(const char** command, unsigned int& flag);

    /// Splits a command line. The lists are emptied first; after a refusal they hold what came
    /// before the offending character. Only as many characters are looked at, from the very
    /// beginning, as `chomp_cmd` counts: N leading blanks cost the line its last N characters. A
    /// quote that is not closed and a redirection without a target are dropped. `flag` becomes 1.
    /// True when the whole line was accepted.
    static bool parse_commandline(const char* command, std::vector<std::string>& params,
                                  std::vector<redirection>& redirections, unsigned int& flag);

    /// Sums redirections up as `redirection_flags` and fills `out` and `err` for those that go to a
    /// file. -1 for an operation or a source that is unknown, and for a second file of the same
    /// stream.
    static int parse_redirection(const std::vector<redirection>& redirections,
                                 redirection_file& out, redirection_file& err);

    /// Writes `data`, which may be empty, over the file or behind its end. 0, or -1 when the
    /// operation is unknown or the file can't be opened, as a pipe without a reader, for which
    /// nobody waits; what happens after that is not reported.
    static int redirect_2_file(std::vector<unsigned char>& data, redirection_file& file);
};

}  // namespace dp

#endif
