#include "redfish/http/http_server.hpp"

#include <algorithm>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#include "redfish/http/http_connection.hpp"
#include "redfish/http/server_context.hpp"
#include "redfish/http/transport.hpp"

namespace dp_redfish {
namespace {

namespace asio = boost::asio;
using boost::system::error_code;
using dp_support::failure;
using dp_support::result;
using std::chrono::milliseconds;

// Beyond the limit, so that some of those who come too late learn why.
constexpr std::size_t most_refused = 16;
// Before a client that has begun, but not completed its request, is taken for a slow one.
constexpr milliseconds least_time_to_begin{1000};
// After the system has refused to accept a connection, as without descriptors.
constexpr milliseconds pause_after_failure{100};

using shared_tls = std::shared_ptr<asio::ssl::context>;

result<shared_tls> make_tls(const tls_certificate& certificate) {
    auto tls = std::make_shared<asio::ssl::context>(asio::ssl::context::tls_server);
    if (const auto installed = certificate.install(*tls->native_handle()); !installed) {
        return installed.error();
    }
    return tls;
}

}  // namespace

class http_server::running_server {
  public:
    running_server(http_options options, http_handler& handler)
        : context_(std::move(options), handler),
          entrance_(std::make_shared<server_entrance>(context_)),
          acceptor_(context_.io),
          accept_pause_(context_.io),
          stop_timer_(context_.io) {}

    ~running_server() {
        stop();
        // The handler may keep a way to answer.
        entrance_->close();
    }
    running_server(const running_server&) = delete;
    running_server& operator=(const running_server&) = delete;

    result<> start() {
        error_code error;
        const auto address = asio::ip::make_address(options().address, error);
        if (error) {
            return failure{"'" + options().address + "' is not an IP address"};
        }
        if (options().certificate == nullptr && !address.is_loopback()) {
            return failure{"without TLS only loopback addresses are served, not " +
                           options().address};
        }
        if (options().certificate != nullptr) {
            if (auto used = use_certificate(*options().certificate); !used) {
                return used;
            }
        }
        const asio::ip::tcp::endpoint endpoint(address, options().port);
        acceptor_.open(endpoint.protocol(), error);
        if (!error) {
            acceptor_.set_option(asio::ip::tcp::acceptor::reuse_address(true), error);
        }
        if (!error) {
            acceptor_.bind(endpoint, error);
        }
        if (!error) {
            acceptor_.listen(asio::socket_base::max_listen_connections, error);
        }
        if (error) {
            return failure{"cannot listen on " + options().address + " port " +
                               std::to_string(options().port) + ": " + error.message(),
                           error.value()};
        }
        port_ = acceptor_.local_endpoint(error).port();
        accept();
        thread_ = std::thread([this] { run(); });
        return {};
    }

    [[nodiscard]] std::uint16_t port() const { return port_; }

    result<> use_certificate(const tls_certificate& certificate) {
        if (options().certificate == nullptr) {
            return failure{"the server does not use TLS"};
        }
        auto made = make_tls(certificate);
        if (!made) {
            return made.error();
        }
        const std::lock_guard<std::mutex> guard(tls_mutex_);
        tls_ = *std::move(made);
        return {};
    }

    void stop() {
        if (!thread_.joinable()) {
            return;
        }
        entrance_->post([this](server_context& /*server*/) { begin_to_stop(); });
        thread_.join();
    }

  private:
    [[nodiscard]] const http_options& options() const { return context_.options; }

    [[nodiscard]] shared_tls current_tls() {
        const std::lock_guard<std::mutex> guard(tls_mutex_);
        return tls_;
    }

    void run() {
        for (;;) {
            try {
                context_.io.run();
                return;
            } catch (const std::exception& problem) {
                // As when memory runs out. The connection whose operation it was is closed.
                context_.log(std::string("a connection failed: ") + problem.what());
            }
        }
    }

    void accept() {
        acceptor_.async_accept([this](const error_code& error, asio::ip::tcp::socket socket) {
            if (context_.is_stopping) {
                return;
            }
            if (error && error != asio::error::connection_aborted) {
                on_accept_failure(error);
                return;
            }
            if (!error) {
                add_guarded(std::move(socket));
            }
            accept();
        });
    }

