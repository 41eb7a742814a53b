#include "transactions/setting_transaction.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "settings/instance_number.hpp"
#include "settings/plugin_list.hpp"
#include "tests/support/counting_buffer.hpp"
#include "tests/support/settings_model.hpp"
#include "transactions/transaction_command.hpp"

using dp::no_instance;

namespace {

class plain_transaction final : public dp::setting_transaction {
  public:
    void on_transaction_complete(dp::registrar&) override {}
    void on_transaction_event(dp::registrar&) override { ++events; }
    int events = 0;
};

class setting_transaction : public testing::Test {
  protected:
    // An open command of the transaction.
    dp::transaction_command& add(dp::operations op, dp::setting* s, const std::string& value = "") {
        auto none = test::single_entry();
        auto& c = owned.emplace_back(op, s, none);
        c.status = 0;
        c.value_in = value;
        c.correlator = static_cast<std::uint32_t>(owned.size());
        trans.commands.push_back(&c);
        return c;
    }

    // Adds 100 commands with correlators from 1000 upwards.
    void add_many() {
        for (std::uint32_t i = 0; i < 100; ++i) {
            add(dp::op_get, &of_b).correlator = 1000 + i;
        }
    }

    void execute() { trans.execute_step(reg, plugins); }

    // Makes a plug-in answer every open command on its settings and end its sub-step.
    static void answer(test::plugin& p) {
        p.on_process = [&p](dp::registrar& r, dp::transaction* t) {
            for (auto* c : dynamic_cast<dp::setting_transaction&>(*t).commands) {
                if (!c->complete && c->target.setting != nullptr &&
                    c->target.setting->owner == &p) {
                    c->value_out = p.name + " answers";
                    c->complete = true;
                }
            }
            t->substep_complete(r, &p);
        };
    }

    // Makes a plug-in leave its sub-step open.
    static void silence(test::plugin& p) {
        p.on_process = [](dp::registrar&, dp::transaction*) {};
    }

    static std::string cached(dp::setting& s) {
        std::string out;
        return s.get_instance_value(&out, no_instance) ? out : "unknown";
    }

    test::registrar reg;
    test::plugin a{"a"};
    test::plugin b{"b"};
    dp::plugin_list plugins{&a, &b};
    test::configuration config{"C"};
    test::element element;
    dp::setting of_a{&config, "of_a", &a, &element};
    dp::setting of_b{&config, "of_b", &b, &element};
    std::deque<dp::transaction_command> owned;
    plain_transaction trans;
};

}  // namespace

TEST_F(setting_transaction, starts_without_commands_name_and_progress) {
    EXPECT_TRUE(trans.commands.empty());
    EXPECT_EQ(trans.commands.status.total, 0U);
    EXPECT_EQ(trans.name, "");
    EXPECT_EQ(trans.progress, 0);
}

TEST_F(setting_transaction, validates_open_commands_in_step_2) {
    std::vector<std::string> asked;
    element.on_validate = [&](const std::string& value) {
        asked.push_back(value);
        return value == "bad" ? 77 : 0;
    };
    auto& good = add(dp::op_set, &of_a, "good");
    auto& bad = add(dp::op_set, &of_b, "bad");
    add(dp::op_set, &of_a, "failed").status = 5;
    add(dp::op_set, &of_a, "not run").status = 255;
    add(dp::op_set, &of_a, "complete").complete = true;
    add(dp::op_set, nullptr, "unresolved");
    execute();
    EXPECT_EQ(asked, (std::vector<std::string>{"good", "bad"}));
    EXPECT_FALSE(good.complete);
    EXPECT_EQ(bad.status, 77);
    EXPECT_TRUE(bad.complete);
    EXPECT_EQ(trans.step, 1) << "validation ends at once";
    EXPECT_EQ(trans.pending, 0U);
}

TEST_F(setting_transaction, fails_a_delete_that_is_not_permitted_with_226) {
    auto& c = add(dp::op_delete, &of_a);
    execute();
    EXPECT_EQ(c.status, 226);
    EXPECT_TRUE(c.complete);
}

