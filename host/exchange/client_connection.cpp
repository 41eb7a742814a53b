#include "host/exchange/client_connection.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "host/process/service_log.hpp"
#include "service_api/service_status.hpp"

namespace dp_host {
namespace {

namespace protocol = dp_service::request_protocol;
namespace service_status = dp_service::service_status;

// No more progress is sent while this many bytes are unsent.
constexpr std::size_t most_unsent_progress = 4096;

}  // namespace

client_connection::client_connection(dp_support::file_descriptor socket, peer client,
                                     clock::time_point now)
    : socket_(std::move(socket)), client_(std::move(client)), deadline_(now + receive_timeout) {}

short client_connection::interest() const {
    // The end of a client that is gone is always reported.
    const int in = is_gone_ || state_ == states::answering ? 0 : POLLIN;
    return static_cast<short>(in | (sent_ < output_.size() ? POLLOUT : 0));
}

std::optional<client_connection::clock::time_point> client_connection::deadline() const {
    if (state_ == states::waiting || state_ == states::started) {
        return std::nullopt;
    }
    return deadline_;
}

void client_connection::handle(short events, std::size_t space_left, clock::time_point now) {
    if ((events & POLLOUT) != 0) {
        transmit(now);
    }
    if ((events & (POLLIN | POLLHUP | POLLERR)) != 0 && !is_gone_) {
        receive(space_left, now);
    }
    const auto time_limit = deadline();
    if (state_ == states::closed || !time_limit || now < *time_limit) {
        return;
    }
    if (state_ == states::receiving) {
        refuse(service_status::malformed_line, "the request was not complete in time", now);
    } else if (state_ == states::offered) {
        refuse(dp_service::service_status::over_limit, "the client did not answer in time", now);
    } else {
        log_error("gave up a client that does not read its answer: ", requester());
        state_ = states::closed;
    }
}

// Reads one buffer, so that no client occupies the service.
void client_connection::receive(std::size_t space_left, clock::time_point now) {
    std::array<char, 65536> buffer{};
    const ssize_t count = recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (count <= 0) {
        is_gone_ = true;
        // A client that is gone before its request starts withdraws it.
        if (state_ != states::started) {
            state_ = states::closed;
        }
        return;
    }
    if (state_ == states::receiving || state_ == states::offered) {
        input_.append(buffer.data(), static_cast<std::size_t>(count));
        parse(space_left, now);
    } else if (state_ == states::waiting) {
        refuse(service_status::malformed_line, "more was sent than the request", now);
    }
}

void client_connection::parse(std::size_t space_left, clock::time_point now) {
    if (state_ == states::offered) {
        const std::string expected = std::string(protocol::go) + '\n';
        if (input_ == expected) {
            input_.clear();
            state_ = states::started;
        } else if (!std::string_view(expected).starts_with(input_)) {
            refuse(service_status::malformed_line, "unknown request", now);
        }
        return;
    }
    if (!has_header_) {
        const std::size_t newline = input_.find('\n');
        if (newline == std::string::npos && input_.size() <= protocol::longest_line) {
            return;
        }
        const auto header =
            newline == std::string::npos
                ? std::nullopt
                : protocol::request_header::parse(std::string_view(input_).substr(0, newline));
        if (!header) {
            refuse(service_status::malformed_line, "unknown request", now);
            return;
        }
        header_ = *header;
        has_header_ = true;
        input_.erase(0, newline + 1);
        if (header_.length > std::min(protocol::largest_request, space_left)) {
            refuse(service_status::over_limit, "the request is too large", now);
            return;
        }
    }
    if (input_.size() > header_.length) {
        refuse(service_status::malformed_line, "more was sent than the request", now);
    } else if (input_.size() == header_.length) {
        text_ = std::exchange(input_, {});
        state_ = states::waiting;
    }
}

void client_connection::report_position(std::uint32_t ahead, clock::time_point now) {
    if (state_ == states::waiting && ahead > 0 && reported_position_ != ahead) {
        reported_position_ = ahead;
        send({message::kinds::waiting, ahead, 0}, now);
    }
}

void client_connection::offer(clock::time_point now) {
    state_ = states::offered;
    deadline_ = now + go_timeout;
    send({message::kinds::ready, 0, 0}, now);
}

void client_connection::report_progress(std::uint32_t done, std::uint32_t total,
                                        clock::time_point now) {
    if (output_.size() - sent_ < most_unsent_progress) {
        send({message::kinds::progress, done, total}, now);
    }
}

void client_connection::report_dependent(const std::string& lines, clock::time_point now) {
    append({message::kinds::dependent,
            static_cast<std::uint32_t>(std::count(lines.begin(), lines.end(), '\n')),
            static_cast<std::uint32_t>(lines.size())},
           lines);
    transmit(now);
}

void client_connection::answer(std::int32_t status, const std::string& text,
                               clock::time_point now) {
    end(message::kinds::answer, status, text, now);
}

void client_connection::refuse(std::int32_t status, const std::string& reason,
                               clock::time_point now) {
    log_error("refused a request of ", requester(), ": ", reason);
    end(message::kinds::refused, status, reason, now);
}

void client_connection::end(message::kinds kind, std::int32_t status, const std::string& text,
                            clock::time_point now) {
    input_ = {};
    text_ = {};
    state_ = states::answering;
    deadline_ = now + send_timeout;
    append({kind, static_cast<std::uint32_t>(status), static_cast<std::uint32_t>(text.size())},
           text);
    transmit(now);
}

void client_connection::append(const message& line, const std::string& text) {
    output_.erase(0, std::exchange(sent_, 0));
    output_ += line.line();
    output_ += '\n';
    output_ += text;
}

void client_connection::send(const message& line, clock::time_point now) {
    append(line, {});
    transmit(now);
}

void client_connection::transmit(clock::time_point now) {
    while (sent_ < output_.size()) {
        const ssize_t count = ::send(socket_.get(), output_.data() + sent_, output_.size() - sent_,
                                     MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count >= 0) {
            sent_ += static_cast<std::size_t>(count);
            if (state_ == states::answering) {
                deadline_ = now + send_timeout;
            }
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR) {
            is_gone_ = true;
            sent_ = output_.size();
            state_ = state_ == states::started ? state_ : states::closed;
            return;
        }
    }
    output_.clear();
    sent_ = 0;
    if (state_ == states::answering) {
        state_ = states::closed;
    }
}

}  // namespace dp_host
