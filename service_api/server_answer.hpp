#ifndef DP_SERVICE_API_SERVER_ANSWER_HPP
#define DP_SERVICE_API_SERVER_ANSWER_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace dp_service {

/// The answer to a request to the simulated server: a restart or an update.
struct server_answer {
    std::int32_t status = 0;  ///< 0: done; otherwise a code of `service_status`
    std::string reason{};     ///< why it failed, on one line

    /// What was done, for a person, line by line: what became of the values in an update.
    std::vector<std::string> report{};

    /// The text that goes with the status: the reason of a failure, otherwise the lines of the
    /// report, separated by newlines.
    [[nodiscard]] std::string text() const;
};

}  // namespace dp_service

#endif
