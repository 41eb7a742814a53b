#ifndef DP_TESTS_SYSTEM_DPCTL_FAKE_SERVICE_HPP
#define DP_TESTS_SYSTEM_DPCTL_FAKE_SERVICE_HPP

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/support/fake_request_service.hpp"

namespace test {

/// A command of a batch.
struct batch_command {
    std::string correlator;
    std::string operation;
    std::string name;
    std::string value;
};

/// A settings service in a thread: accepts batches on the request socket and sends
/// the answers that `answer` returns.
class fake_service {
  public:
    using answer_function = std::function<std::string(const std::vector<batch_command>&)>;

    explicit fake_service(answer_function answer);

    /// Whether requests that were planned on a version of the pending values are refused.
    bool is_changed_meanwhile = false;

    /// The commands of each batch so far that change something. Call it only after the client has
    /// ended.
    [[nodiscard]] const std::vector<std::vector<batch_command>>& batches() const {
        return batches_;
    }

  private:
    void serve(service_end& client);

    answer_function answer_;
    std::vector<std::vector<batch_command>> batches_;
    fake_request_service service_;
};

/// A line of an answer.
std::string answer_line(const batch_command& command, unsigned status,
                        const std::string& value_out = "");

/// An answer that carries out the commands in their order, and stores the values of the sets as
/// pending ones, except those of the settings in `statuses`, which get that status.
std::string carry_out(const std::vector<batch_command>& commands,
                      const std::map<std::string, unsigned>& statuses);

/// An answer that carries out all commands.
std::string accept_all(const std::vector<batch_command>& commands);

}  // namespace test

#endif
