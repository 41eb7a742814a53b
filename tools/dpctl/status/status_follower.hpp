#ifndef DP_TOOLS_DPCTL_STATUS_STATUS_FOLLOWER_HPP
#define DP_TOOLS_DPCTL_STATUS_STATUS_FOLLOWER_HPP

#include <optional>
#include <vector>

#include "tools/dpctl/status/status_record.hpp"
#include "tools/dpctl/status/steady_file.hpp"

namespace dpctl {

/// Tells the records of a status file that are new since the last look. Every record rewrites the
/// whole file and may drop the oldest ones; another transaction begins the file anew, and may leave
/// the very bytes that the one before left.
class status_follower {
  public:
    struct news {
        std::vector<status_record> records;
        bool missed = false;  ///< records between the last ones and these were not seen
        bool unsure = false;  ///< the file may be amid its writing: look again soon
    };

    /// @param is_settled  whether the file has stood so for a while. Until then a file that has
    ///                    nothing new, or less than was seen, is taken for one amid its writing.
    news look(const steady_file& file, bool is_settled);

  private:
    [[nodiscard]] news compare(const std::vector<status_record>& records, bool is_settled) const;

    std::optional<file_state> state_;
    std::vector<status_record> seen_;
};

}  // namespace dpctl

#endif
