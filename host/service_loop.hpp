#ifndef DP_HOST_SERVICE_LOOP_HPP
#define DP_HOST_SERVICE_LOOP_HPP

#include <string>

#include "host/exchange/batch_exchange.hpp"
#include "host/exchange/exchange_watch.hpp"
#include "host/exchange/server_exchange.hpp"
#include "host/settings_service.hpp"
#include "support/result.hpp"

namespace dp_host {

/// Waits for batches and server requests and executes them, one at a time, until a stop signal.
class service_loop {
  public:
    /// `service` is not owned and must outlive the loop.
    explicit service_loop(settings_service& service);

    /// Prepares the exchange folder and begins to watch it. Call it before the service starts, so
    /// that nothing is missed meanwhile.
    dp_support::result<> begin();

    /// Completes or drops what a service that was killed left.
    void recover();

    /// Executes what is in the exchange folder and what arrives. Success means that a stop signal
    /// was received.
    dp_support::result<> run();

  private:
    template <class Exchange>
    poll_result poll(Exchange& exchange, const std::string& path);
    bool work();

    settings_service& service_;
    exchange_watch watch_;
    batch_exchange batches_;
    server_exchange requests_;
};

}  // namespace dp_host

#endif
