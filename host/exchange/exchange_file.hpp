#ifndef DP_HOST_EXCHANGE_EXCHANGE_FILE_HPP
#define DP_HOST_EXCHANGE_EXCHANGE_FILE_HPP

#include <string>

#include "support/file_descriptor.hpp"

namespace dp_host {

/// How a look for a file went.
enum class exchange_look {
    nothing,        ///< there is none, or none that may be taken
    being_written,  ///< there is one, and somebody has it open for writing
    taken,
};

/// Takes a file that another process wrote to `path`, by renaming it to `taken_path`. A link, what
/// is not a regular file, and somebody else's file is removed instead, and the log says so. An
/// empty file is taken only when the end of its writing was noticed, which `has_ended` tells: for a
/// moment a file is there before the one who makes it counts as its writer. One who closes it
/// counts as its writer a moment longer than the end of writing is announced, so look again at a
/// file that is `being_written`: that no further event comes is possible.
///
/// While `hold`, which is set when the file is taken, stays open, nobody writes that file anew: who
/// was about to waits (for 45 seconds, or what the system's lease-break-time is, and where there
/// are leases). Keep it until the file was read.
exchange_look take_exchange_file(const std::string& path, const std::string& taken_path,
                                 bool has_ended, dp_support::file_descriptor& hold);

}  // namespace dp_host

#endif
