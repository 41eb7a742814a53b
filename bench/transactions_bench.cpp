// Transactions with few and with many commands, from queuing to completion, with one settings owner
// and with fifty. All commands are visited whenever an owner ends its sub-step: this part grows
// with the number of owners.

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "bench/support/side_by_side.hpp"
#include "settings/plugin_list.hpp"
#include "tests/support/settings_model.hpp"
#include "transactions/client_transaction.hpp"

namespace {

constexpr std::uint32_t most_commands = 100'000;

/// Several settings owners; the first one owns the only setting, which has many instances.
class small_host {
  public:
    explicit small_host(unsigned owners) : config_("Boot") {
        reg_.configurations.push_back(&config_);
        for (unsigned i = 0; i < owners; ++i) {
            test::plugin& owner = owners_.emplace_back("owner" + std::to_string(i));
            plugins_.push_back(&owner);
        }
        test::plugin& first = owners_.front();
        first.on_process = [&first](dp::registrar& reg, dp::transaction* trans) {
            for (auto* command : static_cast<dp::setting_transaction*>(trans)->commands) {
                command->complete = true;
            }
            trans->substep_complete(reg, &first);
        };
        setting_ = std::make_unique<dp::setting>(&config_, "Attribute", &first, &element_);
        config_.add_setting(setting_.get());
    }

    void run(std::uint32_t commands) {
        dp::client_transaction trans(nullptr);
        dp::setting::cache::entry entry;
        entry.value = "value";
        for (entry.instance = 0; entry.instance < commands; ++entry.instance) {
            dp::transaction_command command(dp::op_set, setting_.get(), entry);
            command.status = 0;
            trans.add_command("Boot", "Attribute", command);
        }
        test::run_transaction(trans, reg_, plugins_);
        reg_.queued.clear();
        bench::require(
            trans.commands.status.completed == commands && trans.commands.status.errors == 0,
            "commands were not carried out");
    }

  private:
    test::configuration config_;
    test::element element_;
    test::registrar reg_;
    std::deque<test::plugin> owners_;
    dp::plugin_list plugins_;
    std::unique_ptr<dp::setting> setting_;
};

// Only stores the commands by name in a tree, as a client transaction does.
void store_by_name(std::uint32_t commands, dp::setting& target) {
    std::map<std::string, dp::transaction_command> requests;
    dp::setting::cache::entry entry;
    entry.value = "value";
    for (entry.instance = 0; entry.instance < commands; ++entry.instance) {
        requests.insert_or_assign("Boot.Attribute." + std::to_string(entry.instance),
                                  dp::transaction_command(dp::op_set, &target, entry));
    }
    std::uint32_t open = 0;
    for (const auto& [name, command] : requests) {
        open += command.complete ? 0 : 1;
    }
    bench::require(open == commands, "commands were lost");
}

}  // namespace

int main() {
    small_host one(1);
    small_host fifty(50);
    bench::side_by_side contest("commands in transactions of different lengths", "command",
                                most_commands);
    for (const std::uint32_t length : {100U, 1000U, 10'000U, 100'000U}) {
        contest.add(std::to_string(length) + " commands, 1 owner", [&one, length] {
            for (std::uint32_t done = 0; done < most_commands; done += length) {
                one.run(length);
            }
        });
    }
    for (const std::uint32_t length : {100U, 100'000U}) {
        contest.add(std::to_string(length) + " commands, 50 owners", [&fifty, length] {
            for (std::uint32_t done = 0; done < most_commands; done += length) {
                fifty.run(length);
            }
        });
    }
    contest.run();

    test::configuration config("Boot");
    test::element element;
    dp::setting target(&config, "Attribute", nullptr, &element);
    bench::side_by_side storing("only storing as many commands in a std::map", "command",
                                most_commands);
    for (const std::uint32_t length : {100U, 100'000U}) {
        storing.add(std::to_string(length) + " commands", [&target, length] {
            for (std::uint32_t done = 0; done < most_commands; done += length) {
                store_by_name(length, target);
            }
        });
    }
    storing.run();
    return 0;
}
