#include "transactions/transaction_command_list.hpp"

#include <ostream>
#include <string>

#include "transactions/command_status.hpp"
#include "transactions/transaction_command.hpp"

namespace dp {

void transaction_command_list::update_status() {
    status = {};
    status.total = static_cast<std::uint32_t>(size());
    for (const transaction_command* command : *this) {
        if (command->complete) {
            ++status.completed;
            if (command->status != command_status::success) {
                ++status.errors;
            }
        }
    }
}

std::ostream& operator<<(std::ostream& os, const struct transaction_command_list::status& s) {
    return os << '(' + std::to_string(s.total) + ',' + std::to_string(s.completed) + ',' +
                     std::to_string(s.errors) + ')';
}

}  // namespace dp
