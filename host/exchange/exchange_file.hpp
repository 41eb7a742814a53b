#ifndef DP_HOST_EXCHANGE_EXCHANGE_FILE_HPP
#define DP_HOST_EXCHANGE_EXCHANGE_FILE_HPP

#include <cstdint>
#include <string>

#include "support/file_descriptor.hpp"

namespace dp_host {

/// What polling for an exchange file found.
enum class poll_result : std::uint8_t {
    nothing,        ///< no file, or one that is refused
    being_written,  ///< a file that a process has open for writing; poll again soon
    taken,          ///< a file, which was renamed; there may be another one by now
    retry_later,    ///< a file that cannot be taken now, for a reason that may pass; poll again
};

/// Takes a file that another process writes to `path`, by renaming it to `taken_path`. What is not
/// a regular file of this user is removed, or set aside if it is a folder that is not empty, and
/// the log says so.
///
/// A file that a process has open for writing is `being_written`. The kernel may still count a
/// process as writer a moment after it reported the end of the writing, so no later event need
/// follow. An empty file is taken only if `is_complete` says that the end of its writing was
/// reported: a file exists a moment before the kernel counts its creator as writer.
///
/// Running out of descriptors or memory, an error of the disk and a failed rename lose no file:
/// `retry_later`.
///
/// `lease` is set when the file is taken. While it is open, a process that opens the file for
/// writing waits, on file systems with leases for as long as the system's lease-break-time (usually
/// 45 seconds). Close it when the file has been read.
poll_result take_exchange_file(const std::string& path, const std::string& taken_path,
                               bool is_complete, dp_support::file_descriptor& lease);

}  // namespace dp_host

#endif
