#include "support/result.hpp"

#include <cstring>

namespace dp_support {

failure system_failure(std::string_view action, const std::string& path, int error) {
    std::string reason = "cannot ";
    reason.append(action).append(" ").append(path).append(": ").append(std::strerror(error));
    return {std::move(reason), error};
}

}  // namespace dp_support
