// Runs one transaction with a plug-in that answers later:
//
//   run_fans Fans.Speed.1 Fans.Speed.2=40%    reads one setting and changes another
//
// Prints the commands with their outcome, and how often the program woke up to wait for it.
#include <poll.h>
#include <batch/qualified_setting_name.hpp>
#include <settings/plugin_list.hpp>
#include <settings/registrar.hpp>
#include <transactions/client_transaction.hpp>

#include <iostream>
#include <string>

#include "fan_plugin.hpp"

namespace {

class fan_host : public dp::registrar {
  public:
    dp::setting* resolve(const dp::qualified_setting_name& name) override {
        return find_setting(name.configuration, name.setting);
    }
    dp::setting* find_setting(const std::string& configuration_name,
                              const std::string& setting_name) override {
        return configuration_name == fans_.fans().name ? fans_.fans().find_setting(setting_name)
                                                       : nullptr;
    }
    void queue_transaction(dp::transaction* trans) override { running_ = trans; }

    // Each call of execute_step runs at most one step. A step that did not end waits for a plug-in:
    // there is nothing to do until the plug-in's descriptor is ready.
    int run() {
        int wakes = 0;
        while (running_->step != 0) {
            const auto step = running_->step;
            running_->execute_step(*this, plugins_);
            if (running_->step != step) {
                continue;
            }
            pollfd entry{fans_.descriptor(), POLLIN, 0};
            if (poll(&entry, 1, -1) == 1) {
                ++wakes;
                fans_.on_answer(*this);
            }
        }
        running_->transaction_complete(*this);
        return wakes;
    }

  private:
    fan_plugin fans_;
    dp::plugin_list plugins_{&fans_};
    dp::transaction* running_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
    fan_host host;
    dp::client_transaction trans;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        dp::qualified_setting_name name;
        name.parse(argument.substr(0, equals));
        dp::transaction_command command;
        command.status = dp::command_status::success;  // a new one has 255: not to be run
        command.correlator = static_cast<std::uint32_t>(i);
        command.operation = equals == std::string::npos ? dp::op_get : dp::op_set;
        command.target.instance = name.instance;
        command.value_in = equals == std::string::npos ? "" : argument.substr(equals + 1);
        // A repeated name replaces the command that was added before.
        trans.add_command(name.configuration, name.setting, command);
    }
    trans.queue(host);
    const int wakes = host.run();
    trans.write_batch_commands(std::cout, true);  // in the order of the names
    std::cout << trans.commands.status << " (commands, completed, failed), woke up " << wakes
              << (wakes == 1 ? " time\n" : " times\n");
    return trans.commands.status.errors == 0 ? 0 : 1;
}
