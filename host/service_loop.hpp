#ifndef DP_HOST_SERVICE_LOOP_HPP
#define DP_HOST_SERVICE_LOOP_HPP

#include <sys/types.h>

#include <optional>

#include "host/exchange/batch_exchange.hpp"
#include "host/exchange/exchange_watch.hpp"
#include "host/exchange/request_exchange.hpp"
#include "host/settings_service.hpp"
#include "support/result.hpp"

namespace dp_host {

/// Waits for batch files and for requests on the request socket and executes them, one at a time,
/// until a stop signal.
class service_loop {
  public:
    /// `service` is not owned and must outlive the loop. Members of `group`, if there is one, may
    /// use the request socket.
    service_loop(settings_service& service, std::optional<gid_t> group);

    /// Prepares the exchange folder and the request socket and begins to watch them. Call it before
    /// the service starts, so that nothing is missed meanwhile.
    dp_support::result<> begin();

    /// Completes or sets aside what a service that was killed left.
    void recover();

    /// Executes what is in the exchange folder and what arrives. Success means that a stop signal
    /// was received.
    dp_support::result<> run();

  private:
    dp_support::result<> begin_files();
    dp_support::result<> begin_socket();
    [[nodiscard]] dp_support::result<> repair();
    poll_result poll_batch();
    [[nodiscard]] dp_support::result<> wait(int timeout_ms) const;

    settings_service& service_;
    std::optional<gid_t> group_;
    exchange_watch files_watch_;
    exchange_watch socket_watch_;
    batch_exchange batches_;
    request_exchange requests_;
};

}  // namespace dp_host

#endif
