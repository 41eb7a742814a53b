#include "platform/posix/queue_name.hpp"

#include <cstdlib>

namespace dp_platform {
namespace {

std::string queue_prefix() {
    const char* value = ::secure_getenv("DP_QUEUE_PREFIX");
    return value == nullptr ? "" : value;
}

}  // namespace

std::string problem_with_queue_prefix() {
    constexpr std::size_t longest = 64;
    const std::string prefix = queue_prefix();
    if (prefix.size() > longest ||
        prefix.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-"
                                 ".") != std::string::npos) {
        return "DP_QUEUE_PREFIX must be at most 64 letters, digits, '_', '-' and '.'";
    }
    return "";
}

std::string queue_name(unsigned char number) {
    if (!problem_with_queue_prefix().empty()) {
        return "";
    }
    const std::string prefix = queue_prefix();
    std::string name = "/";
    if (!prefix.empty()) {
        name += prefix + '.';
    }
    return name + "dp.queue." + std::to_string(number);
}

}  // namespace dp_platform
