#include "host/store_plugin.hpp"

#include "service_api/service_status.hpp"
#include "tests/unit/host/sample_service.hpp"
#include "transactions/command_status.hpp"

namespace {

using store_plugin_test = test::sample_service;

TEST_F(store_plugin_test, reads_return_the_value) {
    EXPECT_EQ(run_one("get", "Boot.Mode").value_out, "UEFI");
    EXPECT_EQ(run_one("getv", "Ports.Speed.4").value_out, "10");
    EXPECT_EQ(persist_calls, 0);
}

TEST_F(store_plugin_test, writes_store_and_return_the_mapped_value) {
    const auto set = run_one("set", "Boot.Delay", "010");
    EXPECT_EQ(set.status, 0);
    EXPECT_EQ(set.value_out, "10");
    EXPECT_EQ(value_of("Boot.Delay"), "10");
    EXPECT_EQ(run_one("setv", "Boot.Delay", "15").value_out, "15");
    EXPECT_EQ(value_of("Boot.Delay"), "15");
    EXPECT_NE(on_disk.find("Boot.Delay \"15\""), std::string::npos);
}

TEST_F(store_plugin_test, refused_values_change_nothing) {
    EXPECT_EQ(run_one("set", "Boot.Mode", "CSM").status, dp_service::service_status::not_a_choice);
    EXPECT_EQ(run_one("set", "Boot.Delay", "7").status, dp_service::service_status::not_a_step);
    EXPECT_EQ(run_one("set", "Boot.Order", "[value='HDD',order=''],[value='PXE',order='']").status,
              dp::command_status::value_not_mapped);
    EXPECT_EQ(persist_calls, 0);
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
}

TEST_F(store_plugin_test, an_unknown_name_and_an_unknown_operation_fail) {
    EXPECT_EQ(run_one("set", "Boot.Gone", "1").status, dp::command_status::unresolved);
    EXPECT_EQ(run_one("frob", "Boot.Mode").status, dp::command_status::unknown_operation);
}

TEST_F(store_plugin_test, file_operations_are_not_supported) {
    for (const char* op : {"cmd_import", "cmd_export", "cmd_delete", "cmd_generate",
                           "cmd_exportcsr", "cmd_generatecsr"}) {
        EXPECT_EQ(run_one(op, "Boot.Mode").status, dp_service::service_status::not_supported) << op;
    }
}

TEST_F(store_plugin_test, an_instance_that_the_attribute_does_not_have_is_refused) {
    for (const char* op : {"get", "getv", "set", "setv"}) {
        for (const char* name : {"Boot.Mode.1", "Ports.Speed", "Ports.Speed.0", "Ports.Speed.5",
                                 "Ports.Speed.1x", "Ports.Speed.01"}) {
            EXPECT_EQ(run_one(op, name, "1").status, dp_service::service_status::bad_instance)
                << op << ' ' << name;
        }
    }
}

TEST_F(store_plugin_test, a_read_only_attribute_cannot_be_changed) {
    EXPECT_EQ(run_one("set", "Boot.Vendor", "other").status, dp_service::service_status::read_only);
    EXPECT_EQ(run_one("set", "Boot.Vendor", "acme").status, 0);  // a reset sends the default
    store->put({model->find("Boot", "Vendor"), dp::no_instance}, "other");
    store->keep_changes();
    EXPECT_EQ(run_one("set", "Boot.Vendor", "acme").status, dp_service::service_status::read_only);
    EXPECT_EQ(persist_calls, 0);
}

TEST_F(store_plugin_test, deleting_an_instance_removes_it) {
    EXPECT_EQ(run_one("delete", "Ports.Speed.2").status, 0);
    EXPECT_EQ(run_one("get", "Ports.Speed.2").status, dp::command_status::value_not_known);
    EXPECT_EQ(value_of("Ports.Speed.3"), "10");
    EXPECT_EQ(on_disk.find("Speed.2"), std::string::npos);
    // Repeating it succeeds, since a batch that was interrupted is run again.
    EXPECT_EQ(run_one("delete", "Ports.Speed.2").status, 0);
    EXPECT_EQ(run_one("set", "Ports.Speed.2", "20").status, 0);
    EXPECT_EQ(value_of("Ports.Speed.2"), "20");
}

TEST_F(store_plugin_test, a_delete_that_is_not_permitted_fails) {
    EXPECT_EQ(run_one("delete", "Boot.Mode").status, dp::command_status::delete_not_permitted);
    EXPECT_EQ(run_one("delete", "Ports.Speed.5").status, dp::command_status::delete_not_permitted);
    EXPECT_EQ(run_one("delete", "Ports.Speed.x").status, dp::command_status::delete_not_permitted);
    EXPECT_EQ(run_one("delete", "Ports.Speed.2x").status, dp_service::service_status::bad_instance);
    EXPECT_EQ(value_of("Ports.Speed.2"), "10");
}

TEST_F(store_plugin_test, a_permitted_delete_of_a_single_value_restores_the_default) {
    model->find("Boot", "Mode")->element->flags |= dp::setting_element::deletable_flag;
    run_one("set", "Boot.Mode", "Legacy");
    const auto deleted = run_one("delete", "Boot.Mode");
    EXPECT_EQ(deleted.status, 0);
    EXPECT_EQ(deleted.value_out, "UEFI");
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
}

TEST_F(store_plugin_test, a_row_is_created_and_removed_with_its_key) {
    EXPECT_EQ(value_of("Ports.Role.3"), "status 32");
    EXPECT_EQ(run_one("set", "Ports.User.3", "ann").status, 0);
    EXPECT_EQ(value_of("Ports.Role.3"), "guest");
    EXPECT_NE(on_disk.find("Ports.Role.3 \"guest\""), std::string::npos);
    run_one("set", "Ports.Role.3", "admin");
    run_one("set", "Ports.User.3", "bob");  // the row exists, so nothing else changes
    EXPECT_EQ(value_of("Ports.Role.3"), "admin");
    EXPECT_EQ(run_one("delete", "Ports.User.3").status, 0);
    EXPECT_EQ(value_of("Ports.User.3"), "status 32");
    EXPECT_EQ(value_of("Ports.Role.3"), "status 32");
    EXPECT_EQ(on_disk.find("Ports.Role"), std::string::npos);
}

TEST_F(store_plugin_test, a_transaction_is_persisted_once) {
    std::vector<dp::transaction_command> commands{
        command("set", "Boot.Mode", "Legacy"), command("set", "Boot.Delay", "10"),
        command("set", "Boot.Delay", "7"), command("get", "Boot.Label")};
    run(commands);
    EXPECT_EQ(persist_calls, 1);
}

TEST_F(store_plugin_test, setting_the_present_value_persists_nothing) {
    EXPECT_EQ(run_one("set", "Boot.Mode", "UEFI").status, 0);
    EXPECT_EQ(persist_calls, 0);
}

TEST_F(store_plugin_test, changes_that_cannot_be_persisted_are_undone) {
    const std::string before = text();
    disk_is_full = true;
    std::vector<dp::transaction_command> commands{
        command("set", "Boot.Mode", "Legacy"), command("getv", "Boot.Mode"),
        command("get", "Boot.Mode"),           command("set", "Boot.Delay", "5"),
        command("delete", "Ports.Speed.1"),    command("getv", "Ports.Speed.1"),
        command("set", "Ports.User.2", "ann"), command("getv", "Ports.Role.2"),
        command("set", "Boot.Mode", "Legacy"), command("set", "Boot.Mode", "CSM"),
    };
    run(commands);
    EXPECT_EQ(commands[0].status, dp_service::service_status::not_persisted);
    EXPECT_EQ(commands[0].value_out, "");
    EXPECT_EQ(commands[1].value_out, "UEFI");
    EXPECT_EQ(commands[2].value_out, "UEFI");
    EXPECT_EQ(commands[3].status, 0);  // it was 5 before
    EXPECT_EQ(commands[4].status, dp_service::service_status::not_persisted);
    EXPECT_EQ(commands[5].value_out, "10");
    EXPECT_EQ(commands[6].status, dp_service::service_status::not_persisted);
    EXPECT_EQ(commands[7].status, dp::command_status::value_not_known);
    EXPECT_EQ(commands[8].status, dp_service::service_status::not_persisted);
    EXPECT_EQ(commands[9].status, dp_service::service_status::not_a_choice);
    EXPECT_EQ(text(), before);
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
    EXPECT_EQ(value_of("Ports.Speed.1"), "10");
    EXPECT_EQ(value_of("Ports.User.2"), "status 32");

    disk_is_full = false;
    EXPECT_EQ(run_one("set", "Boot.Mode", "Legacy").status, 0);
    EXPECT_EQ(value_of("Boot.Mode"), "Legacy");
}

TEST_F(store_plugin_test, deleting_the_rest_of_a_row_is_undone_when_it_cannot_be_persisted) {
    run_one("set", "Ports.Role.4", "admin");  // a field of a row without its key
    disk_is_full = true;
    EXPECT_EQ(run_one("delete", "Ports.User.4").status, dp_service::service_status::not_persisted);
    EXPECT_EQ(value_of("Ports.Role.4"), "admin");
}

TEST_F(store_plugin_test, a_configuration_counts_one_change_for_each_transaction) {
    const auto& boot = *model->configurations()[0];
    const std::uint32_t version = boot.version;
    value_of("Boot.Mode");
    EXPECT_EQ(boot.version, version);
    run_one("set", "Boot.Mode", "Legacy");
    EXPECT_EQ(boot.version, version + 1);
    std::vector<dp::transaction_command> commands{command("set", "Boot.Mode", "UEFI"),
                                                  command("set", "Boot.Delay", "10")};
    run(commands);
    EXPECT_EQ(boot.version, version + 2);
}

TEST_F(store_plugin_test, commands_of_other_owners_are_not_executed) {
    class other_plugin final : public dp::plugin {
      public:
        other_plugin() : dp::plugin("other", settings_owner) {}
        void on_start(dp::registrar&) override {}
        void on_stop(dp::registrar&) override {}
    };
    other_plugin other;
    registrar.add_plugin(&other);
    model->find("Boot", "Mode")->owner = &other;
    EXPECT_EQ(run_one("set", "Boot.Mode", "Legacy").status, dp::command_status::not_answered);
    model->find("Boot", "Mode")->owner = nullptr;
    EXPECT_EQ(run_one("set", "Boot.Mode", "Legacy").status, dp::command_status::no_owner);
    EXPECT_EQ(persist_calls, 0);
}

class store_plugin_changes : public test::sample_service {
  protected:
    /// What the commands changed, one line for each change: "NAME: BEFORE -> AFTER".
    std::string changes_of(std::vector<dp::transaction_command> commands) {
        changes.clear();
        run(commands);
        std::string lines;
        for (const auto& change : changes) {
            EXPECT_EQ(change.cause, "");
            lines += change.name + ": " + change.before.value_or("-") + " -> " +
                     change.after.value_or("-") + '\n';
        }
        return lines;
    }
};

TEST_F(store_plugin_changes, are_no_reads_failures_or_sets_of_the_same_value) {
    EXPECT_EQ(
        changes_of({command("get", "Boot.Mode"), command("getv", "Boot.Mode"),
                    command("set", "Boot.Mode", "UEFI"), command("set", "Boot.Mode", "CSM"),
                    command("set", "Boot.Gone", "x"), command("delete", "Boot.Vendor"),
                    command("set", "Boot.Vendor", "other"), command("cmd_import", "Boot.Mode")}),
        "");
}

TEST_F(store_plugin_changes, are_all_sets_of_other_values_with_the_values_before) {
    EXPECT_EQ(
        changes_of({command("set", "Boot.Mode", "Legacy"), command("setv", "Boot.Delay", "10"),
                    command("set", "Boot.Mode", "Legacy"), command("set", "Boot.Mode", "UEFI"),
                    command("set", "Ports.Speed.2", "0020")}),
        "Boot.Mode: UEFI -> Legacy\nBoot.Delay: 5 -> 10\nBoot.Mode: Legacy -> UEFI\n"
        "Ports.Speed.2: 10 -> 20\n");
}

TEST_F(store_plugin_changes, of_a_deleted_instance_have_no_value) {
    EXPECT_EQ(changes_of({command("delete", "Ports.Speed.2"), command("delete", "Ports.Speed.2"),
                          command("set", "Ports.Speed.2", "10")}),
              "Ports.Speed.2: 10 -> -\nPorts.Speed.2: - -> 10\n");
}

TEST_F(store_plugin_changes, of_a_row_are_those_of_its_key) {
    EXPECT_EQ(
        changes_of({command("set", "Ports.User.3", "ann"), command("delete", "Ports.User.3")}),
        "Ports.User.3: - -> ann\nPorts.User.3: ann -> -\n");
}

}  // namespace
