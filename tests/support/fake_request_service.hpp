#ifndef DP_TESTS_SUPPORT_FAKE_REQUEST_SERVICE_HPP
#define DP_TESTS_SUPPORT_FAKE_REQUEST_SERVICE_HPP

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "service_api/request_protocol.hpp"
#include "support/file_descriptor.hpp"

namespace test {

/// The service's end of a connection to the request socket. Waits for at most `patience`.
class service_end {
  public:
    explicit service_end(int fd) : fd_(fd) {}

    /// The next line without its newline; empty when the client is gone.
    std::string read_line();
    /// The next `count` bytes; fewer when the client is gone.
    std::string read_bytes(std::size_t count);
    /// Sends what the socket takes; the client may be gone.
    void send(const std::string& text) const;

    /// Receives a request and its text, says that it is its turn and waits for "go". False when the
    /// client is gone.
    bool take_request(dp_service::request_protocol::request_header& header, std::string& text);
    /// Sends an answer.
    void answer(int status, const std::string& text) const;

  private:
    bool receive();

    int fd_;
    std::string received_;
};

/// Listens on the request socket below $DP_ROOT, and calls `talk` on its own thread for each
/// connection, one after the other.
class fake_request_service {
  public:
    explicit fake_request_service(std::function<void(service_end&)> talk);
    /// Stops listening.
    ~fake_request_service();
    fake_request_service(const fake_request_service&) = delete;
    fake_request_service& operator=(const fake_request_service&) = delete;

    /// The number of connections that were handled completely.
    [[nodiscard]] int handled() const { return handled_; }

  private:
    void run();

    std::function<void(service_end&)> talk_;
    dp_support::file_descriptor listener_;
    std::atomic<bool> stop_ = false;
    std::atomic<int> handled_ = 0;
    std::thread thread_;
};

}  // namespace test

#endif
