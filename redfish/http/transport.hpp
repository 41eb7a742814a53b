#ifndef DP_REDFISH_HTTP_TRANSPORT_HPP
#define DP_REDFISH_HTTP_TRANSPORT_HPP

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/system/error_code.hpp>
#include <cstddef>
#include <functional>
#include <memory>

namespace dp_redfish {

/// The bytes of an accepted TCP connection, with TLS or without. Of the operations one to read and
/// one to write may run at a time; their functions are called on the server's thread.
class transport {
  public:
    using error_code = boost::system::error_code;
    using on_end = std::function<void(const error_code&)>;
    using on_bytes = std::function<void(const error_code&, std::size_t)>;
    using socket_type = boost::asio::ip::tcp::socket;

    virtual ~transport() = default;

    /// Begins the connection, first.
    virtual void handshake(on_end done) = 0;
    /// Reads at least one byte.
    virtual void read_some(boost::asio::mutable_buffer where, on_bytes done) = 0;
    /// Writes all.
    virtual void write(std::array<boost::asio::const_buffer, 2> what, on_bytes done) = 0;
    /// Sends the end of the connection, after the last write.
    virtual void end(on_end done) = 0;

    virtual socket_type& socket() = 0;
};

std::unique_ptr<transport> make_plain_transport(transport::socket_type socket);
std::unique_ptr<transport> make_tls_transport(transport::socket_type socket,
                                              boost::asio::ssl::context& context);

}  // namespace dp_redfish

#endif
