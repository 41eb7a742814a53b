#include <memory>

#include "platform/dp/alerts.hpp"
#include "tests/support/alert_listener.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/private_queues.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/host/sample_service.hpp"

namespace {

/// Listens to the queue of the store plug-in's alerts.
class store_plugin_alerts : public test::sample_service {
  protected:
    test::private_queues queues;
};

TEST_F(store_plugin_alerts, a_transaction_sends_one_alert_with_its_number_of_changes) {
    test::plugin_alerts alerts;
    std::vector<dp::transaction_command> commands{
        command("set", "Boot.Mode", "Legacy"), command("set", "Boot.Delay", "10"),
        command("get", "Boot.Mode"), command("set", "Boot.Mode", "CSM")};
    run(commands);
    EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=2");
    EXPECT_EQ(alerts.next(), "none");
}

TEST_F(store_plugin_alerts, commands_that_change_nothing_send_none) {
    test::plugin_alerts alerts;
    run_one("get", "Boot.Mode");
    run_one("set", "Boot.Mode", "UEFI");
    run_one("set", "Boot.Mode", "CSM");
    EXPECT_EQ(alerts.next(), "none");
}

TEST_F(store_plugin_alerts, a_failure_to_persist_sends_one_with_the_error_number) {
    test::plugin_alerts alerts;
    disk_is_full = true;
    const auto failed = run_one("set", "Boot.Mode", "Legacy");
    EXPECT_NE(failed.status, 0);
    EXPECT_EQ(alerts.next(), "persist_failed plugin=1 value=" + std::to_string(ENOSPC));
    EXPECT_EQ(alerts.next(), "none");
}

TEST_F(store_plugin_alerts, are_not_logged_without_listeners) {
    test::recording_log log(sysipc::event_log::log_level::error);
    run_one("set", "Boot.Mode", "Legacy");
    test::child_process listener([](const test::child_process::parent_channel& parent) -> int {
        const dp_platform::message_listener queue(dp::command::alert_queue);
        parent.send(queue.is_open() ? 'y' : 'n');
        // Ends without removing the queue.
        _exit(parent.receive() == '.' ? 0 : 1);
    });
    ASSERT_EQ(listener.receive(), 'y');
    run_one("set", "Boot.Mode", "UEFI");
    listener.send('.');
    EXPECT_EQ(listener.wait(), 0);
    run_one("set", "Boot.Mode", "Legacy");
    EXPECT_TRUE(log.lines.empty());
    test::plugin_alerts alerts;
    EXPECT_EQ(alerts.next(), "none");
}

TEST_F(store_plugin_alerts, a_full_queue_is_logged_and_does_not_block) {
    test::plugin_alerts alerts;
    test::recording_log log(sysipc::event_log::log_level::error);
    for (int i = 1; i <= 13; ++i) {
        EXPECT_EQ(run_one("set", "Ports.Speed.1", std::to_string(i)).status, 0);
    }
    // The queue has ten entries.
    EXPECT_EQ(log.lines.size(), 3U);
    for (int i = 1; i <= 10; ++i) {
        EXPECT_EQ(alerts.next(), "settings_changed plugin=1 value=1");
    }
    EXPECT_EQ(alerts.next(), "none");
}

}  // namespace
