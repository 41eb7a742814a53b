// The classes of logs/ as a host derives from them and applies them.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <type_traits>

#include "logs/change_history_visitor.hpp"
#include "logs/client_log.hpp"
#include "logs/error_command_visitor.hpp"
#include "logs/process_log.hpp"
#include "transactions/client_transaction.hpp"

namespace {

class host_log : public dp::client_log {
  public:
    using client_log::client_log;
    void start(dp::setting_transaction*) override { ++starts; }
    int starts = 0;
};

class host_process_log : public dp::process_log {
  public:
    using process_log::process_log;
    void add_progress(dp::setting_transaction*) override { ++steps; }
    int steps = 0;
};

}  // namespace

TEST(derived_client_log, replaces_the_lines_of_its_base) {
    static_assert(std::has_virtual_destructor_v<dp::client_log>);
    host_log log("", false);
    dp::client_transaction t;
    dp::client_log& base = log;
    base.start(&t);
    base.add_progress(&t);
    EXPECT_EQ(log.starts, 1);
    EXPECT_EQ(t.progress, 1);
}

TEST(derived_process_log, replaces_the_lines_of_its_base) {
    static_assert(std::is_base_of_v<dp::client_log, dp::process_log>);
    host_process_log log("", false);
    dp::client_transaction t;
    dp::client_log& base = log;
    base.start(&t);
    base.add_progress(&t);
    base.stop(&t);
    EXPECT_EQ(log.steps, 1);
    EXPECT_EQ(t.progress, 1);
}

TEST(change_history_visitor_test, is_applied_to_the_commands_of_a_list) {
    dp::transaction_command c;
    const dp::transaction_command_list commands{&c};
    std::ostringstream history;
    std::for_each(commands.begin(), commands.end(), dp::change_history_visitor(history));
    EXPECT_EQ(history.str(), "") << "a command without a setting is skipped";
}

TEST(error_command_visitor_test, is_applied_to_the_commands_of_a_list) {
    dp::transaction_command c;
    const dp::transaction_command_list commands{&c};
    dp::process_log log("", false);
    std::for_each(commands.begin(), commands.end(), dp::error_command_visitor(log, "T"));
    EXPECT_EQ(c.status, 255);
}
