#include "host/history/history_time.hpp"

#include <array>
#include <cstddef>

namespace dp_host {

std::string history_time(std::time_t when) {
    // localtime_r need not notice later changes of TZ.
    tzset();
    std::tm parts{};
    std::array<char, 64> buffer{};
    if (localtime_r(&when, &parts) == nullptr) {
        return {};
    }
    const std::size_t size =
        std::strftime(buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%S%z", &parts);
    std::string text(buffer.data(), size);
    // strftime writes "+0100".
    constexpr std::size_t minutes = 2;
    return text.size() < minutes ? text : text.insert(text.size() - minutes, ":");
}

}  // namespace dp_host
