// Sends a method call from one controller process to another. The name and the data of the call are
// framed in a method data record, which is sent over a system message queue.
//
//   method_call receive &            waits for one call and prints it
//   method_call send restart "now"   sends a call
#include <algorithm>
#include <bios/method_data.hpp>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <platform/posix/message_listener.hpp>
#include <platform/sysipc/message.hpp>
#include <platform/sysipc/system_message_queue.hpp>
#include <platform/sysipc/system_message_queue_client.hpp>
#include <string>
#include <vector>

namespace {

constexpr unsigned char queue_number = 42;
constexpr std::uint16_t call_kind = 7;  // the kind of its messages
constexpr std::size_t message_size = 8096;
constexpr int timeout_ms = 30'000;

int send(const std::string& method, const std::string& text) {
    const dp::ZEB_MethodData call(method, {text.begin(), text.end()});
    sysipc::message content(message_size);
    if (call.valid == 0 ||
        content.payload_capacity() < sysipc::message::kind_size + call.buffer.size()) {
        std::cerr << "the call is too long for a message\n";
        return 1;
    }
    content.set_queue(queue_number);
    content.set_kind(call_kind);
    std::copy(call.buffer.begin(), call.buffer.end(),
              content.payload() + sysipc::message::kind_size);
    content.set_payload_length(sysipc::message::kind_size + call.buffer.size());
    const sysipc::system_message_queue queue(queue_number, 0);
    if (!sysipc::system_message_queue_client::send(queue, content)) {
        std::cerr << "no process is listening, or the queue is full\n";
        return 1;
    }
    std::cout << "sent " << call.buffer.size() << " bytes\n";
    return 0;
}

int receive() {
    dp_platform::message_listener listener(queue_number);
    if (!listener.is_open()) {
        std::cerr << listener.error() << '\n';
        return 1;
    }
    std::cout << "listening" << std::endl;
    sysipc::message content(message_size);
    if (listener.receive(content, timeout_ms) != dp_platform::message_listener::result::received ||
        content.kind() != call_kind) {
        std::cerr << "no call was received\n";
        return 1;
    }
    const unsigned char* const record = content.payload() + sysipc::message::kind_size;
    const unsigned char* const end = content.payload() + content.payload_length();
    const dp::ZEB_MethodData call(std::vector<unsigned char>(record, end));
    if (call.valid == 0) {
        std::cerr << "the message is not a method call\n";
        return 1;
    }
    std::cout << call.method << ": " << std::string(call.data.begin(), call.data.end()) << '\n';
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 1 && words[0] == "receive") {
        return receive();
    }
    if (words.size() == 3 && words[0] == "send") {
        return send(words[1], words[2]);
    }
    std::cerr << "usage: method_call receive | method_call send METHOD TEXT\n";
    return 2;
}
