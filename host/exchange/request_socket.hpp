#ifndef DP_HOST_EXCHANGE_REQUEST_SOCKET_HPP
#define DP_HOST_EXCHANGE_REQUEST_SOCKET_HPP

#include <poll.h>
#include <sys/types.h>

#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "host/exchange/client_connection.hpp"
#include "support/file_descriptor.hpp"
#include "support/result.hpp"

namespace dp_host {

/// The listening socket for requests, and its clients. The oldest complete request is next; each is
/// executed by the caller. Nothing here waits, and no client, however slow, delays the others: the
/// turn is offered to the next one too while a client has not accepted it.
class request_socket {
  public:
    using clock = client_connection::clock;

    /// More connections, and requests that together have more bytes, are refused.
    static constexpr std::size_t most_connections = 64;
    static constexpr std::size_t most_bytes = std::size_t{32} * 1024 * 1024;

    /// How long the turn is offered to one client alone.
    static constexpr std::chrono::milliseconds offer_interval{20};

    /// Creates the socket at `path`, in a folder that only this user can write to, and listens.
    /// What a service that was killed left there is replaced. Root and this user may connect, and
    /// with `group` also its members.
    dp_support::result<> begin(const std::string& path, std::optional<gid_t> group);

    /// Removes the socket.
    ~request_socket();
    request_socket() = default;
    request_socket(const request_socket&) = delete;
    request_socket& operator=(const request_socket&) = delete;

    /// Adds what to wait for to `entries`.
    void add_poll_entries(std::vector<pollfd>& entries) const;

    /// When `exchange` is to be called without an event.
    [[nodiscard]] std::optional<clock::time_point> deadline() const;

    /// Accepts, receives, sends and gives up as far as possible without waiting. With `running`, a
    /// request is being executed, which counts as one that is ahead.
    void exchange(bool running = false);

    /// The oldest request that is to be executed, with state `started`; null if there is none.
    /// Valid until it was answered and `exchange` is called.
    [[nodiscard]] client_connection* next();

    [[nodiscard]] std::size_t connections() const { return connections_.size(); }

  private:
    void add_client_entries(std::vector<pollfd>& entries) const;
    void accept_clients(clock::time_point now);
    [[nodiscard]] bool is_allowed(const peer& client) const;
    [[nodiscard]] std::size_t bytes() const;
    void offer_turns(clock::time_point now);
    void report_positions(bool running, clock::time_point now);

    dp_support::file_descriptor listener_;
    std::string path_;
    std::optional<gid_t> group_;
    bool is_out_of_descriptors_ = false;
    clock::time_point retry_accept_{};
    clock::time_point last_offer_{};
    std::list<client_connection> connections_;  // in the order of their completeness
};

}  // namespace dp_host

#endif
