#include "transactions/transaction_command_list.hpp"

#include <gtest/gtest.h>

#include <iomanip>
#include <list>
#include <sstream>
#include <string>

#include "tests/support/settings_model.hpp"
#include "transactions/transaction_command.hpp"

namespace {

class transaction_command_list : public testing::Test {
  protected:
    void add(std::int32_t status, bool complete) {
        auto none = test::single_entry();
        owned.emplace_back(dp::op_get, nullptr, none);
        owned.back().status = status;
        owned.back().complete = complete;
        list.push_back(&owned.back());
    }

    [[nodiscard]] std::string printed() const {
        std::ostringstream os;
        os << list.status;
        return os.str();
    }

    std::list<dp::transaction_command> owned;
    dp::transaction_command_list list;
};

}  // namespace

TEST_F(transaction_command_list, starts_with_counters_of_0) {
    EXPECT_EQ(printed(), "(0,0,0)");
    list.update_status();
    EXPECT_EQ(printed(), "(0,0,0)");
}

TEST_F(transaction_command_list, counts_all_complete_and_failed_commands) {
    add(0, true);
    add(0, true);
    add(0, true);
    add(16, true);
    add(255, true);
    add(255, false);
    add(0, false);
    list.update_status();
    EXPECT_EQ(list.status.total, 7U);
    EXPECT_EQ(list.status.completed, 5U);
    EXPECT_EQ(list.status.errors, 2U);
    EXPECT_EQ(printed(), "(7,5,2)");
}

TEST_F(transaction_command_list, counts_again_at_each_update) {
    add(16, true);
    list.update_status();
    list.update_status();
    EXPECT_EQ(printed(), "(1,1,1)");
    list.clear();
    EXPECT_EQ(printed(), "(1,1,1)") << "only an update counts";
    list.update_status();
    EXPECT_EQ(printed(), "(0,0,0)");
}

TEST_F(transaction_command_list, prints_its_status_in_decimal_for_all_stream_flags) {
    list.status = {255, 16, 17};
    std::ostringstream os;
    os << std::hex << std::showbase << list.status;
    EXPECT_EQ(os.str(), "(255,17,16)");
}