TEST_F(setting_transaction, answers_gets_from_the_cache_before_a_plugin_sees_them) {
    of_a.set_instance_value("cached", no_instance);
    auto& get = add(dp::op_get, &of_a);
    auto& getv = add(dp::op_getv, &of_a);
    bool seen = false;
    a.on_process = [&](dp::registrar& r, dp::transaction* t) {
        seen = true;
        EXPECT_TRUE(get.complete);
        EXPECT_EQ(get.value_out, "cached");
        EXPECT_FALSE(getv.complete);
        t->substep_complete(r, &a);
    };
    execute();
    EXPECT_FALSE(seen) << "step 2 calls no plug-in";
    EXPECT_FALSE(get.complete);
    execute();
    EXPECT_TRUE(seen);
    EXPECT_EQ(getv.status, 21);
    EXPECT_EQ(get.status, 0);
}

TEST_F(setting_transaction, stores_the_answers_of_the_owners_in_the_cache) {
    answer(a);
    answer(b);
    add(dp::op_get, &of_a);
    add(dp::op_set, &of_b, "new");
    execute();
    execute();
    EXPECT_EQ(trans.step, 0);
    EXPECT_EQ(cached(of_a), "a answers");
    EXPECT_EQ(cached(of_b), "new");
}

TEST_F(setting_transaction, fails_commands_that_the_owner_did_not_answer_with_21) {
    auto& set = add(dp::op_set, &of_a, "new");
    auto& failed = add(dp::op_set, &of_a, "new");
    auto& not_run = add(dp::op_set, &of_a, "new");
    execute();
    failed.status = 5;
    not_run.status = 255;
    execute();
    EXPECT_EQ(set.status, 21);
    EXPECT_TRUE(set.complete);
    EXPECT_EQ(failed.status, 5) << "the first code is kept";
    EXPECT_TRUE(failed.complete);
    EXPECT_EQ(not_run.status, 255);
    EXPECT_TRUE(not_run.complete);
    EXPECT_EQ(cached(of_a), "unknown");
}

TEST_F(setting_transaction, invalidates_a_value_that_the_owner_reports_as_not_known) {
    of_a.set_instance_value("old", no_instance);
    a.on_process = [this](dp::registrar& r, dp::transaction* t) {
        owned[0].status = 32;
        owned[0].complete = true;
        t->substep_complete(r, &a);
    };
    add(dp::op_getv, &of_a);
    execute();
    execute();
    EXPECT_EQ(cached(of_a), "unknown");
}

TEST_F(setting_transaction, finishes_a_command_only_when_its_owner_is_done) {
    silence(a);
    silence(b);
    auto& c = add(dp::op_set, &of_a, "new");
    auto& open = add(dp::op_set, &of_a, "open");
    execute();
    execute();
    EXPECT_EQ(trans.pending, 2U);
    c.complete = true;
    trans.substep_complete(reg, &b);
    EXPECT_EQ(cached(of_a), "unknown");
    EXPECT_FALSE(open.complete);
    trans.substep_complete(reg, &a);
    EXPECT_EQ(cached(of_a), "new");
    EXPECT_EQ(open.status, 21);
    execute();
    EXPECT_EQ(trans.step, 0);
}

TEST_F(setting_transaction, leaves_commands_without_an_owner_unchanged) {
    dp::setting ownerless(&config, "ownerless", nullptr, &element);
    auto& c = add(dp::op_set, &ownerless);
    auto& unresolved = add(dp::op_set, nullptr);
    execute();
    execute();
    EXPECT_EQ(trans.step, 0);
    for (const auto* command : {&c, &unresolved}) {
        EXPECT_FALSE(command->complete);
        EXPECT_EQ(command->status, 0);
    }
}

TEST_F(setting_transaction, ends_step_1_at_once_without_settings_owners) {
    plugins.clear();
    auto& c = add(dp::op_set, &of_a);
    execute();
    execute();
    EXPECT_EQ(trans.step, 0);
    EXPECT_EQ(trans.events, 2);
    EXPECT_FALSE(c.complete);
}

