#ifndef DP_HOST_EXCHANGE_RUN_BATCH_HPP
#define DP_HOST_EXCHANGE_RUN_BATCH_HPP

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

#include "host/host_registrar.hpp"
#include "support/result.hpp"
#include "support/staged_file.hpp"

namespace dp_host {

/// Larger batch files, in bytes, are not run: each of their commands fails with "not run".
inline constexpr std::uint64_t largest_batch = std::uint64_t{256} * 1024 * 1024;

/// What the runner of a batch text reports, and for whom it is run.
struct batch_observer {
    /// Who requested the batch, one word, for history and log.
    std::string client;
    /// Called, if set, after each step.
    std::function<void(std::uint32_t done, std::uint32_t total)> on_progress;
    /// Called, if set, when the answer is written: the file it is in, or empty. The process status
    /// file reports that file.
    std::function<std::string()> on_answered;
};

/// Runs a batch text as one transaction, and writes the answer: a result line for every command and
/// every malformed line, in their order. Values are escaped: otherwise readers would drop result
/// lines, and with them the outcome of the commands, or read other values.
///
/// A last line without a newline was cut off and is malformed. When memory runs out, nothing is
/// done and each command fails with "not run". The process status file reports the transaction from
/// start to end.
void run_batch_text(std::istream& text, host_registrar& registrar, std::ostream& answer,
                    const batch_observer& observer);

/// Runs the batch file `path`, compressed or not, as `run_batch_text`. The caller calls
/// `answer.replace`, which returns the failure when the answer could not be written.
///
/// Fails when the batch file cannot be read; the code is ENOMEM when it is too large to be
/// expanded.
dp_support::result<> run_batch(const std::string& path, host_registrar& registrar,
                               dp_support::staged_file& answer);

}  // namespace dp_host

#endif
