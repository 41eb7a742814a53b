#ifndef DP_HOST_EXCHANGE_BATCH_EXCHANGE_HPP
#define DP_HOST_EXCHANGE_BATCH_EXCHANGE_HPP

#include "host/exchange/exchange_file.hpp"
#include "host/host_registrar.hpp"

namespace dp_host {

/// The batch exchange with clients: takes, runs and answers batch files.
///
/// A batch is taken by renaming it, so that the next one can be written meanwhile. A renamed file
/// that exists at start was not, or not completely, answered when the service was killed. It is run
/// again: that is safe, since its changes either are on the disk already or were not made. It is
/// run only if its client may still wait for the answer and has not written a new batch: otherwise
/// the answer would be taken for the answer to the next batch.
class batch_exchange {
  public:
    /// `registrar` is not owned and must outlive the exchange.
    explicit batch_exchange(host_registrar& registrar) : registrar_(registrar) {}

    /// Runs or drops what a service that was killed left. Call it once, before `poll`.
    void recover();

    /// Takes, runs and answers a complete batch, if there is one. Result and `is_complete` are
    /// those of `take_exchange_file`.
    poll_result poll(bool is_complete);

  private:
    void run_and_answer();

    host_registrar& registrar_;
};

}  // namespace dp_host

#endif
