#ifndef DP_HOST_EXCHANGE_SERVER_EXCHANGE_HPP
#define DP_HOST_EXCHANGE_SERVER_EXCHANGE_HPP

#include "host/exchange/exchange_file.hpp"
#include "host/settings_service.hpp"

namespace dp_host {

/// The exchange with the operator of the simulated server: takes, executes and answers one request
/// at a time. A request is taken by renaming it. One that was executed when the service was killed
/// is executed again: both requests can be repeated, and an update must not remain incomplete.
class server_exchange {
  public:
    /// `service` is not owned and must outlive the exchange.
    explicit server_exchange(settings_service& service) : service_(service) {}

    /// Completes what a service that was killed left. Call it once, before `poll`.
    void recover();

    /// Takes, executes and answers a complete request, if there is one. Result and `is_complete`
    /// are those of `take_exchange_file`.
    poll_result poll(bool is_complete);

  private:
    void execute_and_answer();

    settings_service& service_;
};

}  // namespace dp_host

#endif
