#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/settings_service.hpp"
#include "service_api/change_record.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/host/settings_service_fixture.hpp"

namespace {

// The registry of the fixture's first template. Mode "y" sets Size and makes it read-only; Gone
// needs no restart.
const char* const registry_of_before = R"({"RegistryEntries": {"Attributes": [
{"AttributeName": "Mode", "Type": "Enumeration"}, {"AttributeName": "Size", "Type": "Integer"},
{"AttributeName": "Gone", "Type": "String", "ResetRequired": false},
{"AttributeName": "Port", "Type": "Integer"}],
"Dependencies": [
{"DependencyFor": "Mode", "Dependency": {"MapFrom": [{"MapFromAttribute": "Mode",
 "MapFromCondition": "EQU", "MapFromValue": "y"}],
 "MapToAttribute": "Size", "MapToProperty": "CurrentValue", "MapToValue": 50}},
{"DependencyFor": "Mode", "Dependency": {"MapFrom": [{"MapFromAttribute": "Mode",
 "MapFromCondition": "EQU", "MapFromValue": "y"}],
 "MapToAttribute": "Size", "MapToProperty": "ReadOnly", "MapToValue": true}}]}})";

class settings_service_registry : public test::settings_service_fixture {
  protected:
    void SetUp() override {
        settings_service_fixture::SetUp();
        test::write_file(registry, registry_of_before);
    }

    const std::string registry = in_root("/var/dp/uefi_registry.json");
};

TEST_F(settings_service_registry, is_read_at_the_start_and_holds_for_stored_values) {
    {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        EXPECT_EQ(run(service, "0 1 t set A.Mode \"y\" \"\"\n"), "0 1 t set A.Mode \"y\" \"y\" \n");
        EXPECT_NE(test::read_file(pending).find("A.Size \"50\""), std::string::npos);
    }
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(run(service, "0 1 t set A.Size \"4\" \"\"\n"),
              "62 1 t set A.Size \"4\" \"read-only because Mode is y\" \n");
}

TEST_F(settings_service_registry, that_cannot_be_used_is_logged_and_ignored) {
    for (const char* const text :
         {"{", R"({"RegistryEntries":{"Attributes":[{"AttributeName":"Odd","Type":"String"}]}})"}) {
        test::write_file(registry, text);
        test::recording_log log(sysipc::event_log::log_level::error);
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        ASSERT_EQ(log.lines.size(), 1U);
        EXPECT_NE(log.lines[0].text.find("the registry is not used: " + registry),
                  std::string::npos);
        EXPECT_EQ(run(service, "0 1 t set A.Mode \"y\" \"\"\n0 2 t set A.Size \"4\" \"\"\n"),
                  "0 1 t set A.Mode \"y\" \"y\" \n0 2 t set A.Size \"4\" \"4\" \n");
    }
}

TEST_F(settings_service_registry, records_what_its_dependencies_changed_and_why) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    run(service, "0 1 <cim-0> set A.Mode \"y\" \"\"\n");
    const std::string lines = test::read_file(history);
    const std::string second = lines.substr(lines.find('\n') + 1);
    EXPECT_TRUE(second.ends_with("   A.Size   \"50\"   was \"1\"   because \"Mode is y\"\n"))
        << second;
    EXPECT_EQ(service.take_dependent_lines(), second);
    EXPECT_EQ(service.take_dependent_lines(), "");
    run(service, "0 1 t set A.Gone \"a\" \"\"\n");
    EXPECT_EQ(service.take_dependent_lines(), "");
}

TEST_F(settings_service_registry, makes_attributes_that_need_no_restart_current_at_once) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    run(service, "0 1 t set A.Mode \"z\" \"\"\n");
    EXPECT_EQ(test::read_file(current), all_defaults);
    run(service, "0 1 t set A.Gone \"new\" \"\"\n");
    EXPECT_NE(test::read_file(current).find("A.Gone \"new\""), std::string::npos);
    EXPECT_NE(test::read_file(current).find("A.Mode \"x\""), std::string::npos);
    EXPECT_NE(test::read_file(current).find("A.Port.2 \"5\""), std::string::npos);
}

TEST_F(settings_service_registry, makes_them_current_later_when_the_file_cannot_be_written) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    const std::string text = test::read_file(current);
    std::filesystem::remove(current);
    std::filesystem::remove(current + ".backup");
    std::filesystem::create_directory(current);
    test::recording_log log(sysipc::event_log::log_level::error);
    EXPECT_EQ(run(service, "0 1 t set A.Gone \"new\" \"\"\n"),
              "0 1 t set A.Gone \"new\" \"new\" \n");
    ASSERT_FALSE(log.lines.empty());
    EXPECT_NE(log.lines[0].text.find("changes that need no restart are not current: "),
              std::string::npos);
    std::filesystem::remove(current);
    test::write_file(current, text);
    service.retry_failed_write();
    EXPECT_NE(test::read_file(current).find("A.Gone \"new\""), std::string::npos);
}

// As after a kill between the two files.
TEST_F(settings_service_registry, makes_them_current_at_the_start) {
    {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        const std::string text = test::read_file(current);
        run(service, "0 1 t set A.Gone \"new\" \"\"\n0 2 t set A.Mode \"z\" \"\"\n");
        test::write_file(current, text);
    }
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_NE(test::read_file(current).find("A.Gone \"new\""), std::string::npos);
    EXPECT_NE(test::read_file(current).find("A.Mode \"x\""), std::string::npos);
}

TEST_F(settings_service_registry, of_an_update_holds_after_it) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(after);
    test::write_file(in_root("/var/dp/update/uefi_registry.json"),
                     R"({"RegistryEntries": {"Attributes": [
{"AttributeName": "Mode", "Type": "Enumeration"}, {"AttributeName": "Size", "Type": "Integer"},
{"AttributeName": "New", "Type": "String"}, {"AttributeName": "Port", "Type": "Integer"},
{"AttributeName": "Fan", "Type": "Integer"}], "Dependencies": [
{"DependencyFor": "Size", "Dependency": {"MapFrom": [{"MapFromAttribute": "Size",
 "MapFromCondition": "GTR", "MapFromValue": 5}],
 "MapToAttribute": "New", "MapToProperty": "MaxLength", "MapToValue": 3}}]}})");
    ASSERT_EQ(service.update().status, 0);
    EXPECT_EQ(run(service,
                  "0 1 t set A.Mode \"y\" \"\"\n0 2 t set A.Size \"9\" \"\"\n"
                  "0 3 t set B.New \"long\" \"\"\n"),
              "0 1 t set A.Mode \"y\" \"y\" \n0 2 t set A.Size \"9\" \"9\" \n"
              "0 3 t set B.New \"long\" \"long\" \n");
    EXPECT_EQ(
        run(service, "0 1 t set B.New \"longer\" \"\"\n"),
        "62 1 t set B.New \"longer\" \"longer than 3 characters because Size is above 5\" \n");
    prepare_update(before);
    ASSERT_EQ(service.update().status, 0);
    EXPECT_EQ(run(service, "0 1 t set A.Mode \"y\" \"\"\n0 2 t set A.Size \"4\" \"\"\n"),
              "0 1 t set A.Mode \"y\" \"y\" \n0 2 t set A.Size \"4\" \"4\" \n");
}

}  // namespace
