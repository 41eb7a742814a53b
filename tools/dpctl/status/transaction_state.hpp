#ifndef DP_TOOLS_DPCTL_STATUS_TRANSACTION_STATE_HPP
#define DP_TOOLS_DPCTL_STATUS_TRANSACTION_STATE_HPP

#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/dpctl/status/status_record.hpp"

namespace dpctl {

/// A command that failed.
struct failed_command {
    std::string name;
    std::int32_t status = 0;
    std::optional<std::string> output;  ///< its output value, if it has one
};

/// What a status file tells of the transaction that it tells of last.
struct transaction_state {
    bool is_known = false;  ///< there is one; otherwise the rest means nothing
    std::string name;
    std::optional<std::int32_t> step;  ///< the last progress count
    std::vector<failed_command> failed;
    std::vector<std::string> messages;   ///< that belong to no failed command
    std::optional<std::string> outfile;  ///< where the answer lies
    std::optional<status_record> done;   ///< the totals, when it is over
    bool is_pruned = false;              ///< the file's oldest records were dropped
    std::size_t earlier = 0;             ///< other transactions that the file tells of

    /// Commands that failed but are not among `failed`.
    [[nodiscard]] std::int64_t untold_failures() const;
};

transaction_state summarize(const std::vector<status_record>& records);

/// Why it failed, and its output value if it has one.
std::string explain_failure(const failed_command& command);

/// "at work, step 1" or "over, 1 of 3 commands failed".
std::string describe_progress(const transaction_state& state);

/// {"transaction": "cim-0", "over": true, "step": 1, "failed": [...], ...}; null and empty where
/// nothing is known.
nlohmann::ordered_json to_json(const transaction_state& state);

}  // namespace dpctl

#endif
