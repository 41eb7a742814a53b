#include "tools/dpctl/output/local_time.hpp"

#include <array>

namespace dpctl {

std::string local_time(std::time_t when) {
    std::tm parts{};
    std::array<char, 64> text{};
    if (localtime_r(&when, &parts) == nullptr ||
        std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &parts) == 0) {
        return {};
    }
    return text.data();
}

}  // namespace dpctl
