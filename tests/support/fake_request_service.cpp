#include "tests/support/fake_request_service.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "service_api/server_paths.hpp"
#include "tests/support/local_socket.hpp"

namespace test {
namespace {

constexpr int patience_ms = 20'000;

}  // namespace

bool service_end::receive() {
    pollfd entry{fd_, POLLIN, 0};
    char buffer[4096];
    const ssize_t count =
        poll(&entry, 1, patience_ms) == 1 ? recv(fd_, buffer, sizeof buffer, 0) : 0;
    received_.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

std::string service_end::read_line() {
    std::size_t newline = 0;
    while ((newline = received_.find('\n')) == std::string::npos) {
        if (!receive()) {
            return {};
        }
    }
    std::string line = received_.substr(0, newline);
    received_.erase(0, newline + 1);
    return line;
}

std::string service_end::read_bytes(std::size_t count) {
    while (received_.size() < count && receive()) {
    }
    std::string bytes = received_.substr(0, count);
    received_.erase(0, bytes.size());
    return bytes;
}

void service_end::send(const std::string& text) const {
    [[maybe_unused]] const ssize_t ignored = ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL);
}

bool service_end::take_request(dp_service::request_protocol::request_header& header,
                               std::string& text) {
    const auto parsed = dp_service::request_protocol::request_header::parse(read_line());
    if (!parsed) {
        return false;
    }
    header = *parsed;
    text = read_bytes(header.length);
    send("ready\n");
    return read_line() == "go";
}

void service_end::answer(int status, const std::string& text) const {
    send("answer " + std::to_string(status) + ' ' + std::to_string(text.size()) + '\n' + text);
}

fake_request_service::fake_request_service(std::function<void(service_end&)> talk)
    : talk_(std::move(talk)) {
    const std::string path = dp_service::server_paths::request_socket.str();
    const std::string folder = dp_service::server_paths::request_folder.str();
    std::filesystem::create_directories(folder);
    chmod(folder.c_str(), S_IRWXU);
    std::filesystem::remove(path);
    listener_ = listen_at(path, 16, SOCK_NONBLOCK);
    thread_ = std::thread([this] { run(); });
}

fake_request_service::~fake_request_service() {
    stop_ = true;
    thread_.join();
    std::filesystem::remove(dp_service::server_paths::request_socket.str());
}

void fake_request_service::run() {
    while (!stop_) {
        pollfd entry{listener_.get(), POLLIN, 0};
        if (poll(&entry, 1, 10) != 1) {
            continue;
        }
        const int fd = accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC);
        if (fd != -1) {
            service_end connection(fd);
            talk_(connection);
            close(fd);
            ++handled_;
        }
    }
}

}  // namespace test
