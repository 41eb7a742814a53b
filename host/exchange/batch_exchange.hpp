#ifndef DP_HOST_EXCHANGE_BATCH_EXCHANGE_HPP
#define DP_HOST_EXCHANGE_BATCH_EXCHANGE_HPP

#include <functional>
#include <string>

#include "host/exchange/clock_check.hpp"
#include "host/exchange/exchange_file.hpp"
#include "host/host_registrar.hpp"
#include "host/process/trusted_file.hpp"
#include "support/result.hpp"

namespace dp_host {

/// The batch exchange with the C API's clients: takes, runs and answers batch files.
///
/// A batch is taken by renaming it, so that the next one can be written meanwhile. It is run only
/// while its client may wait for the answer: until 61 seconds after it was written, and longer
/// while a client has the exchange lock. Setting the clock makes no old batch young. Any other
/// batch is set aside, as `service_files::late_batch`. So is one that the service cannot answer,
/// for example because the disk is full.
///
/// A renamed file that exists at start was not, or not completely, answered when the service was
/// killed. It is run once more: that is safe, since its changes either are on the disk already or
/// were not made. It is not run if there is a newer batch, because its answer would be taken for
/// the answer to that one, and not if the service was killed twice while it ran.
class batch_exchange {
  public:
    /// `registrar` is not owned and must outlive the exchange. `on_set_aside` is called when a
    /// batch was set aside.
    explicit batch_exchange(host_registrar& registrar, std::function<void()> on_set_aside = {});

    /// Runs or sets aside what a service that was killed left. Call it once, before `poll`.
    void recover();

    /// Takes, runs and answers a complete batch, if there is one. Result and `is_complete` are
    /// those of `take_exchange_file`; also `retry_later` when a taken batch cannot be answered now.
    poll_result poll(bool is_complete);

  private:
    [[nodiscard]] bool may_be_awaited(const trusted_file& batch) const;
    poll_result run_taken();
    poll_result postpone(const dp_support::failure& why);
    void set_aside(const std::string& path, const std::string& reason);

    host_registrar& registrar_;
    std::function<void()> on_set_aside_;
    std::string taken_;             // the file of a batch that is to be run; empty: none
    std::string reported_problem_;  // why it could not be run yet
    clock_check clock_;
    bool is_age_unknown_ = false;  // of batches, because the clock was set
};

}  // namespace dp_host

#endif
