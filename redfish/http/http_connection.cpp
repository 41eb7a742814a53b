#include "redfish/http/http_connection.hpp"

#include <algorithm>
#include <atomic>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/error_code.hpp>
#include <cstring>
#include <ctime>
#include <exception>
#include <functional>
#include <string_view>
#include <utility>

#include "redfish/http/response_head.hpp"
#include "support/ascii_case.hpp"
#include "support/wiped_memory.hpp"

namespace dp_redfish {
namespace {

using boost::system::error_code;

// Shorter bodies fit into the packet that is sent anyway.
constexpr std::size_t least_compressed = 1024;
constexpr std::size_t compressed_at_a_time = 131072;
constexpr std::size_t sent_at_a_time = 65536;
// Of a stream whose client reads too slowly.
constexpr std::size_t most_queued = std::size_t{1} << 20U;
constexpr std::size_t longest_logged_path = 256;

// RFC 9110 has the client wait for it before it sends the body.
constexpr std::string_view continue_line = "HTTP/1.1 100 Continue\r\n\r\n";

bool has_no_body(unsigned status) {
    return status < 200 || status == 204 || status == 304;
}

bool is_compressible(const header_fields& headers) {
    const auto type = headers.find("Content-Type");
    return headers.find("Content-Encoding") == headers.end() &&
           (type == headers.end() || dp_support::lower_case(type->second).rfind("image/", 0) != 0);
}

std::string chunk_of(std::string_view piece) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string size;
    for (std::size_t rest = piece.size(); rest > 0; rest /= digits.size()) {
        size.insert(size.begin(), digits[rest % digits.size()]);
    }
    return size + "\r\n" + std::string(piece) + "\r\n";
}

http_response refusal_response(const http_options& options, const refusal& why) {
    http_response response;
    response.status = why.status;
    response.headers["OData-Version"] = "4.0";
    if (why.status == 503) {
        response.headers["Retry-After"] = "1";
    }
    if (options.error_text) {
        response.headers["Content-Type"] = "application/json";
        response.body =
            std::make_shared<const std::string>(options.error_text(why.status, why.reason));
    }
    return response;
}

std::string address_text(const boost::asio::ip::tcp::endpoint& endpoint) {
    const auto address = endpoint.address();
    // As an IPv6 socket sees clients with IPv4.
    if (address.is_v6() && address.to_v6().is_v4_mapped()) {
        return boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, address.to_v6())
            .to_string();
    }
    return address.to_string();
}

}  // namespace

// The promise to answer a request, which the handler keeps until it has done so.
class http_connection::answer_slot {
  public:
    answer_slot(std::shared_ptr<server_entrance> entrance, std::weak_ptr<http_connection> owner,
                std::uint64_t serial)
        : entrance_(std::move(entrance)), owner_(std::move(owner)), serial_(serial) {}
    ~answer_slot() { respond(std::nullopt); }
    answer_slot(const answer_slot&) = delete;
    answer_slot& operator=(const answer_slot&) = delete;

    // Without a response the request is answered with an error. Only the first call counts.
    void respond(std::optional<http_response> response) {
        if (is_answered_.exchange(true)) {
            return;
        }
        entrance_->post([owner = owner_, serial = serial_,
                         response = std::move(response)](server_context& server) mutable {
            --server.running_requests;
            const auto connection = owner.lock();
            if (connection == nullptr || connection->serial_ != serial ||
                connection->state_ != states::answering) {
                return;
            }
            if (response) {
                connection->answer(*std::move(response));
            } else {
                connection->refuse({500, "The request was not answered."});
            }
        });
    }

  private:
    std::shared_ptr<server_entrance> entrance_;
    std::weak_ptr<http_connection> owner_;
    std::uint64_t serial_;
    std::atomic<bool> is_answered_ = false;
};

// The handler's end of a body that is sent piece by piece.
class http_connection::stream_end : public body_stream {
  public:
    stream_end(std::shared_ptr<server_entrance> entrance, std::weak_ptr<http_connection> owner)
        : entrance_(std::move(entrance)), owner_(std::move(owner)) {}
    ~stream_end() override { stream_end::end(); }
    stream_end(const stream_end&) = delete;
    stream_end& operator=(const stream_end&) = delete;

    bool write(std::string piece) override {
        return is_open_ && entrance_->post([owner = owner_,
                                            piece = std::move(piece)](server_context& /*server*/) {
            if (const auto connection = owner.lock()) {
                connection->stream_piece(piece);
            }
        });
    }

    void end() override {
        if (!is_open_.exchange(false)) {
            return;
        }
        entrance_->post([owner = owner_](server_context& /*server*/) {
            if (const auto connection = owner.lock()) {
                connection->end_stream();
            }
        });
    }

