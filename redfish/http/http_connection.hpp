#ifndef DP_REDFISH_HTTP_HTTP_CONNECTION_HPP
#define DP_REDFISH_HTTP_HTTP_CONNECTION_HPP

#include <array>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/error_code.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include "redfish/http/gzip.hpp"
#include "redfish/http/http_message.hpp"
#include "redfish/http/refusal.hpp"
#include "redfish/http/request_reader.hpp"
#include "redfish/http/server_context.hpp"
#include "redfish/http/transport.hpp"

namespace dp_redfish {

/// An accepted connection: reads a request, has it answered, sends the answer, and reads the next.
/// In each state a deadline ends what the client or the handler does not. Its operations keep it
/// alive; it is used on the server's thread only.
class http_connection : public std::enable_shared_from_this<http_connection> {
  public:
    using clock = std::chrono::steady_clock;

    /// How easily the server may close it in favour of another.
    enum class uses : std::uint8_t {
        idle,       ///< waits for the next request
        beginning,  ///< has not sent a whole request
        busy,
    };

    http_connection(server_context& server, std::shared_ptr<server_entrance> entrance,
                    std::unique_ptr<transport> bytes, bool is_secure);
    ~http_connection();
    http_connection(const http_connection&) = delete;
    http_connection& operator=(const http_connection&) = delete;

    /// Begins to read requests. Call it once.
    void start();

    /// Begins, but answers 503 and closes, because the server has too many connections.
    void start_refused();

    [[nodiscard]] uses use() const;
    /// Since when it is used as it is.
    [[nodiscard]] clock::time_point since() const { return since_; }
    /// Whether it counts for the limit: it is open and was not started by `start_refused`.
    [[nodiscard]] bool is_counted() const { return !is_refused_ && state_ != states::closed; }

    /// Closes it at once.
    void close();

    /// Closes it now, or after the request that it is busy with.
    void finish();

  private:
    class answer_slot;
    class stream_end;

    enum class states : std::uint8_t {
        handshake,
        idle,
        header,
        body,
        answering,  // by the handler, or the answer is compressed
        sending,
        streaming,
        ending,  // after the last answer
        closed,
    };

    void enter(states state, std::chrono::milliseconds time);
    void set_deadline(std::chrono::milliseconds time);
    void on_deadline();
    void begin();
    void wait_for_request();
    void read();
    void advance();
    bool check_head();
    void continue_body();
    void hand_over();
    void answer(http_response response);
    void refuse(const refusal& why);
    void refuse_and_close(const refusal& why);
    void compress_next(std::size_t position);
    void send(std::shared_ptr<const std::string> body, bool is_gzip, bool varies);
    void send_next();
    void sent();
    void send_stream();
    void watch_stream();
    void drop_input(const boost::system::error_code& error, void (http_connection::*read_more)());
    void stream_piece(const std::string& piece);
    void end_stream();
    void flush_stream();
    void end();
    void discard();
    void log_answer(std::size_t size) const;

    [[nodiscard]] const http_limits& limits() const { return server_.options.limits; }

    server_context& server_;
    std::shared_ptr<server_entrance> entrance_;
    std::unique_ptr<transport> transport_;
    std::list<http_connection*>::iterator place_;
    request_reader reader_;
    boost::asio::steady_timer timer_;
    std::uint64_t deadline_ = 0;  // the number of the current one
    states state_ = states::handshake;
    clock::time_point since_ = clock::now();
    clock::time_point received_ = clock::now();  // when the current request was complete
    bool is_secure_;
    bool is_refused_ = false;
    bool is_first_ = true;  // no request was complete yet
    bool keeps_alive_ = true;
    bool is_chunked_ = true;  // a stream
    bool head_is_checked_ = false;
    std::string peer_;
    std::string local_address_;
    std::array<char, 8192> input_{};

    // Of the request that is answered.
    std::shared_ptr<const http_request> request_;
    std::uint64_t serial_ = 0;
    http_response response_;
    std::unique_ptr<gzip_encoder> encoder_;

    // What is sent.
    std::string head_;
    std::shared_ptr<const std::string> body_;
    std::size_t position_ = 0;  // in the body

    // A body that is sent piece by piece.
    std::weak_ptr<stream_end> stream_;
    std::string queued_;
    std::string in_flight_;
    bool stream_is_ending_ = false;
};

}  // namespace dp_redfish

#endif
