#include "transactions/transaction.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "settings/plugin_list.hpp"
#include "tests/support/settings_model.hpp"

namespace {

// Traces the calls of its functions. Its plug-ins take part in every step.
class traced_transaction final : public dp::transaction {
  public:
    void on_execute_step(dp::registrar& reg, dp::plugin_list& plugins) override {
        trace.push_back("step " + std::to_string(step));
        for (auto* p : plugins) {
            execution_visitor(reg, *this)(p);
        }
    }
    void on_substep_complete(dp::registrar&, dp::plugin* p) override {
        trace.push_back("done " + p->name);
    }
    void on_transaction_complete(dp::registrar&) override { trace.emplace_back("complete"); }
    void on_transaction_event(dp::registrar&) override {
        trace.push_back("event " + std::to_string(step));
    }

    std::vector<std::string> trace;
};

using trace = std::vector<std::string>;

class transaction : public testing::Test {
  protected:
    // Makes a plug-in leave its sub-step open.
    static void silence(test::plugin& p) {
        p.on_process = [](dp::registrar&, dp::transaction*) {};
    }

    void execute() { trans.execute_step(reg, plugins); }

    test::registrar reg;
    test::plugin a{"a"};
    test::plugin b{"b"};
    dp::plugin_list plugins;
    traced_transaction trans;
};

}  // namespace

TEST_F(transaction, starts_at_step_2_with_nothing_pending) {
    EXPECT_EQ(trans.step, 2);
    EXPECT_EQ(trans.last_step, 0);
    EXPECT_EQ(trans.pending, 0U);
}

TEST_F(transaction, counts_its_steps_down_to_0_and_then_stops) {
    for (int i = 0; i < 5; ++i) {
        execute();
    }
    EXPECT_EQ(trans.trace, (trace{"step 2", "event 2", "step 1", "event 1"}));
    EXPECT_EQ(trans.step, 0);
    EXPECT_EQ(trans.last_step, 1);
}

TEST_F(transaction, ends_a_step_at_once_when_every_owner_does) {
    plugins = {&a, &b};
    execute();
    EXPECT_EQ(trans.trace, (trace{"step 2", "done a", "done b", "event 2"}));
    EXPECT_EQ(trans.pending, 0U);
    EXPECT_EQ(trans.step, 1);
}

TEST_F(transaction, completes_a_default_plugin_before_the_next_one_begins) {
    plugins = {&a, &b};
    b.on_process = [this](dp::registrar& r, dp::transaction* t) {
        EXPECT_EQ(t->pending, 1U);
        trans.trace.emplace_back("b begins");
        t->substep_complete(r, &b);
    };
    execute();
    EXPECT_EQ(trans.trace, (trace{"step 2", "done a", "b begins", "done b", "event 2"}));
}

TEST_F(transaction, waits_for_an_owner_that_is_done_later) {
    silence(a);
    plugins = {&a, &b};
    execute();
    EXPECT_EQ(trans.trace, (trace{"step 2", "done b"}));
    EXPECT_EQ(trans.pending, 1U);
    EXPECT_EQ(trans.step, 2);
    execute();
    EXPECT_EQ(trans.trace, (trace{"step 2", "done b"})) << "a step is executed once";
    trans.substep_complete(reg, &a);
    EXPECT_EQ(trans.step, 2) << "the next call of the host ends the step";
    execute();
    EXPECT_EQ(trans.trace, (trace{"step 2", "done b", "done a", "event 2"}));
    EXPECT_EQ(trans.step, 1);
}

TEST_F(transaction, never_ends_a_step_while_an_owner_is_silent) {
    silence(a);
    plugins = {&a};
    for (int i = 0; i < 10; ++i) {
        execute();
    }
    EXPECT_EQ(trans.trace, trace{"step 2"});
    EXPECT_EQ(trans.step, 2);
}

TEST_F(transaction, ignores_completions_when_none_is_pending) {
    plugins = {&a};
    a.on_process = [this](dp::registrar& r, dp::transaction* t) {
        t->substep_complete(r, &a);
        t->substep_complete(r, &a);
    };
    trans.substep_complete(reg, &a);
    execute();
    trans.substep_complete(reg, &a);
    EXPECT_EQ(trans.trace, (trace{"step 2", "done a", "event 2"}));
    EXPECT_EQ(trans.pending, 0U);
}

TEST_F(transaction, counts_a_surplus_completion_as_that_of_another_owner) {
    silence(a);
    silence(b);
    plugins = {&a, &b};
    execute();
    EXPECT_EQ(trans.pending, 2U);
    trans.substep_complete(reg, &a);
    trans.substep_complete(reg, &a);
    EXPECT_EQ(trans.trace, (trace{"step 2", "done a", "done a"}));
    EXPECT_EQ(trans.pending, 0U);
    execute();
    EXPECT_EQ(trans.step, 1);
}

TEST_F(transaction, is_processed_by_settings_owners_only) {
    test::plugin any("any", dp::plugin::any_type);
    test::plugin templates("templates", dp::plugin::template_owner);
    test::plugin client("client", dp::plugin::client);
    test::plugin odd("odd", static_cast<dp::plugin::types>(9));
    plugins = {&any, &templates, &a, &client, &odd, &b};
    execute();
    EXPECT_EQ(trans.trace, (trace{"step 2", "done a", "done b", "event 2"}));
}

TEST_F(transaction, is_completed_by_the_host) {
    trans.transaction_complete(reg);
    EXPECT_EQ(trans.trace, trace{"complete"});
}

TEST_F(transaction, may_be_deleted_through_its_base) {
    struct noticed final : dp::transaction {
        explicit noticed(bool* deleted) : deleted_(deleted) {}
        ~noticed() override { *deleted_ = true; }
        void on_execute_step(dp::registrar&, dp::plugin_list&) override {}
        void on_substep_complete(dp::registrar&, dp::plugin*) override {}
        void on_transaction_complete(dp::registrar&) override {}
        void on_transaction_event(dp::registrar&) override {}
        bool* deleted_;
    };
    bool deleted = false;
    const dp::transaction* t = new noticed(&deleted);
    delete t;
    EXPECT_TRUE(deleted);
}
