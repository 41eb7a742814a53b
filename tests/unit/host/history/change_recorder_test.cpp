#include "host/history/change_recorder.hpp"

#include "tests/support/time_zone.hpp"
#include "tests/unit/host/sample_service.hpp"

namespace {

constexpr std::time_t when = 1'700'000'000;

class change_recorder_test : public test::sample_service {
  protected:
    /// What the commands changed, one line for each change, without who and when.
    std::string changes_of(std::vector<dp::transaction_command> commands) {
        run(commands);
        const dp_host::change_recorder record("w", when);
        std::string text;
        for (const auto& command : commands) {
            if (const auto change = record(command)) {
                text += change->target + (change->value ? "=" + *change->value : " deleted") + "\n";
            }
        }
        return text;
    }
};

TEST_F(change_recorder_test, records_no_reads_failures_or_sets_of_the_same_value) {
    EXPECT_EQ(
        changes_of({command("get", "Boot.Mode"), command("getv", "Boot.Mode"),
                    command("set", "Boot.Mode", "UEFI"), command("set", "Boot.Mode", "CSM"),
                    command("set", "Boot.Gone", "x"), command("delete", "Boot.Vendor"),
                    command("set", "Boot.Vendor", "other"), command("cmd_import", "Boot.Mode")}),
        "");
}

TEST_F(change_recorder_test, records_every_set_of_another_value) {
    EXPECT_EQ(
        changes_of({command("set", "Boot.Mode", "Legacy"), command("setv", "Boot.Delay", "10"),
                    command("set", "Boot.Mode", "Legacy"), command("set", "Boot.Mode", "UEFI"),
                    command("set", "Ports.Speed.2", "0020")}),
        "Boot.Mode=Legacy\nBoot.Delay=10\nBoot.Mode=UEFI\nPorts.Speed.2=20\n");
}

TEST_F(change_recorder_test, records_a_delete_of_an_instance_without_a_value) {
    EXPECT_EQ(changes_of({command("delete", "Ports.Speed.2"), command("delete", "Ports.Speed.2"),
                          command("set", "Ports.Speed.2", "10")}),
              "Ports.Speed.2 deleted\nPorts.Speed.2=10\n");
}

TEST_F(change_recorder_test, records_only_the_key_of_a_row) {
    EXPECT_EQ(
        changes_of({command("set", "Ports.User.3", "ann"), command("delete", "Ports.User.3")}),
        "Ports.User.3=ann\nPorts.User.3 deleted\n");
}

TEST_F(change_recorder_test, records_no_changes_that_were_not_persisted) {
    disk_is_full = true;
    EXPECT_EQ(
        changes_of({command("set", "Boot.Mode", "Legacy"), command("delete", "Ports.Speed.2")}),
        "");
}

TEST_F(change_recorder_test, records_who_and_the_local_time) {
    test::time_zone zone("UTC0");
    const auto changed = run_one("set", "Boot.Mode", "Legacy");
    for (const auto& [name, time] : {std::pair{"UTC0", "Tue Nov 14 22:13:20 2023"},
                                     std::pair{"ABC-2", "Wed Nov 15 00:13:20 2023"}}) {
        zone.set(name);
        const auto record = dp_host::change_recorder("cim-0", when)(changed);
        ASSERT_TRUE(record);
        EXPECT_EQ(record->who, "cim-0");
        EXPECT_EQ(record->time, time);
    }
}

}  // namespace