    void on_close(std::function<void()> closed) override { closed_ = std::move(closed); }

    // The connection is closed.
    void break_off() {
        is_open_ = false;
        if (const auto closed = std::exchange(closed_, nullptr)) {
            closed();
        }
    }

  private:
    std::shared_ptr<server_entrance> entrance_;
    std::weak_ptr<http_connection> owner_;
    std::atomic<bool> is_open_ = true;
    std::function<void()> closed_;  // used on the server's thread
};

http_connection::http_connection(server_context& server, std::shared_ptr<server_entrance> entrance,
                                 std::unique_ptr<transport> bytes, bool is_secure)
    : server_(server),
      entrance_(std::move(entrance)),
      transport_(std::move(bytes)),
      place_(server.connections.insert(server.connections.end(), this)),
      reader_(server.options.limits),
      timer_(server.io),
      is_secure_(is_secure) {
    error_code error;
    peer_ = address_text(transport_->socket().remote_endpoint(error));
    local_address_ = address_text(transport_->socket().local_endpoint(error));
}

http_connection::~http_connection() {
    server_.connections.erase(place_);
}

void http_connection::start() {
    enter(states::handshake, limits().handshake_time);
    transport_->handshake([self = shared_from_this()](const error_code& error) {
        if (self->state_ == states::closed) {
            return;
        }
        if (error) {
            self->server_.log(self->peer_ + " no TLS: " + error.message());
            self->close();
            return;
        }
        self->begin();
    });
}

void http_connection::start_refused() {
    is_refused_ = true;
    start();
}

http_connection::uses http_connection::use() const {
    switch (state_) {
        case states::idle:
            return is_first_ ? uses::beginning : uses::idle;
        case states::handshake:
        case states::header:
        case states::body:
        case states::ending:
            return uses::beginning;
        default:
            return uses::busy;
    }
}

void http_connection::close() {
    if (state_ == states::closed) {
        return;
    }
    state_ = states::closed;
    if (const auto stream = stream_.lock()) {
        stream->break_off();
    }
    timer_.cancel();
    error_code ignored;
    transport_->socket().close(ignored);
}

void http_connection::finish() {
    keeps_alive_ = false;
    switch (state_) {
        case states::answering:
        case states::sending:
        case states::ending:
            return;
        case states::streaming:
            end_stream();
            return;
        default:
            close();
    }
}

void http_connection::enter(states state, std::chrono::milliseconds time) {
    state_ = state;
    since_ = clock::now();
    set_deadline(time);
}

void http_connection::set_deadline(std::chrono::milliseconds time) {
    timer_.expires_after(time);
    timer_.async_wait([self = shared_from_this(), number = ++deadline_](const error_code& error) {
        // A timer that has expired already cannot be cancelled.
        if (!error && number == self->deadline_ && self->state_ != states::closed) {
            self->on_deadline();
        }
    });
}

void http_connection::on_deadline() {
    switch (state_) {
        case states::header:
        case states::body:
            refuse_and_close({408, "The request was not complete in time."});
            return;
        case states::answering:
            // Its answer is dropped when it comes.
            ++serial_;
            encoder_.reset();
            refuse_and_close({503, "The request was not answered in time."});
            return;
        case states::sending:
        case states::streaming:
            server_.log(peer_ + " reads too slowly");
            close();
            return;
        default:
            close();
    }
}

void http_connection::begin() {
    if (is_refused_) {
        refuse_and_close({503, "The server has too many connections."});
        return;
    }
    wait_for_request();
}

void http_connection::wait_for_request() {
    head_is_checked_ = false;
    enter(states::idle, is_first_ ? limits().header_time : limits().idle_time);
    // Its bytes may be here already.
    advance();
}

void http_connection::read() {
    transport_->read_some(boost::asio::buffer(input_),
                          [self = shared_from_this()](const error_code& error, std::size_t count) {
                              // The deadline may have come first.
                              const bool is_reading = self->state_ == states::idle ||
                                                      self->state_ == states::header ||
                                                      self->state_ == states::body;
                              if (!is_reading) {
                                  return;
                              }
                              if (error) {
                                  self->close();
                                  return;
                              }
                              self->reader_.append(std::string_view(self->input_.data(), count));
                              explicit_bzero(self->input_.data(), count);
                              self->advance();
                          });
}

// Does what the bytes that were received so far allow.
void http_connection::advance() {
    switch (reader_.state()) {
        case request_reader::states::header:
            if (state_ == states::idle && reader_.has_begun()) {
                enter(states::header, limits().header_time);
            }
            read();
            return;
        case request_reader::states::body:
            if (state_ == states::body) {
                read();
            } else if (check_head()) {
                continue_body();
            }
            return;
        case request_reader::states::complete:
            if (check_head()) {
                hand_over();
            }
            return;
        case request_reader::states::refused:
            refuse_and_close(reader_.why());
            return;
    }
}

