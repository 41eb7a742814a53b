#include "transactions/client_transaction.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "settings/instance_number.hpp"
#include "settings/plugin_list.hpp"
#include "tests/support/cpu_time.hpp"
#include "tests/support/settings_model.hpp"

namespace {

class counted_completion final : public dp::client_transaction::completion_callback {
  public:
    void operator()(dp::registrar& reg, dp::client_transaction* trans) override {
        ++times;
        registrar = &reg;
        transaction = trans;
    }
    int times = 0;
    dp::registrar* registrar = nullptr;
    dp::client_transaction* transaction = nullptr;
};

class client_transaction : public testing::Test {
  protected:
    client_transaction() {
        config.add_setting(&s);
        config.add_setting(&t);
        reg.configurations = {&config};
    }

    static dp::transaction_command command(dp::operations op, const std::string& value = "",
                                           const std::string& instance = "") {
        auto none = test::single_entry();
        dp::transaction_command c(op, nullptr, none);
        c.status = 0;
        c.value_in = value;
        c.target.instance = instance;
        return c;
    }

    void add(const std::string& setting, dp::transaction_command c) {
        trans.add_command("C", setting, c);
    }

    [[nodiscard]] std::vector<std::string> keys() const {
        std::vector<std::string> all;
        for (const auto& [key, c] : trans.requests) {
            all.push_back(key);
        }
        return all;
    }

    void run() {
        while (trans.step != 0) {
            trans.execute_step(reg, plugins);
        }
        trans.transaction_complete(reg);
    }

    test::registrar reg;
    test::plugin owner{"owner"};
    dp::plugin_list plugins{&owner};
    test::configuration config{"C"};
    test::element element;
    dp::setting s{&config, "s", &owner, &element};
    dp::setting t{&config, "t", &owner, &element};
    counted_completion completion;
    dp::client_transaction trans{&completion};
};

using names = std::vector<std::string>;

}  // namespace

TEST_F(client_transaction, keys_commands_by_configuration_setting_and_instance) {
    add("s", command(dp::op_get));
    add("s", command(dp::op_get, "", "3"));
    add("a.b", command(dp::op_get, "", "x y"));
    add("", command(dp::op_get));
    EXPECT_EQ(keys(), (names{"C.", "C.a.b.x y", "C.s", "C.s.3"}));
}

TEST_F(client_transaction, stores_copies) {
    auto c = command(dp::op_set, "first");
    c.correlator = 9;
    trans.add_command("C", "s", c);
    c.value_in = "changed";
    EXPECT_EQ(trans.requests.at("C.s").value_in, "first");
    EXPECT_EQ(trans.requests.at("C.s").correlator, 9U);
    EXPECT_TRUE(trans.commands.empty()) << "queue lists them";
}

TEST_F(client_transaction, replaces_a_command_with_the_same_key) {
    add("s", command(dp::op_set, "first", "3"));
    add("s", command(dp::op_get, "second", "3"));
    EXPECT_EQ(trans.requests.size(), 1U);
    EXPECT_EQ(trans.requests.at("C.s.3").value_in, "second");
    EXPECT_EQ(trans.requests.at("C.s.3").operation, dp::op_get);
    EXPECT_EQ(trans.requests.at("C.s.3").target.instance, "3");
}

TEST_F(client_transaction, queue_resolves_and_lists_commands_by_key) {
    add("t", command(dp::op_get));
    add("s", command(dp::op_get, "", "3"));
    add("s", command(dp::op_get, "", "20"));
    trans.queue(reg);
    EXPECT_EQ(reg.queued, std::vector<dp::transaction*>{&trans});
    names order;
    for (const auto* c : trans.commands) {
        order.push_back(c->target.get_name());
    }
    EXPECT_EQ(order, (names{"C.s.20", "C.s.3", "C.t"}));
    EXPECT_EQ(trans.commands[0], &trans.requests.at("C.s.20"));
    EXPECT_EQ(trans.commands[0]->target.setting, &s);
    EXPECT_EQ(trans.commands[0]->target.instance, "20");
    EXPECT_EQ(trans.commands[2]->target.setting, &t);
    EXPECT_EQ(trans.step, 2);
}

TEST_F(client_transaction, queue_fails_unresolved_names_with_16) {
    add("missing", command(dp::op_get));
    auto earlier = command(dp::op_get);
    earlier.status = 255;
    add("missing too", earlier);
    auto other = command(dp::op_get);
    trans.add_command("D", "s", other);
    trans.queue(reg);
    ASSERT_EQ(trans.commands.size(), 3U);
    EXPECT_EQ(trans.requests.at("C.missing").status, 16);
    EXPECT_EQ(trans.requests.at("C.missing too").status, 255) << "the first code is kept";
    EXPECT_EQ(trans.requests.at("D.s").status, 16);
    for (const auto* c : trans.commands) {
        EXPECT_TRUE(c->complete);
        EXPECT_EQ(c->target.setting, nullptr);
    }
}

