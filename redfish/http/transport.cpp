#include "redfish/http/transport.hpp"

#include <boost/asio/post.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <utility>

namespace dp_redfish {
namespace {

class plain_transport : public transport {
  public:
    explicit plain_transport(socket_type socket) : socket_(std::move(socket)) {}

    void handshake(on_end done) override {
        boost::asio::post(socket_.get_executor(), [done = std::move(done)] { done({}); });
    }
    void read_some(boost::asio::mutable_buffer where, on_bytes done) override {
        socket_.async_read_some(where, std::move(done));
    }
    void write(std::array<boost::asio::const_buffer, 2> what, on_bytes done) override {
        boost::asio::async_write(socket_, what, std::move(done));
    }
    void end(on_end done) override {
        error_code error;
        socket_.shutdown(socket_type::shutdown_send, error);
        boost::asio::post(socket_.get_executor(), [done = std::move(done), error] { done(error); });
    }
    socket_type& socket() override { return socket_; }

  private:
    socket_type socket_;
};

class tls_transport : public transport {
  public:
    tls_transport(socket_type socket, boost::asio::ssl::context& context)
        : stream_(std::move(socket), context) {}

    void handshake(on_end done) override {
        stream_.async_handshake(boost::asio::ssl::stream_base::server, std::move(done));
    }
    void read_some(boost::asio::mutable_buffer where, on_bytes done) override {
        stream_.async_read_some(where, std::move(done));
    }
    void write(std::array<boost::asio::const_buffer, 2> what, on_bytes done) override {
        boost::asio::async_write(stream_, what, std::move(done));
    }
    void end(on_end done) override {
        stream_.async_shutdown([this, done = std::move(done)](const error_code& error) {
            error_code ignored;
            socket().shutdown(socket_type::shutdown_send, ignored);
            done(error);
        });
    }
    socket_type& socket() override { return stream_.next_layer(); }

  private:
    boost::asio::ssl::stream<socket_type> stream_;
};

}  // namespace

std::unique_ptr<transport> make_plain_transport(transport::socket_type socket) {
    return std::make_unique<plain_transport>(std::move(socket));
}

std::unique_ptr<transport> make_tls_transport(transport::socket_type socket,
                                              boost::asio::ssl::context& context) {
    return std::make_unique<tls_transport>(std::move(socket), context);
}

}  // namespace dp_redfish
