#include "service_api/server_answer.hpp"

namespace dp_service {

std::string server_answer::text() const {
    if (status != 0) {
        return reason;
    }
    std::string lines;
    for (const std::string& line : report) {
        lines += (lines.empty() ? "" : "\n") + line;
    }
    return lines;
}

}  // namespace dp_service
