#ifndef DP_SERVICE_API_SERVER_ANSWER_HPP
#define DP_SERVICE_API_SERVER_ANSWER_HPP

#include <cstdint>
#include <optional>
#include <string>

namespace dp_service {

/// The answer to a request to the simulated server: the one line of `server_paths::server_answer`,
/// "0" or a status and a reason, separated by a space.
struct server_answer {
    std::int32_t status = 0;  ///< 0: done; otherwise a code of `service_status`
    std::string reason;       ///< why it failed, on one line

    /// The line, without a newline.
    [[nodiscard]] std::string line() const;

    /// The answer in `line`, which has no newline; nothing when the line does not begin with a
    /// status.
    static std::optional<server_answer> parse(const std::string& line);
};

}  // namespace dp_service

#endif
