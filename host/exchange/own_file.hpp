#ifndef DP_HOST_EXCHANGE_OWN_FILE_HPP
#define DP_HOST_EXCHANGE_OWN_FILE_HPP

#include <cstdint>
#include <ctime>
#include <string>

#include "support/file_descriptor.hpp"

namespace dp_host {

// Files in folders of other people's making: only regular files of our own are taken, never links.

/// Why the file at `path` can't be used: it is a link, not a regular file, or somebody else's.
/// Empty when it can be, or does not exist.
std::string problem_with_file(const std::string& path);

/// A file opened for reading, or why it could not be.
struct own_file {
    dp_support::file_descriptor descriptor;
    std::string problem;   ///< empty when the file is open
    bool missing = false;  ///< the problem is that there is no such file
    std::uint64_t size = 0;
    timespec modified{};  ///< when its content was last changed
};

/// Opens a regular file of our own that is not a link. Never waits for a pipe's other end.
own_file open_own_file(const std::string& path);

/// Whether time `a` is later than time `b`.
bool is_later(const timespec& a, const timespec& b);

/// The whole content of a file of our own; `problem` is set, and the result empty, when it can't be
/// read or is longer than `limit` bytes.
std::string read_own_file(const std::string& path, std::uint64_t limit, std::string& problem);

}  // namespace dp_host

#endif
