#ifndef DP_HOST_EXCHANGE_SERVER_EXCHANGE_HPP
#define DP_HOST_EXCHANGE_SERVER_EXCHANGE_HPP

#include "host/exchange/exchange_file.hpp"
#include "host/settings_service.hpp"

namespace dp_host {

/// The exchange with the simulated server's operator: one request at a time, taken by renaming and
/// answered in a file of its own. A request that was being carried out when the service was killed
/// is carried out again: both requests may be repeated, and an update should not stay half done.
class server_exchange {
  public:
    /// The service stays the caller's and outlives the exchange.
    explicit server_exchange(settings_service& service) : service_(service) {}

    /// Deals with what a service that was killed left behind. Call it once, before `look`.
    void recover();

    /// Takes, carries out and answers a request, if a finished one is there. `has_ended` and the
    /// answer are those of `take_exchange_file`.
    exchange_look look(bool has_ended);

  private:
    void carry_out_and_answer();

    settings_service& service_;
};

}  // namespace dp_host

#endif
