#include "transactions/setting_transaction.hpp"

#include <algorithm>
#include <cstddef>
#include <ostream>

#include "settings/plugin_list.hpp"
#include "settings/setting.hpp"
#include "transactions/command_status.hpp"
#include "transactions/transaction_command.hpp"

namespace dp {
namespace {

constexpr std::int32_t validate_step = 2;
constexpr std::int32_t execute_step_number = 1;

// Up to so many commands an index for their correlators does not pay.
constexpr std::size_t searched_one_by_one = 64;

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
    by_correlator_.clear();
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
    // All commands are looked at for every plug-in: what a plug-in owns may change with what others
    // did, so there is no list by owner to keep. Finishing one command leaves the others as they
    // are, so one look at each does.
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
    const auto has_it = [correlator](const transaction_command* command) {
        return command->correlator == correlator;
    };
    if (commands.size() <= searched_one_by_one) {
        const auto found = std::find_if(commands.begin(), commands.end(), has_it);
        return found == commands.end() ? nullptr : *found;
    }
    if (by_correlator_.size() != commands.size()) {
        index_correlators();
    }
    const auto indexed = std::lower_bound(by_correlator_.begin(), by_correlator_.end(),
                                          std::pair{correlator, std::uint32_t{0}});
    if (indexed != by_correlator_.end() && indexed->first == correlator &&
        has_it(commands[indexed->second])) {
        return commands[indexed->second];
    }
    // Commands are open data: the correlator may have been stored since the index was made.
    const auto found = std::find_if(commands.begin(), commands.end(), has_it);
    if (found == commands.end()) {
        return nullptr;
    }
    index_correlators();
    return *found;
}

void setting_transaction::index_correlators() {
    by_correlator_.clear();
    by_correlator_.reserve(commands.size());
    for (const transaction_command* command : commands) {
        by_correlator_.emplace_back(command->correlator,
                                    static_cast<std::uint32_t>(by_correlator_.size()));
    }
    std::sort(by_correlator_.begin(), by_correlator_.end());
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
