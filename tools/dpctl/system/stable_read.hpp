#ifndef DP_TOOLS_DPCTL_SYSTEM_STABLE_READ_HPP
#define DP_TOOLS_DPCTL_SYSTEM_STABLE_READ_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace dpctl {

/// Identifies the content of a file. It differs after each time the file is written, even with the
/// same bytes.
struct file_version {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t seconds = 0;  ///< since 1970; time of the last write
    std::int64_t nanoseconds = 0;

    bool operator==(const file_version&) const = default;
};

/// What was read of a file.
struct file_snapshot {
    std::string path;
    bool exists = false;
    std::optional<std::string> text;  ///< nothing when the file is missing or cannot be read
    std::string error;                ///< why it cannot be read; contains the name of the file
    file_version version;
};

/// Reads a file that another process may be truncating and rewriting: repeats the read until two
/// readings agree, and longer if the file is empty or ends within a line. After about a second the
/// last reading is returned, stable or not. It is an error if `path` is not a regular file or has
/// more than `limit` bytes.
file_snapshot read_stable(const std::string& path, std::size_t limit);

/// Reads the file `requested`, or `default_path` if that is empty. It is an error if a requested
/// file is missing, but not if the default one is, which may be written later.
file_snapshot read_stable(const std::string& requested, const std::string& default_path,
                          std::size_t limit);

}  // namespace dpctl

#endif
