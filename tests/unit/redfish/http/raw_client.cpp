#include "tests/unit/redfish/http/raw_client.hpp"

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "tests/support/eventually.hpp"

namespace test {
namespace {

dp_support::file_descriptor connected_socket(std::uint16_t port) {
    dp_support::file_descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!socket.is_open() ||
        connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("cannot connect");
    }
    const timeval limit{static_cast<time_t>(patience.count()), 0};
    setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    return socket;
}

// The head up to its empty line, without it; empty when the text has none.
std::string_view head_of(std::string_view text) {
    const std::size_t end = text.find("\r\n\r\n");
    return end == std::string_view::npos ? std::string_view() : text.substr(0, end);
}

}  // namespace

raw_client::raw_client(std::uint16_t port, protocols protocol, int highest_tls_version)
    : socket_(connected_socket(port)), context_(nullptr, SSL_CTX_free), tls_(nullptr, SSL_free) {
    if (protocol == protocols::plain) {
        return;
    }
    context_.reset(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_min_proto_version(context_.get(), 0);
    SSL_CTX_set_max_proto_version(context_.get(), highest_tls_version);
    SSL_CTX_set_security_level(context_.get(), 0);
    tls_.reset(SSL_new(context_.get()));
    SSL_set_fd(tls_.get(), socket_.get());
    is_open_ = SSL_connect(tls_.get()) == 1;
    ERR_clear_error();
}

raw_client::~raw_client() = default;

bool raw_client::send(std::string_view bytes) {
    if (tls_) {
        return bytes.empty() ||
               SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
    }
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void raw_client::end_sending() {
    shutdown(socket_.get(), SHUT_WR);
}

bool raw_client::fill() {
    std::array<char, 65536> block{};
    const ssize_t count = tls_ ? SSL_read(tls_.get(), block.data(), static_cast<int>(block.size()))
                               : recv(socket_.get(), block.data(), block.size(), 0);
    if (count <= 0) {
        ERR_clear_error();
        is_open_ = false;
        return false;
    }
    received_.append(block.data(), static_cast<std::size_t>(count));
    return true;
}

raw_answer raw_client::receive(bool to_head) {
    raw_answer answer;
    while (head_of(received_).empty()) {
        if (!fill()) {
            return {};
        }
    }
    std::string_view head = head_of(received_);
    const std::size_t head_size = head.size() + 4;
    const auto status = static_cast<unsigned>(std::atoi(std::string(head.substr(9, 3)).c_str()));
    while (!head.empty()) {
        const std::string_view line = head.substr(0, head.find("\r\n"));
        head.remove_prefix(std::min(line.size() + 2, head.size()));
        const std::size_t colon = line.find(": ");
        if (colon != std::string_view::npos) {
            answer.headers[std::string(line.substr(0, colon))] = line.substr(colon + 2);
        }
    }
    received_.erase(0, head_size);
    const bool has_body = !to_head && status >= 200 && status != 204 && status != 304;
    if (has_body && answer.headers.count("Transfer-Encoding") > 0) {
        for (;;) {
            while (received_.find("\r\n") == std::string::npos) {
                if (!fill()) {
                    return {};
                }
            }
            const std::size_t size = std::stoul(received_, nullptr, 16);
            received_.erase(0, received_.find("\r\n") + 2);
            const std::string chunk = receive_bytes(size + 2);
            if (chunk.size() != size + 2) {
                return {};
            }
            answer.body += chunk.substr(0, size);
            if (size == 0) {
                break;
            }
        }
    } else if (has_body) {
        const std::size_t size = std::stoul(answer.headers["Content-Length"]);
        answer.body = receive_bytes(size);
        if (answer.body.size() != size) {
            return {};
        }
    }
    answer.status = status;
    return answer;
}

raw_answer raw_client::ask(std::string_view request) {
    send(request);
    return receive();
}

std::string raw_client::receive_bytes(std::size_t count) {
    while (received_.size() < count && fill()) {
    }
    const std::string bytes = received_.substr(0, count);
    received_.erase(0, bytes.size());
    return bytes;
}

std::string raw_client::receive_all() {
    while (fill()) {
    }
    return std::exchange(received_, "");
}

bool raw_client::is_closed() {
    return received_.empty() && !fill();
}

std::string raw_client::tls_version() const {
    return SSL_get_version(tls_.get());
}

std::string raw_client::certificate_hash() const {
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    const std::unique_ptr<X509, void (*)(X509*)> certificate(SSL_get1_peer_certificate(tls_.get()),
                                                             X509_free);
    X509_digest(certificate.get(), EVP_sha256(), hash.data(), &size);
    return {hash.begin(), hash.begin() + size};
}

std::string get_request(const std::string& path, const std::string& more_lines) {
    return "GET " + path + " HTTP/1.1\r\nHost: localhost\r\n" + more_lines + "\r\n";
}

std::string body_request(const std::string& method, const std::string& path,
                         const std::string& body, const std::string& more_lines) {
    return method + " " + path + " HTTP/1.1\r\nHost: localhost\r\n" + more_lines +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace test
