#include "host/history/history_time.hpp"

#include <array>

namespace dp_host {

std::string history_time(std::time_t when) {
    // localtime_r need not notice later changes of TZ.
    tzset();
    std::tm parts{};
    std::array<char, 64> buffer{};
    if (localtime_r(&when, &parts) == nullptr || asctime_r(&parts, buffer.data()) == nullptr) {
        return {};
    }
    std::string text = buffer.data();
    text.pop_back();
    return text;
}

}  // namespace dp_host
