#ifndef DP_REDFISH_HTTP_HTTP_LIMITS_HPP
#define DP_REDFISH_HTTP_HTTP_LIMITS_HPP

#include <chrono>
#include <cstddef>

namespace dp_redfish {

/// What a client may use of the server. Sizes are in bytes.
struct http_limits {
    std::size_t target = 8192;   ///< the request's target, as it was sent: 414
    std::size_t header = 16384;  ///< the request line and all fields: 431. Not less than 4096.
    std::size_t fields = 100;    ///< the number of header fields: 431
    std::size_t body = 4194304;  ///< after the chunks are joined: 413
    /// All connections. One more closes the connection that waits longest for its next request. If
    /// none does, the oldest that has not sent a whole request within a second. Otherwise it gets
    /// 503 with Retry-After and is closed.
    std::size_t connections = 256;
    std::size_t requests = 128;  ///< that the handler has not answered yet: 503 with Retry-After

    std::chrono::milliseconds handshake_time{10'000};  ///< of TLS; closed
    /// From the first byte of a request, or from the begin of the connection, to the end of the
    /// header: 408, or closed if nothing was received.
    std::chrono::milliseconds header_time{10'000};
    std::chrono::milliseconds body_time{60'000};     ///< for the whole body: 408
    std::chrono::milliseconds idle_time{60'000};     ///< between two requests; closed
    std::chrono::milliseconds answer_time{300'000};  ///< for the handler: 503 with Retry-After
    /// For each piece of 64 KiB of an answer to be taken by the client; closed. A client that reads
    /// less than about 2 KiB a second is too slow.
    std::chrono::milliseconds send_time{30'000};
    std::chrono::milliseconds end_time{2'000};   ///< for the client to close after a last answer
    std::chrono::milliseconds stop_time{5'000};  ///< for running requests when the server stops
};

}  // namespace dp_redfish

#endif
