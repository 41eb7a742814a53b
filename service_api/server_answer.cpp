#include "service_api/server_answer.hpp"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace dp_service {

std::string server_answer::line() const {
    return status == 0 ? "0" : std::to_string(status) + ' ' + reason;
}

std::optional<server_answer> server_answer::parse(const std::string& line) {
    const std::size_t space = std::min(line.find(' '), line.size());
    server_answer answer;
    const auto [stop, error] = std::from_chars(line.data(), line.data() + space, answer.status);
    if (error != std::errc() || stop != line.data() + space) {
        return std::nullopt;
    }
    if (space < line.size()) {
        answer.reason = line.substr(space + 1);
    }
    return answer;
}

}  // namespace dp_service
