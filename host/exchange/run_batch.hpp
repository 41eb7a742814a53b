#ifndef DP_HOST_EXCHANGE_RUN_BATCH_HPP
#define DP_HOST_EXCHANGE_RUN_BATCH_HPP

#include <cstdint>
#include <string>

#include "host/host_registrar.hpp"
#include "support/result.hpp"
#include "support/staged_file.hpp"

namespace dp_host {

/// Larger batch files, in bytes, are not run: each of their commands fails with "not run".
inline constexpr std::uint64_t largest_batch = std::uint64_t{256} * 1024 * 1024;

/// Runs the batch file `path`, compressed or not, as one transaction, and writes the answer: a
/// result line for every command and every malformed line of the file, in its order. Values that
/// contain a double quote are escaped: otherwise readers would drop their result lines, and with
/// them the outcome of the commands.
///
/// The process status file reports the transaction from start to end. The caller calls
/// `answer.replace`, which returns the failure when the answer could not be written.
///
/// Fails when the batch file cannot be read.
dp_support::result<> run_batch(const std::string& path, host_registrar& registrar,
                               dp_support::staged_file& answer);

}  // namespace dp_host

#endif
