#include "host/host_registrar.hpp"

#include "batch/qualified_setting_name.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/host/sample_service.hpp"

namespace {

using host_registrar_test = test::sample_service;

/// Notes the calls of the registrar. Can leave its part of a transaction incomplete.
class noting_plugin final : public dp::plugin {
  public:
    explicit noting_plugin(bool never_answers = false)
        : dp::plugin("noting", never_answers ? settings_owner : client) {}
    void on_start(dp::registrar&) override { notes += "start "; }
    void process_transaction(dp::registrar&, dp::transaction*) override { notes += "process "; }
    void on_stop(dp::registrar&) override { notes += "stop "; }
    void on_add_configuration(dp::registrar&, dp::configuration* c) override {
        notes += "add:" + c->name + ' ';
    }
    void on_unregister_configuration(dp::registrar&, dp::configuration* c) override {
        notes += "unregister:" + c->name + ' ';
    }
    void on_remove_configuration(dp::registrar&, dp::configuration* c) override {
        notes += "remove:" + c->name + ' ';
    }
    std::string notes;
};

TEST_F(host_registrar_test, resolves_names_regardless_of_their_instance) {
    dp::qualified_setting_name name;
    name.parse("Ports.Speed.77");
    EXPECT_EQ(registrar.resolve(name), model->find("Ports", "Speed"));
    EXPECT_EQ(registrar.find_setting("Ports", "Speed"), model->find("Ports", "Speed"));
    EXPECT_EQ(registrar.find_setting("Ports", ""), nullptr);
    registrar.use_model(nullptr);
    EXPECT_EQ(registrar.resolve(name), nullptr);
}

TEST_F(host_registrar_test, notifies_plugins_of_configurations_and_of_the_stop) {
    noting_plugin noting;
    registrar.add_plugin(&noting);
    registrar.use_model(nullptr);
    registrar.use_model(model.get());
    registrar.remove_plugins();
    EXPECT_EQ(noting.notes,
              "start unregister:Boot remove:Boot unregister:Ports remove:Ports add:Boot add:Ports "
              "stop ");
}

TEST_F(host_registrar_test, a_plugin_that_never_answers_does_not_block_the_queue) {
    test::recording_log log(sysipc::event_log::log_level::error);
    noting_plugin silent(true);
    registrar.add_plugin(&silent);
    EXPECT_EQ(run_one("set", "Boot.Mode", "Legacy").status, 0);
    EXPECT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(run_one("get", "Boot.Mode").value_out, "Legacy");
}

TEST_F(host_registrar_test, runs_transactions_in_the_order_in_which_they_were_queued) {
    std::vector<dp::transaction_command> first{command("set", "Boot.Mode", "Legacy")};
    std::vector<dp::transaction_command> second{command("getv", "Boot.Mode")};
    dp_host::batch_transaction one(first);
    dp_host::batch_transaction two(second);
    one.queue(registrar);
    two.queue(registrar);
    EXPECT_FALSE(one.is_complete());
    registrar.run_queued();
    EXPECT_TRUE(two.is_complete());
    EXPECT_EQ(second[0].value_out, "Legacy");
}

}  // namespace
