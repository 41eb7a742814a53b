#include "transactions/setting_transaction.hpp"

#include <algorithm>
#include <ostream>

#include "settings/plugin_list.hpp"
#include "settings/setting.hpp"
#include "transactions/command_status.hpp"
#include "transactions/transaction_command.hpp"

namespace dp {
namespace {

constexpr std::int32_t validate_step = 2;
constexpr std::int32_t execute_step_number = 1;

bool owns(const plugin* p, const transaction_command& command) {
    return command.target.setting != nullptr && command.target.setting->owner == p;
}

}  // namespace

void setting_transaction::command_finish_visitor::operator()(transaction_command* command) const {
    if (command->complete && owns(plugin_, *command)) {
        command->finish();
    }
}

void setting_transaction::on_execute_step(registrar& reg, plugin_list& plugins) {
    if (step == validate_step) {
        for (transaction_command* command : commands) {
            if (command->status == command_status::success && !command->complete &&
                command->target.setting != nullptr) {
                command->target.setting->validate(command);
            }
        }
    } else if (step == execute_step_number) {
        for (transaction_command* command : commands) {
            command->setup();
        }
        std::for_each(plugins.begin(), plugins.end(), execution_visitor(reg, *this));
    }
}

void setting_transaction::on_substep_complete(registrar& /*reg*/, plugin* p) {
    // Check every command for every plug-in: plug-ins may change the owner of a setting, so a list
    // by owner could be stale. Finishing a command does not affect the others, so one pass is
    // enough.
    const command_finish_visitor finish(p);
    for (transaction_command* command : commands) {
        if (command->complete) {
            finish(command);
        } else if (owns(p, *command)) {
            command->fail(command_status::not_answered);
        }
    }
}

transaction_command* setting_transaction::get_command_by_corr(std::uint32_t correlator) {
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [correlator](const transaction_command* command) {
                                        return command->correlator == correlator;
                                    });
    return found == commands.end() ? nullptr : *found;
}

void setting_transaction::write_batch_commands(std::ostream& os, bool terse) {
    for (transaction_command* command : commands) {
        if (terse) {
            command->write_terse_output(os);
        } else {
            os << *command;
        }
        os << std::endl;
    }
}

}  // namespace dp