// False: the request is refused.
bool http_connection::check_head() {
    if (head_is_checked_) {
        return true;
    }
    head_is_checked_ = true;
    http_request& head = reader_.head();
    head.peer = peer_;
    head.is_secure = is_secure_;
    const auto problem = server_.rules.check(head, reader_.authority(), local_address_);
    if (problem) {
        refuse_and_close(*problem);
    }
    return !problem;
}

void http_connection::continue_body() {
    enter(states::body, limits().body_time);
    if (!reader_.waits_to_continue()) {
        read();
        return;
    }
    transport_->write({boost::asio::buffer(continue_line), boost::asio::const_buffer()},
                      [self = shared_from_this()](const error_code& error, std::size_t /*count*/) {
                          if (self->state_ != states::body) {
                              return;
                          }
                          if (error) {
                              self->close();
                              return;
                          }
                          self->read();
                      });
}

void http_connection::hand_over() {
    is_first_ = false;
    received_ = clock::now();
    keeps_alive_ = reader_.keeps_alive() && !server_.is_stopping;
    request_ = reader_.take();
    if (server_.running_requests >= limits().requests) {
        refuse({503, "The server is busy with other requests."});
        return;
    }
    ++serial_;
    enter(states::answering, limits().answer_time);
    const auto slot = std::make_shared<answer_slot>(entrance_, weak_from_this(), serial_);
    // From now on the slot takes it back.
    ++server_.running_requests;
    try {
        server_.handler.handle(
            request_, [slot](http_response response) { slot->respond(std::move(response)); });
    } catch (const std::exception& problem) {
        server_.log(peer_ + " the request failed: " + problem.what());
        slot->respond(std::nullopt);
    }
}

void http_connection::answer(http_response response) {
    response_ = std::move(response);
    if (response_.start_stream && request_->method != "HEAD") {
        send_stream();
        return;
    }
    const auto& body = response_.body;
    const bool varies = body && body->size() >= least_compressed &&
                        !has_no_body(response_.status) && is_compressible(response_.headers);
    // The length of a compressed body is not known before it is compressed.
    if (!varies || request_->method == "HEAD" ||
        !accepts_gzip(request_->header("Accept-Encoding"))) {
        send(body, false, varies);
        return;
    }
    if (const auto compressed = server_.compressed.find(body)) {
        send(compressed, true, true);
        return;
    }
    encoder_ = std::make_unique<gzip_encoder>();
    compress_next(0);
}

// Other connections have their turn between the pieces of a large body.
void http_connection::compress_next(std::size_t position) {
    if (state_ != states::answering || encoder_ == nullptr) {
        return;
    }
    const std::string_view rest = std::string_view(*response_.body).substr(position);
    encoder_->append(rest.substr(0, compressed_at_a_time));
    if (rest.size() > compressed_at_a_time) {
        boost::asio::post(server_.io, [self = shared_from_this(), position, serial = serial_] {
            if (self->serial_ == serial) {
                self->compress_next(position + compressed_at_a_time);
            }
        });
        return;
    }
    const auto compressed = std::make_shared<const std::string>(encoder_->finish());
    encoder_.reset();
    server_.compressed.add(response_.body, compressed);
    send(compressed, true, true);
}

void http_connection::refuse(const refusal& why) {
    response_ = refusal_response(server_.options, why);
    send(response_.body, false, false);
}

void http_connection::refuse_and_close(const refusal& why) {
    keeps_alive_ = false;
    refuse(why);
}

void http_connection::send(std::shared_ptr<const std::string> body, bool is_gzip, bool varies) {
    keeps_alive_ = keeps_alive_ && !server_.is_stopping;
    response_framing framing;
    if (!has_no_body(response_.status)) {
        framing.length = body ? body->size() : 0;
    }
    framing.is_gzip = is_gzip;
    framing.varies = varies;
    framing.is_secure = is_secure_;
    framing.keeps_alive = keeps_alive_;
    framing.now = std::time(nullptr);
    head_ = response_head(response_, framing);
    const bool is_sent =
        body && !has_no_body(response_.status) && !(request_ && request_->method == "HEAD");
    body_ = is_sent ? std::move(body) : nullptr;
    position_ = 0;
    enter(states::sending, limits().send_time);
    send_next();
}

