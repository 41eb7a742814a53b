#include "host/history/change_recorder.hpp"

#include <array>
#include <utility>

#include "host/history/change_flags.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

// In the form of asctime(3), without the newline; empty for a time that has no such form.
std::string local_time(std::time_t when) {
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

}  // namespace

change_recorder::change_recorder(std::string who, std::time_t when)
    : who_(std::move(who)), time_(local_time(when)) {}

std::optional<dp_service::change_record> change_recorder::operator()(
    const dp::transaction_command& command) const {
    if (command.target.setting == nullptr || command.status != dp::command_status::success ||
        !change_flags::changed(command)) {
        return std::nullopt;
    }
    dp_service::change_record change{who_, time_, command.target.get_name(), std::nullopt};
    if (!change_flags::removed(command)) {
        change.value = command.value_out;
    }
    return change;
}

}  // namespace dp_host
