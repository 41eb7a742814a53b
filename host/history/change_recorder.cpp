#include "host/history/change_recorder.hpp"

#include <utility>

#include "host/history/change_flags.hpp"
#include "host/history/history_time.hpp"
#include "transactions/command_status.hpp"

namespace dp_host {
change_recorder::change_recorder(std::string who, std::time_t when)
    : who_(std::move(who)), time_(history_time(when)) {}

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
