#include "logs/error_command_visitor.hpp"

#include <utility>

#include "common/log.hpp"
#include "common/quoting.hpp"
#include "logs/process_log.hpp"
#include "transactions/transaction_command.hpp"

namespace dp {

error_command_visitor::error_command_visitor(process_log& log, std::string name)
    : log_(log), name_(std::move(name)) {}

void error_command_visitor::operator()(const transaction_command* command) const {
    if (command->target.setting == nullptr || command->status == 0) {
        return;
    }
    const std::string target = command->target.get_name();
    log_error_line("<", name_, "> ", target, ", status = ", command->status);
    log_.log_error(name_, target, command->status);
    if (!command->value_out.empty()) {
        log_.log_message(name_, target, add_quotes(command->value_out));
    }
}

}  // namespace dp
