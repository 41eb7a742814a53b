#ifndef DP_TESTS_UNIT_REDFISH_HTTP_RAW_CLIENT_HPP
#define DP_TESTS_UNIT_REDFISH_HTTP_RAW_CLIENT_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "redfish/http/http_message.hpp"
#include "support/file_descriptor.hpp"

// Of OpenSSL.
struct ssl_st;
struct ssl_ctx_st;

namespace test {

/// An answer as it was received, after its chunks were joined.
struct raw_answer {
    unsigned status = 0;  ///< 0: the connection was closed before the answer was complete
    dp_redfish::header_fields headers;
    std::string body;
};

/// A client that sends any bytes to 127.0.0.1, with TLS or without. Waits at most as long as
/// `test::patience`.
class raw_client {
  public:
    enum class protocols : std::uint8_t { plain, tls };

    /// Throws std::runtime_error when it cannot connect. A failed handshake is no exception: then
    /// `is_open` is false.
    explicit raw_client(std::uint16_t port, protocols protocol = protocols::plain,
                        int highest_tls_version = 0);
    ~raw_client();
    raw_client(const raw_client&) = delete;
    raw_client& operator=(const raw_client&) = delete;

    [[nodiscard]] bool is_open() const { return is_open_; }

    /// Sends all bytes; false when the server has closed the connection.
    bool send(std::string_view bytes);
    /// Sends the end of the connection's bytes.
    void end_sending();

    /// The next answer; that to HEAD has no body.
    raw_answer receive(bool to_head = false);
    /// `send` and `receive`.
    raw_answer ask(std::string_view request);

    /// The next `count` bytes, fewer if the server closes the connection.
    std::string receive_bytes(std::size_t count);
    /// All bytes until the server closes the connection.
    std::string receive_all();
    /// Whether the server closes the connection before it sends anything more.
    bool is_closed();

    /// The version of TLS: "TLSv1.3".
    [[nodiscard]] std::string tls_version() const;
    /// The SHA-256 of the server's certificate, as bytes.
    [[nodiscard]] std::string certificate_hash() const;

  private:
    bool fill();

    dp_support::file_descriptor socket_;
    std::unique_ptr<ssl_ctx_st, void (*)(ssl_ctx_st*)> context_;
    std::unique_ptr<ssl_st, void (*)(ssl_st*)> tls_;
    std::string received_;
    bool is_open_ = true;
};

/// "GET PATH HTTP/1.1" with the field Host and these lines.
std::string get_request(const std::string& path, const std::string& more_lines = "");

/// A request with a body and its length.
std::string body_request(const std::string& method, const std::string& path,
                         const std::string& body, const std::string& more_lines = "");

}  // namespace test

#endif
