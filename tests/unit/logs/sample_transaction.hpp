#ifndef DP_TESTS_UNIT_LOGS_SAMPLE_TRANSACTION_HPP
#define DP_TESTS_UNIT_LOGS_SAMPLE_TRANSACTION_HPP

#include <cstdint>
#include <deque>
#include <string>

#include "settings/configuration.hpp"
#include "settings/setting.hpp"
#include "settings/setting_element.hpp"
#include "transactions/client_transaction.hpp"
#include "transactions/transaction_command.hpp"

namespace test {

class sample_configuration : public dp::configuration {
  public:
    explicit sample_configuration(const std::string& configuration_name)
        : dp::configuration(configuration_name) {}
};

/// A transaction of completed commands on the settings A.B and A.C.
class sample_transaction {
  public:
    explicit sample_transaction(const std::string& name) : transaction(nullptr) {
        transaction.name = name;
    }

    dp::transaction_command& add(dp::setting* target, const std::string& instance,
                                 std::int32_t status, const std::string& value_out) {
        dp::setting::cache::entry entry;
        dp::transaction_command& command = commands_.emplace_back(dp::op_set, &b, entry);
        command.target.setting = target;
        command.target.instance = instance;
        command.status = status;
        command.complete = true;
        command.value_out = value_out;
        transaction.commands.push_back(&command);
        return command;
    }

    sample_configuration configuration{"A"};
    dp::non_xml_setting_element element;
    dp::setting b{&configuration, "B", nullptr, &element};
    dp::setting c{&configuration, "C", nullptr, &element};
    dp::client_transaction transaction;

  private:
    std::deque<dp::transaction_command> commands_;  // never moves its elements
};

}  // namespace test

#endif
