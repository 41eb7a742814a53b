#ifndef DP_HOST_EXCHANGE_REQUEST_EXCHANGE_HPP
#define DP_HOST_EXCHANGE_REQUEST_EXCHANGE_HPP

#include "host/exchange/request_socket.hpp"
#include "host/settings_service.hpp"

namespace dp_host {

/// Executes the requests that arrive on the request socket, one at a time: batches, and requests to
/// the simulated server.
class request_exchange {
  public:
    /// `service` is not owned and must outlive the exchange.
    explicit request_exchange(settings_service& service) : service_(service) {}

    request_socket& socket() { return socket_; }
    [[nodiscard]] const request_socket& socket() const { return socket_; }

    /// Receives and sends what is possible without waiting, and executes and answers the oldest
    /// request that is complete and whose client waits for it. True when it executed one.
    bool work();

  private:
    void execute(client_connection& client);
    void run(client_connection& client);

    settings_service& service_;
    request_socket socket_;
};

}  // namespace dp_host

#endif
