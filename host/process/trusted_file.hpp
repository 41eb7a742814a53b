#ifndef DP_HOST_PROCESS_TRUSTED_FILE_HPP
#define DP_HOST_PROCESS_TRUSTED_FILE_HPP

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "support/file_descriptor.hpp"
#include "support/result.hpp"

namespace dp_host {

/// A file that only this service's user can have written: a regular file that the effective user
/// owns. Symlinks are not followed.
struct trusted_file {
    dp_support::file_descriptor descriptor;  ///< open for reading
    std::uint64_t size = 0;                  ///< in bytes
    timespec modified{};                     ///< time of the last change of its content
    uid_t owner = 0;                         ///< the user it belongs to
};

/// Opens the file `path`, and never waits for the other end of a pipe. The code of a failure is
/// ENOENT when there is nothing at `path`.
dp_support::result<trusted_file> open_trusted_file(const std::string& path);

/// Whether there is nothing at `path`.
bool is_missing(const std::string& path);

/// Success when the file `path` is trusted, and also when there is nothing at `path`.
dp_support::result<> check_trusted(const std::string& path);

/// The content of the file `path`. A file of more than `limit` bytes is a failure, and not read.
/// The code of a failure is ENOENT when there is nothing at `path`.
dp_support::result<std::string> read_trusted_file(const std::string& path, std::size_t limit);

/// Lets the members of `group` read the file `path`, but not write it, if there is one.
dp_support::result<> give_read_access(const std::string& path, gid_t group);

/// Whether time `a` is later than time `b`.
bool is_later(const timespec& a, const timespec& b);

}  // namespace dp_host

#endif