TEST_F(setting_transaction, executes_a_step_once_however_often_the_host_calls) {
    int calls = 0;
    a.on_process = [&](dp::registrar&, dp::transaction*) { ++calls; };
    add(dp::op_set, &of_a);
    for (int i = 0; i < 5; ++i) {
        execute();
    }
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(trans.pending, 1U);
    trans.substep_complete(reg, &a);
    execute();
    execute();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(trans.step, 0);
    EXPECT_EQ(trans.events, 2);
}

TEST_F(setting_transaction, does_nothing_in_any_other_step) {
    trans.step = 3;
    int calls = 0;
    a.on_process = [&](dp::registrar&, dp::transaction*) { ++calls; };
    element.on_validate = [](const std::string&) { return 77; };
    auto& c = add(dp::op_set, &of_a);
    execute();
    EXPECT_EQ(trans.step, 2);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(c.status, 0);
}

TEST_F(setting_transaction, finishes_later_answers_at_a_second_completion) {
    silence(a);
    silence(b);
    execute();
    execute();
    trans.substep_complete(reg, &a);
    auto& late = add(dp::op_set, &of_a, "late");
    late.complete = true;
    trans.substep_complete(reg, &a);
    EXPECT_EQ(cached(of_a), "late");
    EXPECT_EQ(trans.pending, 0U);
}

TEST_F(setting_transaction, counts_no_change_for_an_answered_get) {
    of_a.set_instance_value("cached", no_instance);
    config.changed = 0;
    add(dp::op_get, &of_a);
    execute();
    execute();
    EXPECT_EQ(config.changed, 0U);
}

TEST_F(setting_transaction, finds_the_first_command_with_a_correlator) {
    auto& first = add(dp::op_get, &of_a);
    auto& second = add(dp::op_get, &of_a);
    auto& third = add(dp::op_get, &of_a);
    first.correlator = 0xFFFFFFFF;
    second.correlator = 7;
    third.correlator = 7;
    EXPECT_EQ(trans.get_command_by_corr(7), &second);
    EXPECT_EQ(trans.get_command_by_corr(0xFFFFFFFF), &first);
    EXPECT_EQ(trans.get_command_by_corr(0), nullptr);
    EXPECT_EQ(trans.get_command_by_corr(8), nullptr);
}

TEST_F(setting_transaction, finds_no_command_in_an_empty_list) {
    EXPECT_EQ(trans.get_command_by_corr(0), nullptr);
}

TEST_F(setting_transaction, finds_the_first_command_after_its_correlator_changed) {
    auto& first = add(dp::op_get, &of_a);
    auto& second = add(dp::op_get, &of_a);
    EXPECT_EQ(trans.get_command_by_corr(2), &second);
    first.correlator = 2;
    EXPECT_EQ(trans.get_command_by_corr(2), &first);
}

TEST_F(setting_transaction, finds_the_first_command_in_a_long_list_that_changed) {
    auto& first = add(dp::op_get, &of_a);
    auto& second = add(dp::op_get, &of_a);
    add_many();
    EXPECT_EQ(trans.get_command_by_corr(2), &second);
    first.correlator = 2;
    EXPECT_EQ(trans.get_command_by_corr(2), &first) << "after it was stored again";
    std::swap(trans.commands[0], trans.commands[1]);
    EXPECT_EQ(trans.get_command_by_corr(2), &second) << "after the list was reordered";
    std::reverse(trans.commands.begin(), trans.commands.end());
    EXPECT_EQ(trans.get_command_by_corr(2), &first);
}

TEST_F(setting_transaction, finds_commands_whose_correlators_changed) {
    for (const bool long_list : {false, true}) {
        auto& first = add(dp::op_get, &of_a);
        auto& second = add(dp::op_get, &of_a);
        if (long_list) {
            add_many();
        }
        first.correlator = 1;
        second.correlator = 2;
        EXPECT_EQ(trans.get_command_by_corr(1), &first);
        first.correlator = 100;
        EXPECT_EQ(trans.get_command_by_corr(1), nullptr);
        EXPECT_EQ(trans.get_command_by_corr(100), &first);
        std::swap(first.correlator, second.correlator);
        EXPECT_EQ(trans.get_command_by_corr(100), &second);
        EXPECT_EQ(trans.get_command_by_corr(2), &first);
        trans.commands.clear();
    }
}

