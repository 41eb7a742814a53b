#ifndef DP_HOST_EXCHANGE_BATCH_RUN_HPP
#define DP_HOST_EXCHANGE_BATCH_RUN_HPP

#include <cstdint>
#include <string>

#include "host/host_registrar.hpp"
#include "support/staged_file.hpp"

namespace dp_host {

/// Files of more bytes than this are not run: each of their commands fails with "not run".
inline constexpr std::uint64_t largest_batch = std::uint64_t{256} * 1024 * 1024;

/// Runs a batch file, compressed or not, as one transaction, and writes a line to `answer` for
/// every command of the file, in its order: the command's result line; for a line that is no
/// command, or too long for one, a result line with `dp_service::service_status::malformed_line`.
/// Values with a double quote are written escaped, because a reader would drop a result line that
/// holds them as they are, and with it the command's outcome.
///
/// The process status file tells of it from its start to its end. The answer is complete when the
/// status tells of its file and of the transaction's end; it is left to the caller to put it in
/// place, or to see why it is not complete.
///
/// Returns why the batch file could not be read; empty when it was.
std::string run_batch(const std::string& path, host_registrar& registrar,
                      dp_support::staged_file& answer);

}  // namespace dp_host

#endif
