#ifndef DP_HOST_SERVICE_LOOP_HPP
#define DP_HOST_SERVICE_LOOP_HPP

#include <string>

#include "host/exchange/batch_exchange.hpp"
#include "host/exchange/exchange_watch.hpp"
#include "host/exchange/server_exchange.hpp"
#include "host/settings_service.hpp"

namespace dp_host {

/// Waits for batches and server requests and has them carried out, one after the other, until the
/// process is asked to stop.
class service_loop {
  public:
    /// The service stays the caller's and outlives the loop.
    explicit service_loop(settings_service& service);

    /// Begins to notice what arrives. Returns why it can't; empty when it can. Call it before the
    /// service starts, so that nothing is missed meanwhile.
    std::string begin();

    /// Deals with what an earlier service left behind.
    void recover();

    /// Carries out what is there and what arrives. Returns when the process is asked to stop, with
    /// an empty text, or when it can't go on, with the reason.
    std::string run();

  private:
    template <class Exchange>
    exchange_look look_at(Exchange& exchange, const std::string& path);
    bool work();

    settings_service& service_;
    exchange_watch watch_;
    batch_exchange batches_;
    server_exchange requests_;
};

}  // namespace dp_host

#endif
