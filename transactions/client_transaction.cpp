#include "transactions/client_transaction.hpp"

#include <utility>

#include "batch/qualified_setting_name.hpp"
#include "settings/registrar.hpp"
#include "transactions/command_status.hpp"

namespace dp {

client_transaction::client_transaction(completion_callback* on_completion)
    : completion(on_completion) {}

client_transaction::~client_transaction() = default;

void client_transaction::on_transaction_complete(registrar& reg) {
    if (completion != nullptr) {
        (*completion)(reg, this);
    }
}

void client_transaction::on_transaction_event(registrar& /*reg*/) {
    commands.update_status();
}

void client_transaction::add_command(const std::string& configuration_name,
                                     const std::string& setting_name,
                                     transaction_command& command) {
    const std::string& instance = command.target.instance;
    std::string key;
    key.reserve(configuration_name.size() + setting_name.size() + instance.size() + 2);
    key.append(configuration_name).append(1, '.').append(setting_name);
    if (!instance.empty()) {
        key.append(1, '.').append(instance);
    }
    requests.insert_or_assign(std::move(key), command);
}

void client_transaction::queue(registrar& reg) {
    qualified_setting_name target_name;
    commands.reserve(commands.size() + requests.size());
    for (auto& [key, command] : requests) {
        target_name.parse(key);
        if (setting* resolved = reg.resolve(target_name)) {
            command.target.setting = resolved;
            command.target.instance = target_name.instance;
            if (!command.no_input_mapping) {
                command.map_input_value();
            }
        } else {
            command.fail(command_status::unresolved);
        }
        commands.push_back(&command);
    }
    reg.queue_transaction(this);
}

}  // namespace dp
