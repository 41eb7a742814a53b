// The public data of transactions/ as a host uses it: data members by name, type and order,
// aggregates, and derived classes.

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "settings/plugin_list.hpp"
#include "tests/support/data_members.hpp"
#include "tests/support/settings_model.hpp"
#include "transactions/basic_transaction_command.hpp"
#include "transactions/client_transaction.hpp"
#include "transactions/transaction_command.hpp"
#include "transactions/transaction_command_list.hpp"

namespace {

class host_transaction : public dp::transaction {
  public:
    ~host_transaction() override = default;
    void on_execute_step(dp::registrar&, dp::plugin_list&) override { ++steps; }
    void on_substep_complete(dp::registrar&, dp::plugin*) override {}
    void on_transaction_complete(dp::registrar&) override {}
    void on_transaction_event(dp::registrar&) override {}
    int steps = 0;
};

class host_setting_transaction : public dp::setting_transaction {
  public:
    void on_transaction_complete(dp::registrar&) override {}
    void on_transaction_event(dp::registrar&) override {}
};

class host_callback : public dp::client_transaction::completion_callback {
  public:
    void operator()(dp::registrar&, dp::client_transaction* trans) override { done = trans; }
    dp::client_transaction* done = nullptr;
};

}  // namespace

TEST(transaction_command, can_be_set_after_construction) {
    dp::transaction_command c;
    EXPECT_TRUE(test::has_type<bool>(c.complete));
    EXPECT_TRUE(test::has_type<bool>(c.no_input_mapping));
    EXPECT_TRUE(test::has_type<std::int32_t>(c.status));
    EXPECT_TRUE(test::has_type<std::uint32_t>(c.correlator));
    EXPECT_TRUE(test::has_type<std::string>(c.tid));
    EXPECT_TRUE(test::has_type<dp::operations>(c.operation));
    EXPECT_TRUE(test::has_type<dp::setting_instance>(c.target));
    EXPECT_TRUE(test::has_type<std::string>(c.value_in));
    EXPECT_TRUE(test::has_type<std::string>(c.value_out));
    EXPECT_TRUE(test::in_order(c.complete, c.no_input_mapping, c.status, c.correlator, c.tid,
                               c.operation, c.target, c.value_in, c.value_out));
    EXPECT_FALSE(c.complete);
    EXPECT_FALSE(c.no_input_mapping);
    EXPECT_EQ(c.status, 255);
    EXPECT_EQ(c.correlator, 0U);
    EXPECT_EQ(c.tid, "<tid>");
    EXPECT_EQ(c.target.setting, nullptr);
    c.status = 0;
    c.operation = dp::op_get;
    c.value_out = "x";
    EXPECT_EQ(c.operation, 1);
}

TEST(basic_transaction_command, is_an_aggregate) {
    dp::basic_transaction_command c{0, 7, "<t>", dp::op_set, "A.B", "in", "out"};
    EXPECT_TRUE(test::has_type<std::int32_t>(c.status));
    EXPECT_TRUE(test::has_type<std::uint32_t>(c.correlator));
    EXPECT_TRUE(test::in_order(c.status, c.correlator, c.tid, c.operation, c.name, c.value_in,
                               c.value_out));
    EXPECT_EQ(c.name, "A.B");
    EXPECT_EQ(c.value_out, "out");
}

TEST(transaction_command_list_test, is_a_vector_followed_by_its_counters) {
    static_assert(
        std::is_base_of_v<std::vector<dp::transaction_command*>, dp::transaction_command_list>);
    dp::transaction_command done;
    done.complete = true;
    dp::transaction_command_list list{&done};
    list.update_status();
    const auto& s = list.status;
    EXPECT_TRUE(test::has_type<std::uint32_t>(s.total));
    EXPECT_TRUE(test::in_order(s.total, s.errors, s.completed));
    EXPECT_EQ(s.total, 1U);
    EXPECT_EQ(s.errors, 1U);
    EXPECT_EQ(s.completed, 1U);
}

TEST(transaction_test, is_public_and_in_order) {
    host_transaction t;
    static_assert(std::has_virtual_destructor_v<dp::transaction>);
    EXPECT_TRUE(test::has_type<std::int32_t>(t.last_step));
    EXPECT_TRUE(test::has_type<std::int32_t>(t.step));
    EXPECT_TRUE(test::has_type<std::uint32_t>(t.pending));
    EXPECT_TRUE(test::in_order(t.last_step, t.step, t.pending));
    EXPECT_EQ(t.last_step, 0);
    EXPECT_EQ(t.step, 2);
    EXPECT_EQ(t.pending, 0U);
    test::registrar reg;
    dp::plugin_list none;
    t.execute_step(reg, none);
    EXPECT_EQ(t.steps, 1);
}

TEST(setting_transaction_test, is_public_and_in_order) {
    host_setting_transaction t;
    EXPECT_TRUE(test::has_type<dp::transaction_command_list>(t.commands));
    EXPECT_TRUE(test::has_type<std::string>(t.name));
    EXPECT_TRUE(test::has_type<std::int32_t>(t.progress));
    EXPECT_TRUE(test::in_order(t.pending, t.commands, t.name, t.progress));
    dp::transaction_command c;
    c.correlator = 5;
    t.commands.push_back(&c);
    EXPECT_EQ(t.get_command_by_corr(5), &c);
    EXPECT_EQ(t.progress, 0);
}

TEST(client_transaction_test, can_be_set_after_construction) {
    dp::client_transaction t;
    EXPECT_TRUE((test::has_type<std::map<std::string, dp::transaction_command>>(t.requests)));
    EXPECT_TRUE(test::has_type<dp::client_transaction::completion_callback*>(t.completion));
    EXPECT_TRUE(test::in_order(t.commands, t.requests, t.completion));
    host_callback callback;
    t.completion = &callback;
    t.requests["A.B"].operation = dp::op_get;
    test::registrar reg;
    t.queue(reg);
    EXPECT_EQ(t.commands.size(), 1U);
    t.transaction_complete(reg);
    EXPECT_EQ(callback.done, &t);
}
