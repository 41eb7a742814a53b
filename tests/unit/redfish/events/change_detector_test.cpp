#include "redfish/events/change_detector.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "redfish/model/server_model.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/shown_server.hpp"

namespace {

using dp_redfish::change_detector;
using test::shown_server;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

std::string history_line(const std::string& id, const std::string& change) {
    return "<c-1,id=" + id + ",uid=0> 2026-11-22T15:25:09+01:00   " + change + '\n';
}

class change_detector_test : public testing::Test {
  protected:
    shown_server::values values{{"Boot.Mode", "UEFI"}, {"Boot.Delay", "5"}};
    shown_server files{test::sample_template(), values, values};
    dp_redfish::server_model model;
    change_detector detector;
    change_detector::clock::time_point now{};

    void start() { detector.start(model.read_now(), 100); }

    static std::vector<std::string> texts_of(const std::vector<dp_redfish::service_event>& events) {
        std::vector<std::string> texts;
        for (const auto& event : events) {
            std::string text = event.message_id.substr(event.message_id.rfind('.') + 1);
            for (const auto& argument : event.arguments) {
                text += ' ' + argument;
            }
            texts.push_back(text);
        }
        return texts;
    }
    std::vector<std::string> observe() { return texts_of(detector.observe(model.read_now(), now)); }
    std::vector<std::string> settle() { return texts_of(detector.settle(now)); }
};

TEST_F(change_detector_test, begins_with_the_newest_records_of_the_history) {
    shown_server::set_history(history_line("1", "Boot.Delay   \"5\"   was \"1\"") +
                              history_line("2", "Boot.Mode   \"UEFI\"") +
                              history_line("3", "Boot.Label   was \"disk\""));
    const auto events = detector.start(model.read_now(), 2);
    EXPECT_THAT(texts_of(events),
                ElementsAre("PendingValueSet Mode UEFI", "PendingValueRemoved Label disk"));
    EXPECT_NE(events[0].record_id, "");
    EXPECT_EQ(events[0].time, "2026-11-22T15:25:09+01:00");
    EXPECT_THAT(observe(), IsEmpty());
}

TEST_F(change_detector_test, takes_changes_of_values_from_the_history) {
    start();
    values["Boot.Delay"] = "15";
    shown_server::set_pending(values);
    shown_server::set_history(history_line("1", "Boot.Delay   \"10\"   was \"5\"") +
                              history_line("2", "Boot.Delay   \"15\"   was \"10\""));
    EXPECT_THAT(observe(),
                ElementsAre("PendingValueChanged Delay 5 10", "PendingValueChanged Delay 10 15"));
    now += 1min;
    EXPECT_THAT(settle(), IsEmpty());
}

TEST_F(change_detector_test, waits_for_the_history_before_it_reports_values) {
    start();
    values["Boot.Delay"] = "15";
    shown_server::set_pending(values);
    EXPECT_THAT(observe(), IsEmpty());
    now += 1s;
    EXPECT_THAT(settle(), IsEmpty());
    shown_server::set_history(history_line("1", "Boot.Delay   \"15\"   was \"5\""));
    EXPECT_THAT(observe(), ElementsAre("PendingValueChanged Delay 5 15"));
    now += 1min;
    EXPECT_THAT(settle(), IsEmpty());
}

TEST_F(change_detector_test, reports_changes_that_the_history_does_not_have) {
    start();
    values["Boot.Delay"] = "15";
    values.erase("Boot.Mode");
    values["Boot.Label"] = "net";
    shown_server::set_pending(values);
    EXPECT_THAT(observe(), IsEmpty());
    now += 2s;
    EXPECT_THAT(settle(), testing::UnorderedElementsAre("PendingValueRemoved Mode UEFI",
                                                        "PendingValueChanged Delay 5 15",
                                                        "PendingValueSet Label net"));
    EXPECT_THAT(settle(), IsEmpty());
}

TEST_F(change_detector_test, reports_nothing_when_a_value_is_changed_back) {
    start();
    auto changed = values;
    changed["Boot.Delay"] = "15";
    shown_server::set_pending(changed);
    observe();
    shown_server::set_pending(values);
    observe();
    now += 1min;
    EXPECT_THAT(settle(), IsEmpty());
}

TEST_F(change_detector_test, notices_a_restart_also_when_no_value_changes) {
    start();
    shown_server::set_current(values);
    EXPECT_THAT(observe(), ElementsAre("ServerRestarted"));
    EXPECT_THAT(observe(), IsEmpty());
}

TEST_F(change_detector_test, notices_an_update) {
    start();
    test::write_file(test::root() + "/var/dp/vpd.txt", "UEFIID=B2\n");
    EXPECT_THAT(observe(), ElementsAre("BiosUpdated B1 B2"));
}

TEST_F(change_detector_test, shows_no_value_of_settings_that_it_does_not_know) {
    start();
    shown_server::set_history(history_line("1", "Old.Password   \"secret\"   was \"word\"") +
                              history_line("1", "Old.Other   \"secret\"") +
                              history_line("2", "Boot.Delay   \"10\"   was \"5\""));
    EXPECT_THAT(observe(), ElementsAre("ResourceChanged", "PendingValueChanged Delay 5 10"));
}

TEST_F(change_detector_test, says_that_settings_changed_when_the_history_is_another_one) {
    shown_server::set_history(history_line("1", "Boot.Delay   \"10\"   was \"5\""));
    start();
    shown_server::set_history(history_line("2", "Boot.Delay   \"15\"   was \"10\""));
    EXPECT_THAT(observe(), ElementsAre("ResourceChanged"));
    shown_server::set_history(history_line("2", "Boot.Delay   \"15\"   was \"10\"") +
                              history_line("3", "Boot.Delay   \"20\"   was \"15\""));
    EXPECT_THAT(observe(), ElementsAre("PendingValueChanged Delay 15 20"));
}

// --- with a registry

class change_detector_with_registry : public change_detector_test {
  protected:
    void SetUp() override {
        shown_server::set_registry(R"({"Id": "R.1.0.0", "RegistryEntries": {"Attributes": [
            {"AttributeName": "Mode", "Type": "String", "WriteOnly": true},
            {"AttributeName": "Delay", "Type": "Integer", "ResetRequired": false},
            {"AttributeName": "Label", "Type": "String"},
            {"AttributeName": "Vendor", "Type": "String"},
            {"AttributeName": "Order", "Type": "String"},
            {"AttributeName": "Speed", "Type": "Integer"},
            {"AttributeName": "User", "Type": "String"},
            {"AttributeName": "Role", "Type": "String"}]}})");
    }
};

TEST_F(change_detector_with_registry, keeps_secrets) {
    ASSERT_NE(model.read_now()->catalog->registry, nullptr);
    start();
    shown_server::set_history(history_line("1", "Boot.Mode   \"secret\"   was \"word\""));
    EXPECT_THAT(observe(), ElementsAre("ResourceChanged"));
    values["Boot.Mode"] = "hidden";
    shown_server::set_pending(values);
    observe();
    now += 1min;
    EXPECT_THAT(settle(), ElementsAre("ResourceChanged"));
}

TEST_F(change_detector_with_registry, tells_a_restart_from_a_value_that_needs_none) {
    start();
    values["Boot.Delay"] = "15";
    shown_server::set_current(values);
    EXPECT_THAT(observe(), ElementsAre("ResourceChanged"));
    values["Boot.Label"] = "net";
    shown_server::set_current(values);
    EXPECT_THAT(observe(), ElementsAre("ServerRestarted"));
}

}  // namespace
