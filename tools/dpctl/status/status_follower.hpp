#ifndef DP_TOOLS_DPCTL_STATUS_STATUS_FOLLOWER_HPP
#define DP_TOOLS_DPCTL_STATUS_STATUS_FOLLOWER_HPP

#include <optional>
#include <vector>

#include "tools/dpctl/status/status_record.hpp"
#include "tools/dpctl/system/stable_read.hpp"

namespace dpctl {

/// Finds the status records that were added to a status file since the last update. Each new status
/// record rewrites the whole file and may drop the oldest ones. A new transaction starts the file
/// again, and may leave the same bytes as the previous one.
class status_follower {
  public:
    struct news {
        std::vector<status_record> records;
        bool missed = false;  ///< status records before these were not seen
        bool unsure = false;  ///< the file may be incomplete: read it again soon
    };

    /// @param is_settled  whether the file has not changed for a while. Otherwise a file without
    /// new
    ///                    status records, or with fewer than before, may be incomplete.
    news update(const file_snapshot& file, bool is_settled);

  private:
    [[nodiscard]] news compare(const std::vector<status_record>& records, bool is_settled) const;

    std::optional<file_version> version_;
    std::vector<status_record> seen_;
};

}  // namespace dpctl

#endif
