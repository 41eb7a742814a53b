#ifndef DP_REDFISH_HTTP_REQUEST_READER_HPP
#define DP_REDFISH_HTTP_REQUEST_READER_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "redfish/http/http_limits.hpp"
#include "redfish/http/http_message.hpp"
#include "redfish/http/refusal.hpp"

namespace dp_redfish {

/// Reads the requests of a connection from the bytes that it receives, and refuses those that are
/// malformed, ambiguous or larger than the limits. Knows nothing of sockets and time.
class request_reader {
  public:
    /// What is known of the current request.
    enum class states : std::uint8_t {
        header,    ///< its header is not complete
        body,      ///< `head` is complete, its body is not
        complete,  ///< `take` returns it
        refused,   ///< `why` says why. Final: where the next request begins is not known.
    };

    explicit request_reader(const http_limits& limits);
    ~request_reader();
    request_reader(const request_reader&) = delete;
    request_reader& operator=(const request_reader&) = delete;

    /// Takes over received bytes, also those of later requests.
    states append(std::string_view bytes);

    [[nodiscard]] states state() const;

    /// Whether a byte of the current request was received.
    [[nodiscard]] bool has_begun() const;

    /// All but the body; in the states `body` and `complete`. The server fills `peer` and
    /// `is_secure`. Valid until `take`.
    [[nodiscard]] http_request& head();

    /// The host that the request is for: that of its target, otherwise the field Host. As `head`.
    [[nodiscard]] const std::string& authority() const;

    /// Whether the client sends the body only after "100 Continue"; in the state `body`.
    [[nodiscard]] bool waits_to_continue() const;

    /// Whether the connection can be used again after the answer; in the state `complete`.
    [[nodiscard]] bool keeps_alive() const;

    /// Whether the request has version 1.0 of the protocol; in the states `body` and `complete`.
    [[nodiscard]] bool is_http_1_0() const;

    /// The request with its body; in the state `complete`.
    std::shared_ptr<const http_request> take();

    /// Why it is refused; in the state `refused`.
    [[nodiscard]] const refusal& why() const;

    /// Goes on with the next request, whose bytes may already be here; in the state `complete`,
    /// after `take`.
    states next();

  private:
    class parser_state;
    std::unique_ptr<parser_state> state_;
};

}  // namespace dp_redfish

#endif
