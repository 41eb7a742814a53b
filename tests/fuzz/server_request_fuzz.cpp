// Arbitrary bytes, in pieces, as what a client sends to the request socket: only a complete request
// that was accepted with "go" starts, with the text that was sent, and every message of the service
// can be parsed.

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <string>
#include <string_view>

#include "host/exchange/client_connection.hpp"
#include "service_api/request_protocol.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/input.hpp"

namespace {

namespace protocol = dp_service::request_protocol;
using connection = dp_host::client_connection;
using states = connection::states;

void check_lines(fuzzing::input in) {
    while (!in.is_empty()) {
        const std::string line = in.until('\n');
        if (const auto header = protocol::request_header::parse(line)) {
            const auto again = protocol::request_header::parse(header->line());
            fuzzing::require(again && again->kind == header->kind &&
                                 again->length == header->length &&
                                 again->planned_on == header->planned_on &&
                                 again->on_behalf_of == header->on_behalf_of,
                             "a header that is written is read back");
        }
        if (const auto message = protocol::message::parse(line)) {
            const auto again = protocol::message::parse(message->line());
            fuzzing::require(again && again->kind == message->kind &&
                                 again->first == message->first && again->second == message->second,
                             "a message that is written is read back");
        }
    }
}

/// Reads what the service has sent so far.
void receive(int fd, std::string& received) {
    std::array<char, 4096> block{};
    ssize_t count = 0;
    while ((count = read(fd, block.data(), block.size())) > 0) {
        received.append(block.data(), static_cast<std::size_t>(count));
    }
}

void check_messages(std::string_view received) {
    while (!received.empty()) {
        const std::size_t end = received.find('\n');
        fuzzing::require(end != std::string_view::npos, "a message is a line");
        const auto message = protocol::message::parse(received.substr(0, end));
        fuzzing::require(message.has_value(), "every message can be parsed");
        received.remove_prefix(end + 1);
        if (message->kind == protocol::message::kinds::answer ||
            message->kind == protocol::message::kinds::refused) {
            fuzzing::require(received.size() == message->second,
                             "the last message has its whole text");
            return;
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    check_lines({data, size});

    int ends[2] = {-1, -1};
    fuzzing::require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) == 0,
                     "sockets can be made");
    auto now = connection::clock::time_point{} + std::chrono::hours(1);
    const std::string all(data, data + size);
    std::string received;
    {
        fuzzing::input in(data, size);
        connection client(dp_support::file_descriptor{ends[0]}, dp_host::peer{}, now);
        bool was_offered = false;
        std::size_t sent = 0;
        while (client.state() != states::closed && sent < size) {
            const std::size_t length = 1 + size % 7 * 5 + sent % 11;
            const std::string piece = in.bytes(length);
            if (write(ends[1], piece.data(), piece.size()) != static_cast<ssize_t>(piece.size())) {
                break;
            }
            sent += piece.size();
            now += std::chrono::milliseconds(size % 100);
            client.handle(POLLIN, 4096, now);
            if (client.state() == states::waiting) {
                client.report_position(static_cast<std::uint32_t>(size % 3), now);
                client.offer(now);
                was_offered = true;
            }
            if (client.state() == states::started) {
                fuzzing::require(was_offered, "no request starts before its turn");
                const std::size_t length_of_text = client.header().length;
                const std::string text = client.take_text();
                const std::string_view sent_text = std::string_view(all).substr(all.find('\n') + 1);
                fuzzing::require(text.size() == length_of_text && sent_text.starts_with(text) &&
                                     sent_text.substr(text.size()).starts_with("go\n"),
                                 "a request that starts was sent whole, with its go");
                client.report_progress(1, 2, now);
                client.answer(0, text, now);
            }
            receive(ends[1], received);
        }
        client.handle(POLLIN | POLLOUT, 4096, now);
        receive(ends[1], received);
        // Its time is over at some point, whatever it sent.
        now += std::chrono::hours(1);
        client.handle(0, 4096, now);
        fuzzing::require(client.state() != states::receiving && client.state() != states::offered,
                         "a silent client is given up");
    }
    receive(ends[1], received);
    close(ends[1]);
    check_messages(received);
    return 0;
}
