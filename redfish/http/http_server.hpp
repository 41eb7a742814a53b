#ifndef DP_REDFISH_HTTP_HTTP_SERVER_HPP
#define DP_REDFISH_HTTP_HTTP_SERVER_HPP

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "redfish/http/http_limits.hpp"
#include "redfish/http/http_message.hpp"
#include "redfish/http/tls_certificate.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// How a server is reached and what it allows.
struct http_options {
    std::string address = "127.0.0.1";  ///< IPv4 or IPv6, as digits
    std::uint16_t port = 0;             ///< 0: any free one
    /// Null: plain HTTP, which is served on loopback addresses only.
    std::shared_ptr<const tls_certificate> certificate;
    std::vector<std::string> host_names;  ///< beside localhost, 127.0.0.1, [::1] and the address
    http_limits limits;
    /// The body, JSON, of an answer that the server gives itself. Called on the server's thread.
    /// Empty: these answers have no body.
    std::function<std::string(unsigned status, const std::string& reason)> error_text;
    /// Takes a line about each request and each connection that failed. Has no query, header or
    /// body of a request. Called on the server's thread. Empty: nobody wants them.
    std::function<void(const std::string& line)> log;
};

/// A server for HTTP/1.1, with or without TLS, on one thread of its own. Requests of a connection
/// are handled one after another in their order, those of different connections at once.
class http_server {
  public:
    /// @param handler  not owned, must outlive this object
    http_server(http_options options, http_handler& handler);
    /// Stops the server.
    ~http_server();
    http_server(const http_server&) = delete;
    http_server& operator=(const http_server&) = delete;

    /// Listens and starts the thread. Call it once. The codes of failures are values of errno where
    /// the system refused something, as EADDRINUSE.
    dp_support::result<> start();

    /// The port on which it listens; valid after `start`.
    [[nodiscard]] std::uint16_t port() const;

    /// Uses another certificate for connections from now on. Not for plain HTTP. From any thread.
    dp_support::result<> use_certificate(const tls_certificate& certificate);

    /// Accepts no more connections, closes those without a request, waits for the running requests
    /// for `stop_time` at most, and ends the thread. Answers that come later are dropped.
    void stop();

  private:
    class running_server;
    std::unique_ptr<running_server> server_;
};

}  // namespace dp_redfish

#endif
