#include "redfish/events/event_filter.hpp"

#include <gtest/gtest.h>

#include <string>
#include <variant>

namespace {

using dp_redfish::event_filter;
using dp_redfish::make_event;

const dp_redfish::service_event changed =
    make_event("SettingsEvents", "PendingValueChanged", {"Mode", "a", "b"},
               "/redfish/v1/Systems/system/Bios/Settings", "Bios", "");
const dp_redfish::service_event restarted = make_event(
    "SettingsEvents", "ServerRestarted", {}, "/redfish/v1/Systems/system", "ComputerSystem", "");
const dp_redfish::service_event health =
    make_event("ResourceEvent", "ResourceStatusChangedOK", {"x", "OK"}, "/redfish/v1/Managers/bmc",
               "Manager", "");

// Which of the events pass: letters c, r and h; the problem of a filter that is wrong.
std::string passing(const std::string& text) {
    const auto parsed = event_filter::parse(text);
    if (const auto* const problem = std::get_if<event_filter::problem>(&parsed)) {
        return problem->is_unsupported ? "unsupported" : "wrong";
    }
    const auto& filter = std::get<event_filter>(parsed);
    return std::string(filter.matches(changed) ? "c" : "") +
           (filter.matches(restarted) ? "r" : "") + (filter.matches(health) ? "h" : "");
}

TEST(event_filter, lets_everything_pass_without_a_text) {
    EXPECT_TRUE(event_filter().matches(changed));
    EXPECT_TRUE(event_filter().matches(health));
}

TEST(event_filter, compares_each_property) {
    EXPECT_EQ(passing("RegistryPrefix eq 'SettingsEvents'"), "cr");
    EXPECT_EQ(passing("RegistryPrefix ne SettingsEvents"), "h");
    EXPECT_EQ(passing("ResourceType eq 'Manager'"), "h");
    EXPECT_EQ(passing("OriginResource eq '/redfish/v1/Systems/system'"), "r");
    EXPECT_EQ(passing("EventFormatType eq Event"), "crh");
    EXPECT_EQ(passing("ResourceType eq 'it''s'"), "");
}

TEST(event_filter, compares_messages_with_any_part_of_their_version) {
    EXPECT_EQ(passing("MessageId eq 'SettingsEvents.1.0.ServerRestarted'"), "r");
    EXPECT_EQ(passing("MessageId eq 'SettingsEvents.1.0.0.ServerRestarted'"), "r");
    EXPECT_EQ(passing("MessageId eq 'SettingsEvents.ServerRestarted'"), "r");
    EXPECT_EQ(passing("MessageId eq 'SettingsEvents.1.05.ServerRestarted'"), "");
    EXPECT_EQ(passing("MessageId eq 'SettingsEvents.2.0.ServerRestarted'"), "");
    EXPECT_EQ(passing("MessageId eq 'ServerRestarted'"), "");
}

TEST(event_filter, combines_comparisons) {
    EXPECT_EQ(passing("ResourceType eq 'Bios' or ResourceType eq 'Manager'"), "ch");
    EXPECT_EQ(passing("(RegistryPrefix eq SettingsEvents) and not (ResourceType eq Bios)"), "r");
    EXPECT_EQ(passing("ResourceType eq Manager or RegistryPrefix eq SettingsEvents and "
                      "ResourceType eq Bios"),
              "ch");
    EXPECT_EQ(passing("(ResourceType eq Manager or RegistryPrefix eq SettingsEvents) and "
                      "ResourceType eq Bios"),
              "c");
    EXPECT_EQ(passing("not not ResourceType eq Bios"), "c");
    EXPECT_EQ(passing("  ( ( ResourceType eq Bios ) )  "), "c");
}

TEST(event_filter, has_resources_below_a_path_when_it_is_told_to) {
    const std::string origin = "OriginResource eq '/redfish/v1/Systems/system'";
    EXPECT_EQ(passing("(" + origin + ") and (SubordinateResources eq true)"), "cr");
    EXPECT_EQ(passing("(" + origin + ") and (SubordinateResources eq false)"), "r");
}

TEST(event_filter, refuses_what_is_no_filter) {
    for (const char* const text :
         {"", " ", "x", "RegistryPrefix", "RegistryPrefix eq", "RegistryPrefix eq 'a",
          "RegistryPrefix eq 'a' or", "(RegistryPrefix eq 'a'", "RegistryPrefix eq 'a')",
          "Severity eq 'OK'", "registryprefix eq 'a'", "RegistryPrefix is 'a'", "not", "()",
          "EventFormatType eq 'Nothing'", "SubordinateResources eq 1"}) {
        EXPECT_EQ(passing(text), "wrong") << text;
    }
    EXPECT_EQ(passing(std::string(1000, '(')), "wrong");
    std::string nots;
    for (int i = 0; i < 1000; ++i) {
        nots += "not ";
    }
    EXPECT_EQ(passing(nots + "ResourceType eq Bios"), "wrong");
}

TEST(event_filter, says_what_is_not_supported) {
    EXPECT_EQ(passing("MetricReportDefinition eq '/redfish/v1/x'"), "unsupported");
    EXPECT_EQ(passing("EventFormatType eq MetricReport"), "unsupported");
    EXPECT_EQ(passing("ResourceType gt 'Bios'"), "unsupported");
}

}  // namespace