void http_connection::send_next() {
    const std::string_view rest =
        body_ ? std::string_view(*body_).substr(position_) : std::string_view();
    const std::string_view piece = rest.substr(0, sent_at_a_time);
    if (head_.empty() && piece.empty()) {
        sent();
        return;
    }
    set_deadline(limits().send_time);
    transport_->write({boost::asio::buffer(head_), boost::asio::buffer(piece)},
                      [self = shared_from_this(), size = piece.size()](const error_code& error,
                                                                       std::size_t /*count*/) {
                          if (self->state_ != states::sending) {
                              return;
                          }
                          if (error) {
                              self->close();
                              return;
                          }
                          // It may have a token.
                          dp_support::wipe(self->head_);
                          self->position_ += size;
                          self->send_next();
                      });
}

void http_connection::sent() {
    log_answer(position_);
    for (auto& [name, value] : response_.headers) {
        dp_support::wipe(value);
    }
    response_ = {};
    body_.reset();
    request_.reset();
    if (!keeps_alive_) {
        end();
        return;
    }
    reader_.next();
    wait_for_request();
}

// The connection is used for nothing else afterwards.
void http_connection::send_stream() {
    keeps_alive_ = false;
    is_chunked_ = !reader_.is_http_1_0();
    response_framing framing;
    framing.is_chunked = is_chunked_;
    framing.is_secure = is_secure_;
    framing.keeps_alive = false;
    framing.now = std::time(nullptr);
    queued_ = response_head(response_, framing);
    enter(states::streaming, limits().send_time);
    log_answer(0);
    const auto start = std::move(response_.start_stream);
    response_ = {};
    auto stream = std::make_shared<stream_end>(entrance_, weak_from_this());
    stream_ = stream;
    flush_stream();
    watch_stream();
    start(std::move(stream));
}

// Notices that the client is gone. What it sends is dropped.
void http_connection::watch_stream() {
    transport_->read_some(
        boost::asio::buffer(input_),
        [self = shared_from_this()](const error_code& error, std::size_t /*count*/) {
            self->drop_input(error, &http_connection::watch_stream);
        });
}

// Drops what was read; `read_more` reads on, unless the client is gone.
void http_connection::drop_input(const error_code& error, void (http_connection::*read_more)()) {
    if (state_ == states::closed) {
        return;
    }
    if (error) {
        close();
        return;
    }
    (this->*read_more)();
}

void http_connection::stream_piece(const std::string& piece) {
    if (state_ != states::streaming || stream_is_ending_ || piece.empty()) {
        return;
    }
    queued_ += is_chunked_ ? chunk_of(piece) : piece;
    if (queued_.size() > most_queued) {
        server_.log(peer_ + " reads too slowly");
        close();
        return;
    }
    flush_stream();
}

void http_connection::end_stream() {
    if (state_ != states::streaming || stream_is_ending_) {
        return;
    }
    stream_is_ending_ = true;
    if (is_chunked_) {
        queued_ += "0\r\n\r\n";
    }
    flush_stream();
}

void http_connection::flush_stream() {
    if (!in_flight_.empty()) {
        return;
    }
    if (queued_.empty()) {
        // Nothing to send is no reason to close.
        ++deadline_;
        timer_.cancel();
        if (stream_is_ending_) {
            // `watch_stream` reads on, and closes.
            enter(states::ending, limits().end_time);
            error_code ignored;
            transport_->socket().shutdown(transport::socket_type::shutdown_send, ignored);
        }
        return;
    }
    in_flight_.swap(queued_);
    set_deadline(limits().send_time);
    transport_->write({boost::asio::buffer(in_flight_), boost::asio::const_buffer()},
                      [self = shared_from_this()](const error_code& error, std::size_t /*count*/) {
                          if (self->state_ != states::streaming) {
                              return;
                          }
                          if (error) {
                              self->close();
                              return;
                          }
                          self->in_flight_.clear();
                          self->flush_stream();
                      });
}

// Closes only when the client has closed too: unread bytes would make the system drop the answer.
void http_connection::end() {
    enter(states::ending, limits().end_time);
    transport_->end([self = shared_from_this()](const error_code& /*error*/) {
        if (self->state_ != states::closed) {
            self->discard();
        }
    });
}

void http_connection::discard() {
    transport_->socket().async_read_some(
        boost::asio::buffer(input_),
        [self = shared_from_this()](const error_code& error, std::size_t /*count*/) {
            self->drop_input(error, &http_connection::discard);
        });
}

void http_connection::log_answer(std::size_t size) const {
    if (!server_.options.log) {
        return;
    }
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;
    const std::string request =
        request_ ? request_->method + " " + request_->path.substr(0, longest_logged_path) : "-";
    const auto time = request_ ? duration_cast<milliseconds>(clock::now() - received_).count() : 0;
    server_.log(peer_ + " " + request + " " + std::to_string(response_.status) + ", " +
                std::to_string(size) + " bytes, " + std::to_string(time) + " ms");
}

}  // namespace dp_redfish
