#ifndef DP_HOST_EXCHANGE_BATCH_EXCHANGE_HPP
#define DP_HOST_EXCHANGE_BATCH_EXCHANGE_HPP

#include "host/exchange/exchange_file.hpp"
#include "host/host_registrar.hpp"

namespace dp_host {

/// The exchange with clients: a finished batch file is taken, run and answered.
///
/// A batch is taken by renaming it to a name of the service's own, so that the next one can be
/// written meanwhile. That name tells what to do after a crash: a file that is still there was not
/// (or not wholly) answered. It is run again, which is harmless, since its changes are either on
/// disk already or were never made, but only while its client may still wait for the answer and has
/// not begun a new batch: an answer that nobody expects would be taken for that of the next batch.
class batch_exchange {
  public:
    /// The registrar stays the caller's and outlives the exchange.
    explicit batch_exchange(host_registrar& registrar) : registrar_(registrar) {}

    /// Deals with what a service that was killed left behind. Call it once, before `look`.
    void recover();

    /// Takes, runs and answers a batch, if a finished one is there; there may be another one then.
    /// What is no file of ours is taken out of the way. `has_ended` and the answer are those of
    /// `take_exchange_file`.
    exchange_look look(bool has_ended);

  private:
    void run_and_answer();

    host_registrar& registrar_;
};

}  // namespace dp_host

#endif