TEST_F(setting_transaction, finds_commands_in_a_list_that_changed) {
    for (const bool long_list : {false, true}) {
        if (long_list) {
            add_many();
        }
        auto& first = add(dp::op_get, &of_a);
        first.correlator = 1;
        EXPECT_EQ(trans.get_command_by_corr(1), &first);
        auto& second = add(dp::op_get, &of_a);
        second.correlator = 2;
        EXPECT_EQ(trans.get_command_by_corr(2), &second);
        trans.commands.erase(trans.commands.end() - 2);
        EXPECT_EQ(trans.get_command_by_corr(1), nullptr);
        EXPECT_EQ(trans.get_command_by_corr(2), &second);
        trans.commands.clear();
        EXPECT_EQ(trans.get_command_by_corr(2), nullptr);
    }
}

TEST_F(setting_transaction, writes_each_command_terse_or_padded_on_its_own_line) {
    add(dp::op_get, &of_a, "x");
    add(dp::op_set, &of_b, "a\"b").tid = "";
    std::ostringstream terse;
    trans.write_batch_commands(terse, true);
    EXPECT_EQ(terse.str(),
              "0 1 <tid> get C.of_a \"x\" \"\" \n"
              "0 2 <none> set C.of_b \"a\"b\" \"\" \n");
    std::ostringstream padded;
    trans.write_batch_commands(padded, false);
    EXPECT_EQ(
        padded.str(),
        "  0 1      <tid>      get        C.of_a                         \"x\"        \"\"      "
        "   \n"
        "  0 2      <none>     set        C.of_b                         \"a\\\"b\"     \"\"     "
        "    \n");
}

TEST_F(setting_transaction, flushes_after_each_line) {
    for (int i = 0; i < 3; ++i) {
        add(dp::op_get, &of_a);
    }
    for (const bool terse : {true, false}) {
        test::counting_buffer buffer;
        std::ostream os(&buffer);
        trans.write_batch_commands(os, terse);
        EXPECT_EQ(buffer.flushes, 3);
    }
}

TEST_F(setting_transaction, writes_nothing_without_commands) {
    std::ostringstream os;
    trans.write_batch_commands(os, true);
    trans.write_batch_commands(os, false);
    EXPECT_EQ(os.str(), "");
}

TEST_F(setting_transaction, writes_the_cached_values_of_a_configuration_as_commands) {
    of_a.set_instance_value("single", no_instance);
    of_b.set_instance_value("one", 1);
    of_b.set_instance_value("two", 2);
    for (auto* s : {&of_a, &of_b}) {
        for (auto& e : s->cache) {
            trans.commands.push_back(&owned.emplace_back(dp::op_setv, s, e));
        }
    }
    std::ostringstream os;
    trans.write_batch_commands(os, true);
    EXPECT_EQ(os.str(),
              "255 0 <tid> setv C.of_a \"single\" \"single\" \n"
              "255 0 <tid> setv C.of_b.1 \"one\" \"one\" \n"
              "255 0 <tid> setv C.of_b.2 \"two\" \"two\" \n");
}

TEST(command_finish_visitor, finishes_only_complete_commands_of_its_plugin) {
    test::plugin mine("mine");
    test::plugin other("other");
    test::configuration config("C");
    dp::setting s(&config, "s", &mine, nullptr);
    auto none = test::single_entry();
    dp::transaction_command c(dp::op_set, &s, none);
    c.status = 0;
    c.value_in = "v";
    const auto is_cached = [&s] {
        std::string out;
        return s.get_instance_value(&out, no_instance);
    };
    using visitor = dp::setting_transaction::command_finish_visitor;
    visitor{&mine}(&c);
    EXPECT_FALSE(is_cached()) << "open";
    c.complete = true;
    visitor{&other}(&c);
    EXPECT_FALSE(is_cached()) << "of another plug-in";
    visitor{&mine}(&c);
    EXPECT_TRUE(is_cached());
    c.target.setting = nullptr;
    visitor{nullptr}(&c);
}
