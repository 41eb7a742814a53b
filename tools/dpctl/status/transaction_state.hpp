#ifndef DP_TOOLS_DPCTL_STATUS_TRANSACTION_STATE_HPP
#define DP_TOOLS_DPCTL_STATUS_TRANSACTION_STATE_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/json.hpp"
#include "tools/dpctl/status/status_record.hpp"

namespace dpctl {

/// A command that failed.
struct failed_command {
    std::string name;
    std::int32_t status = 0;
    std::optional<std::string> output;  ///< its output value, if it has one
};

/// The state of the last transaction in a status file.
struct transaction_state {
    bool is_known = false;  ///< there is a transaction; otherwise the next fields mean nothing
    std::string name;
    std::optional<std::int32_t> step;  ///< the last progress count
    std::vector<failed_command> failed;
    std::vector<std::string> messages;   ///< except those that belong to a failed command
    std::optional<std::string> outfile;  ///< the file with the answer
    std::optional<status_record> done;   ///< the totals, once the transaction has finished
    bool is_pruned = false;              ///< the oldest status records were dropped from the file
    std::size_t earlier = 0;             ///< number of earlier transactions in the file

    /// The number of commands that failed but are missing in `failed`.
    [[nodiscard]] std::int64_t missing_failures() const;
};

transaction_state summarize(const std::vector<status_record>& records);

/// Why the command failed, with its output value if it has one.
std::string explain_failure(const failed_command& command);

/// "running, step 1" or "finished, 1 of 3 commands failed".
std::string describe_progress(const transaction_state& state);

/// {"transaction": "cim-0", "over": true, "step": 1, "failed": [...], ...}; what is not known is
/// null or empty.
dp_support::json_value to_json(const transaction_state& state);

}  // namespace dpctl

#endif
