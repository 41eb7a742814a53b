#ifndef DP_TESTS_SYSTEM_DPCTL_FAKE_SERVICE_HPP
#define DP_TESTS_SYSTEM_DPCTL_FAKE_SERVICE_HPP

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace test {

/// A command of a batch.
struct batch_command {
    std::string correlator;
    std::string operation;
    std::string name;
    std::string value;
};

/// Stands in for the settings service, in a thread: accepts batches of `length` commands and writes
/// the answers that `answer` returns.
class fake_service {
  public:
    using answer_function = std::function<std::string(const std::vector<batch_command>&)>;

    fake_service(std::size_t length, answer_function answer);
    ~fake_service();
    fake_service(const fake_service&) = delete;
    fake_service& operator=(const fake_service&) = delete;

    /// The batches so far. Call it only after the client has ended.
    [[nodiscard]] const std::vector<std::vector<batch_command>>& batches() const {
        return batches_;
    }

  private:
    void serve();

    std::size_t length_;
    answer_function answer_;
    std::vector<std::vector<batch_command>> batches_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

/// A line of an answer.
std::string answer_line(const batch_command& command, unsigned status);

/// An answer that carries out all commands: stores their values as pending ones.
std::string accept_all(const std::vector<batch_command>& commands);

}  // namespace test

#endif