    // What one connection throws must not keep the next ones from being accepted.
    void add_guarded(asio::ip::tcp::socket socket) {
        try {
            add(std::move(socket));
        } catch (const std::exception& problem) {  // as when memory runs out
            context_.log(std::string("cannot serve a connection: ") + problem.what());
        }
    }

    // Without descriptors the connection remains in the queue; another that ends gives one back.
    void on_accept_failure(const error_code& error) {
        context_.log("cannot accept a connection: " + error.message());
        close_least_needed();
        accept_pause_.expires_after(pause_after_failure);
        accept_pause_.async_wait([this](const error_code& cancelled) {
            if (!cancelled && !context_.is_stopping) {
                accept();
            }
        });
    }

    void add(asio::ip::tcp::socket socket) {
        error_code ignored;
        socket.set_option(asio::ip::tcp::no_delay(true), ignored);
        bool is_refused = false;
        if (count_served() >= options().limits.connections && !close_least_needed()) {
            is_refused = context_.connections.size() < options().limits.connections + most_refused;
            if (!is_refused) {
                return;
            }
        }
        const shared_tls tls = current_tls();
        auto bytes = tls ? make_tls_transport(std::move(socket), *tls)
                         : make_plain_transport(std::move(socket));
        const auto connection = std::make_shared<http_connection>(context_, entrance_,
                                                                  std::move(bytes), tls != nullptr);
        if (is_refused) {
            connection->start_refused();
        } else {
            connection->start();
        }
    }

    [[nodiscard]] std::size_t count_served() const {
        return static_cast<std::size_t>(
            std::count_if(context_.connections.begin(), context_.connections.end(),
                          [](const http_connection* each) { return each->is_counted(); }));
    }

    // Closes the connection that is needed least. False: all are needed.
    bool close_least_needed() {
        const auto is_older = [](const http_connection* a, const http_connection* b) {
            return b == nullptr || a->since() < b->since();
        };
        const auto latest_begin = http_connection::clock::now() - least_time_to_begin;
        http_connection* idle = nullptr;
        http_connection* slow = nullptr;
        for (http_connection* const each : context_.connections) {
            const auto use = each->use();
            if (!each->is_counted()) {
                continue;
            }
            if (use == http_connection::uses::idle && is_older(each, idle)) {
                idle = each;
            } else if (use == http_connection::uses::beginning && each->since() < latest_begin &&
                       is_older(each, slow)) {
                slow = each;
            }
        }
        http_connection* const chosen = idle != nullptr ? idle : slow;
        if (chosen == nullptr) {
            return false;
        }
        chosen->close();
        return true;
    }

    void begin_to_stop() {
        context_.is_stopping = true;
        error_code ignored;
        acceptor_.close(ignored);
        accept_pause_.cancel();
        // Connections leave the list when their operations have ended, later.
        for (http_connection* const each : context_.connections) {
            each->finish();
        }
        wait_for_connections(http_connection::clock::now() + options().limits.stop_time);
    }

    // The timer must not keep the thread when no connection does.
    void wait_for_connections(http_connection::clock::time_point end) {
        constexpr milliseconds step{10};
        if (context_.connections.empty()) {
            return;
        }
        if (http_connection::clock::now() >= end) {
            for (http_connection* const each : context_.connections) {
                each->close();
            }
            return;
        }
        stop_timer_.expires_after(step);
        stop_timer_.async_wait(
            [this, end](const error_code& /*error*/) { wait_for_connections(end); });
    }

    // Before the context, which outlives the connections that use it.
    std::mutex tls_mutex_;
    shared_tls tls_;  // null: plain HTTP
    server_context context_;
    std::shared_ptr<server_entrance> entrance_;
    asio::ip::tcp::acceptor acceptor_;
    asio::steady_timer accept_pause_;
    asio::steady_timer stop_timer_;
    std::uint16_t port_ = 0;
    std::thread thread_;
};

http_server::http_server(http_options options, http_handler& handler)
    : server_(std::make_unique<running_server>(std::move(options), handler)) {}

http_server::~http_server() = default;

result<> http_server::start() {
    return server_->start();
}

std::uint16_t http_server::port() const {
    return server_->port();
}

result<> http_server::use_certificate(const tls_certificate& certificate) {
    return server_->use_certificate(certificate);
}

void http_server::stop() {
    server_->stop();
}

}  // namespace dp_redfish
