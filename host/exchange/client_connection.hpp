#ifndef DP_HOST_EXCHANGE_CLIENT_CONNECTION_HPP
#define DP_HOST_EXCHANGE_CLIENT_CONNECTION_HPP

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "host/exchange/peer.hpp"
#include "service_api/request_protocol.hpp"
#include "support/file_descriptor.hpp"

namespace dp_host {

/// One client of the request socket: receives its request, and sends it messages and the answer.
/// Nothing here waits. `dp_service::request_protocol` describes the exchange.
class client_connection {
  public:
    using clock = std::chrono::steady_clock;

    enum class states : std::uint8_t {
        receiving,  ///< the request is not complete
        waiting,    ///< complete; other requests are ahead
        offered,    ///< it was told that it is its turn; its "go" is missing
        started,    ///< its request is to be executed, or is being executed
        answering,  ///< the last message is being sent
        closed,     ///< to be forgotten
    };

    /// A request must be complete this long after its client connected, "go" must follow "ready",
    /// and a client that reads nothing of its answer for this long is given up.
    static constexpr std::chrono::seconds receive_timeout{10};
    static constexpr std::chrono::seconds go_timeout{1};
    static constexpr std::chrono::seconds send_timeout{10};

    client_connection(dp_support::file_descriptor socket, peer client, clock::time_point now);

    [[nodiscard]] int descriptor() const { return socket_.get(); }
    [[nodiscard]] states state() const { return state_; }
    [[nodiscard]] const peer& client() const { return client_; }

    /// Who made the request, one word for history and log: the client, and for whom it says that it
    /// acts.
    [[nodiscard]] std::string requester() const { return client_.str(header_.on_behalf_of); }

    /// The events to wait for, and when `handle` is to be called without any.
    [[nodiscard]] short interest() const;
    [[nodiscard]] std::optional<clock::time_point> deadline() const;

    /// Receives and sends what is possible, and gives the client up when its time is over. A
    /// request of more than `space_left` bytes of text is refused.
    void handle(short events, std::size_t space_left, clock::time_point now);

    /// The memory that the request and unsent messages use, in bytes.
    [[nodiscard]] std::size_t size() const {
        return input_.capacity() + text_.capacity() + output_.capacity();
    }

    /// The request; complete from `waiting` on.
    [[nodiscard]] const dp_service::request_protocol::request_header& header() const {
        return header_;
    }
    /// Its text, which the caller takes.
    std::string take_text() { return std::exchange(text_, {}); }

    /// Reports the number of requests ahead, if it is not the number that was reported last.
    void report_position(std::uint32_t ahead, clock::time_point now);

    /// Reports that it is the turn of a waiting request.
    void offer(clock::time_point now);

    /// Reports the progress of a started request. Dropped when the client is slow to read.
    void report_progress(std::uint32_t done, std::uint32_t total, clock::time_point now);

    /// Sends the lines of the values that dependencies changed. An answer follows.
    void report_dependent(const std::string& lines, clock::time_point now);

    /// Sends the answer, or the refusal of the request, and closes the connection after it.
    void answer(std::int32_t status, const std::string& text, clock::time_point now);
    void refuse(std::int32_t status, const std::string& reason, clock::time_point now);

  private:
    using message = dp_service::request_protocol::message;

    void receive(std::size_t space_left, clock::time_point now);
    void parse(std::size_t space_left, clock::time_point now);
    void send(const message& line, clock::time_point now);
    void end(message::kinds kind, std::int32_t status, const std::string& text,
             clock::time_point now);
    void append(const message& line, const std::string& text);
    void transmit(clock::time_point now);

    dp_support::file_descriptor socket_;
    peer client_;
    states state_ = states::receiving;
    clock::time_point deadline_;
    bool has_header_ = false;
    bool is_gone_ = false;  // the client; a request that has started is finished all the same
    dp_service::request_protocol::request_header header_;
    std::string input_;  // received and not parsed; from `waiting` on only what follows the text
    std::string text_;   // of a complete request
    std::string output_;
    std::size_t sent_ = 0;  // of `output_`
    std::optional<std::uint32_t> reported_position_;
};

}  // namespace dp_host

#endif
