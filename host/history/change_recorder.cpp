#include "host/history/change_recorder.hpp"

#include <array>
#include <utility>

#include "host/exchange/command_marks.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
namespace {

// The form of asctime without its line end; empty for a time that has no such form.
std::string local_time(std::time_t when) {
    // localtime_r keeps to the zone that was known when the process first asked.
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
        !command_marks::changed(command)) {
        return std::nullopt;
    }
    dp_service::change_record record{who_, time_, command.target.get_name(), std::nullopt};
    if (!command_marks::removed(command)) {
        record.value = command.value_out;
    }
    return record;
}

}  // namespace dp_host
