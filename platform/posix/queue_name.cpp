#include "platform/posix/queue_name.hpp"

#include <cstdlib>

namespace dp_platform {

std::string queue_name(unsigned char number) {
    constexpr std::size_t longest_prefix = 64;
    const char* value = ::secure_getenv("DP_QUEUE_PREFIX");
    const std::string prefix = value == nullptr ? "" : value;
    if (prefix.size() > longest_prefix ||
        prefix.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-"
                                 ".") != std::string::npos) {
        return "";
    }
    std::string name = "/";
    if (!prefix.empty()) {
        name += prefix + '.';
    }
    return name + "dp.queue." + std::to_string(number);
}

}  // namespace dp_platform
