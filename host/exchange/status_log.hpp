#ifndef DP_HOST_EXCHANGE_STATUS_LOG_HPP
#define DP_HOST_EXCHANGE_STATUS_LOG_HPP

#include "logs/process_log.hpp"

namespace dp_host {

/// The process status file while one transaction runs: made when the transaction begins, told its
/// start, its steps and its end.
class status_log final : public dp::process_log {
  public:
    /// As many failed commands as the file can show at once, and then some.
    static constexpr int most_failures = 400;

    /// Begins the file anew. What is there and is no file of ours is taken away first.
    status_log();

    /// As the base class. Every record rewrites the file, so of more than `most_failures` failed
    /// commands only the last ones are reported; the counts are those of all.
    void stop(dp::setting_transaction* t) override;
};

}  // namespace dp_host

#endif
