#ifndef DP_HOST_EXCHANGE_STATUS_LOG_HPP
#define DP_HOST_EXCHANGE_STATUS_LOG_HPP

#include "logs/process_log.hpp"

namespace dp_host {

/// The process status file of one transaction.
class status_log final : public dp::process_log {
  public:
    /// The greatest number of failed commands that are reported: more than fit into the file.
    static constexpr int most_failures = 400;

    /// Replaces the file of the previous transaction. What is not a regular file of this user is
    /// removed first.
    status_log();

    /// As in the base class, but reports only the last `most_failures` failed commands: every
    /// status record rewrites the file. The counts include all commands.
    void stop(dp::setting_transaction* t) override;
};

}  // namespace dp_host

#endif