TEST_F(client_transaction, queue_maps_input_values_unless_mapping_is_off) {
    element.on_map = [](std::string* value) {
        if (*value == "bad") {
            return false;
        }
        *value = "mapped " + *value;
        return true;
    };
    add("s", command(dp::op_set, "x", "1"));
    auto raw = command(dp::op_set, "x", "2");
    raw.no_input_mapping = true;
    add("s", raw);
    add("s", command(dp::op_setv, "bad", "3"));
    add("s", command(dp::op_get, "x", "4"));
    trans.queue(reg);
    EXPECT_EQ(trans.requests.at("C.s.1").value_in, "mapped x");
    EXPECT_EQ(trans.requests.at("C.s.2").value_in, "x");
    EXPECT_EQ(trans.requests.at("C.s.3").status, 18);
    EXPECT_TRUE(trans.requests.at("C.s.3").complete);
    EXPECT_EQ(trans.requests.at("C.s.4").value_in, "x");
}

TEST_F(client_transaction, queue_hands_over_an_empty_transaction) {
    trans.queue(reg);
    EXPECT_EQ(reg.queued, std::vector<dp::transaction*>{&trans});
    EXPECT_TRUE(trans.commands.empty());
}

TEST_F(client_transaction, queue_reads_the_key_as_a_qualified_name) {
    // A dotted setting name without an instance is read as a setting and an instance.
    add("s.5", command(dp::op_get));
    trans.queue(reg);
    EXPECT_EQ(trans.commands[0]->target.setting, &s);
    EXPECT_EQ(trans.commands[0]->target.instance, "5");
}

TEST_F(client_transaction, may_be_run_and_deleted_while_it_is_queued) {
    class eager_registrar final : public dp::registrar {
      public:
        dp::setting* resolve(const dp::qualified_setting_name&) override { return nullptr; }
        dp::setting* find_setting(const std::string&, const std::string&) override {
            return nullptr;
        }
        void queue_transaction(dp::transaction* queued) override {
            dp::plugin_list none;
            while (queued->step != 0) {
                queued->execute_step(*this, none);
            }
            queued->transaction_complete(*this);
        }
    };
    class deleting_completion final : public dp::client_transaction::completion_callback {
      public:
        void operator()(dp::registrar&, dp::client_transaction* done) override {
            errors = done->commands.status.errors;
            delete done;
        }
        unsigned errors = 0;
    };
    eager_registrar eager;
    deleting_completion deleting;
    auto* own = new dp::client_transaction(&deleting);
    auto c = command(dp::op_get);
    own->add_command("C", "s", c);
    own->queue(eager);
    EXPECT_EQ(deleting.errors, 1U);
}

TEST_F(client_transaction, counts_its_commands_at_the_end_of_each_step) {
    add("s", command(dp::op_set, "v"));
    add("missing", command(dp::op_get));
    trans.queue(reg);
    EXPECT_EQ(trans.commands.status.total, 0U);
    trans.execute_step(reg, plugins);
    EXPECT_EQ(trans.commands.status.total, 2U);
    EXPECT_EQ(trans.commands.status.completed, 1U);
    EXPECT_EQ(trans.commands.status.errors, 1U);
    trans.execute_step(reg, plugins);
    EXPECT_EQ(trans.commands.status.completed, 2U);
    EXPECT_EQ(trans.commands.status.errors, 2U) << "the owner answered nothing";
}

TEST_F(client_transaction, calls_its_callback_when_it_is_complete) {
    trans.queue(reg);
    run();
    EXPECT_EQ(completion.times, 1);
    EXPECT_EQ(completion.registrar, &reg);
    EXPECT_EQ(completion.transaction, &trans);
}

TEST_F(client_transaction, needs_no_callback) {
    dp::client_transaction quiet(nullptr);
    quiet.queue(reg);
    quiet.transaction_complete(reg);
}

TEST_F(client_transaction, runs_100_000_commands) {
    constexpr std::uint32_t many = 100'000;
    owner.on_process = [this](dp::registrar& r, dp::transaction* running) {
        for (auto* c : trans.commands) {
            if (!c->complete) {
                c->complete = true;
            }
        }
        running->substep_complete(r, &owner);
    };
    const double bound = 50 * test::cost_of_100_000_calls();
    const test::cpu_time used;
    for (std::uint32_t i = 0; i < many; ++i) {
        auto c = command(dp::op_set, "v" + std::to_string(i), std::to_string(i));
        c.correlator = i;
        trans.add_command("C", "s", c);
    }
    trans.queue(reg);
    run();
    ASSERT_EQ(trans.commands.size(), std::size_t{many});
    for (const auto* c : trans.commands) {
        ASSERT_EQ(c->target.instance, std::to_string(c->correlator));
    }
    std::ostringstream os;
    trans.write_batch_commands(os, true);
    EXPECT_LT(used.seconds(), bound);
    EXPECT_EQ(trans.commands.status.total, many);
    EXPECT_EQ(trans.commands.status.completed, many);
    EXPECT_EQ(trans.commands.status.errors, 0U);
    EXPECT_EQ(s.cache.size(), std::size_t{many});
    std::string out;
    EXPECT_TRUE(s.get_instance_value(&out, many - 1));
    EXPECT_EQ(out, "v" + std::to_string(many - 1));
    EXPECT_EQ(os.str().substr(0, 27), "0 0 <tid> set C.s.0 \"v0\" \"\"");
}
