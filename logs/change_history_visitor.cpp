#include "logs/change_history_visitor.hpp"

#include <array>
#include <ctime>
#include <ostream>
#include <string>

#include "common/clock.hpp"
#include "transactions/transaction_command.hpp"

namespace dp {
namespace {

// The current time in the form of asctime without the newline; empty when asctime cannot print it.
std::string local_time() {
    const std::time_t now = current_time();
    std::tm parts{};
    std::array<char, 32> buffer{};
    if (localtime_r(&now, &parts) == nullptr || asctime_r(&parts, buffer.data()) == nullptr) {
        return {};
    }
    std::string text = buffer.data();
    text.pop_back();
    return text;
}

}  // namespace

change_history_visitor::change_history_visitor(std::ostream& history) : history_(history) {
    // localtime_r uses the time zone of its first call unless tzset reads it again.
    tzset();
}

void change_history_visitor::operator()(const transaction_command* command) const {
    if (command->target.setting == nullptr || command->status != 0) {
        return;
    }
    history_ << local_time() << "   " << command->target << "   \"" << command->value_out << "\"\n";
}

}  // namespace dp
