#ifndef DP_TOOLS_DPCTL_STATUS_STEADY_FILE_HPP
#define DP_TOOLS_DPCTL_STATUS_STEADY_FILE_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace dpctl {

/// Which file it is and when it was written last: another one after every rewriting, also one that
/// leaves the same bytes.
struct file_state {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t seconds = 0;  ///< since 1970; of the last writing
    std::int64_t nanoseconds = 0;

    bool operator==(const file_state&) const = default;
};

/// A file as it was at one time.
struct steady_file {
    std::string path;
    bool exists = false;
    std::optional<std::string> text;  ///< none when it does not exist or can't be read
    std::string error;                ///< why it can't be read; names the file
    file_state state;
};

/// Reads a file that another process may be truncating and writing anew: reads until two readings
/// agree, and longer where it is empty or ends amid a line. A file that does not come to rest
/// within about a second is read as it is then. What is not a file, or has more than `limit` bytes,
/// is an error.
steady_file read_steadily(const std::string& path, std::size_t limit);

/// Reads the file that was asked for by name, which should be there, or else the usual one, which
/// something may write only later: missing, the one is an error and the other is not.
steady_file read_steadily(const std::string& asked, const std::string& usual, std::size_t limit);

}  // namespace dpctl

#endif
