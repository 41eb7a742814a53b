#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/registry_json.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/dpctl_json.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

// What `dpctl list` and `dpctl show` take from the server's registry.

namespace {

using nlohmann::json;
using test::dpctl;
using test::dpctl_json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string small_registry() {
    return test::registry_json(
        R"({"AttributeName": "Profile", "Type": "Enumeration", "MenuPath": "./Setup/Boot",
            "DisplayName": "Workload profile", "HelpText": "Chooses many\nvalues at once.",
            "WarningText": "Slow.", "Value": [
              {"ValueName": "Auto", "ValueDisplayName": "Automatic"}, {"ValueName": "Custom"}]},
           {"AttributeName": "Limit", "Type": "Integer", "MenuPath": "./Setup/Boot/Power",
            "DisplayName": "Power limit", "LowerBound": 0, "UpperBound": 100},
           {"AttributeName": "Secret", "Type": "String", "MenuPath": "./Setup/Boot",
            "Hidden": true, "DisplayName": "Not for you"},
           {"AttributeName": "Speed", "Type": "Integer", "MenuPath": "./Setup/Memory",
            "DisplayName": "Memory speed"})",
        {{"Profile", "NEQ", "Custom", "Limit", "ReadOnly", "true"},
         {"Profile", "EQU", "Custom", "Limit", "UpperBound", "40"},
         {"Profile", "EQU", "Custom", "Limit", "DefaultValue", "20"}},
        R"({"MenuName": "Boot", "MenuPath": "./Setup/Boot", "DisplayName": "Boot options",
            "DisplayOrder": 2},
           {"MenuName": "Memory", "MenuPath": "./Setup/Memory", "DisplayOrder": 1})");
}

class dpctl_with_registry : public testing::Test {
  protected:
    dpctl_with_registry() {
        server_.install({{"Boot.Profile",
                          {{"type", "1"}, {"num", "2"}, {"chc", "Auto,Custom"}, {"dft", "Auto"}},
                          "Auto",
                          "Custom"},
                         {"Boot.Limit", {{"type", "3"}, {"max", "100"}, {"dft", "50"}}, "50", "50"},
                         {"Boot.Secret", {{"type", "4"}, {"dft", "s"}}, "s", "s"},
                         {"Memory.Speed", {{"type", "3"}, {"dft", "0"}}, "3200", "3200"}});
        test::write_file(registry_, small_registry());
    }

    static std::vector<std::string> listed(const std::vector<std::string>& arguments) {
        const json document = dpctl_json(arguments);
        std::vector<std::string> names;
        for (const auto& setting : document["settings"]) {
            names.push_back(setting["name"]);
        }
        return names;
    }

    const std::string registry_ = test::root() + "/var/dp/uefi_registry.json";
    test::server_files server_;
};

TEST_F(dpctl_with_registry, lists_settings_by_menus_with_display_names) {
    const auto result = dpctl({"list"});
    EXPECT_EQ(result.out,
              "NAME          DISPLAY NAME      TYPE         PENDING  CURRENT  NOTES\n"
              "\n"
              "Setup > Memory\n"
              "Memory.Speed  Memory speed      integer      3200     3200\n"
              "\n"
              "Setup > Boot options\n"
              "Boot.Profile  Workload profile  enumeration  Auto     Custom   pending restart\n"
              "\n"
              "Setup > Boot options > Power\n"
              "Boot.Limit    Power limit       integer      50       50       "
              "read-only because Profile is not Custom\n");
    EXPECT_EQ(result.err,
              "dpctl: 1 setting that the setup menus hide is not listed; --all lists everything\n");
}

TEST_F(dpctl_with_registry, lists_hidden_settings_when_asked) {
    EXPECT_THAT(listed({"list", "--all"}),
                ElementsAre("Memory.Speed", "Boot.Profile", "Boot.Secret", "Boot.Limit"));
    EXPECT_EQ(dpctl({"list", "--all"}).err, "");
    EXPECT_EQ(dpctl_json({"list"})["hidden_settings"], 1);
}

TEST_F(dpctl_with_registry, selects_and_sorts_with_what_the_registry_says) {
    EXPECT_THAT(listed({"list", "--read-only"}), ElementsAre("Boot.Limit"));
    EXPECT_THAT(listed({"list", "--writable"}), ElementsAre("Memory.Speed", "Boot.Profile"));
    EXPECT_THAT(listed({"list", "--match", "workload"}), ElementsAre("Boot.Profile"));
    EXPECT_THAT(listed({"list", "--sort", "name"}),
                ElementsAre("Boot.Limit", "Boot.Profile", "Memory.Speed"));
    EXPECT_THAT(dpctl({"list", "--sort", "name"}).out, Not(HasSubstr("Setup >")));
    EXPECT_EQ(dpctl_json({"list", "Memory"})["settings"][0],
              json::parse(R"({"name": "Memory.Speed", "type": "integer", "read_only": false,
                  "pending": "3200", "current": "3200", "truncated": false,
                  "pending_restart": false, "display_name": "Memory speed",
                  "menu": "Setup > Memory", "hidden": false, "grayed_out": false})"));
}

TEST_F(dpctl_with_registry, shows_an_attribute_as_a_setup_screen) {
    EXPECT_EQ(dpctl({"show", "Profile"}).out,
              "Boot.Profile\n"
              "  Display name     Workload profile\n"
              "  Menu             Setup > Boot options\n"
              "  Type             enumeration\n"
              "  Help             Chooses many\n"
              "                   values at once.\n"
              "  Warning          Slow.\n"
              "  Possible values  Auto (Automatic), Custom\n"
              "  Default          Auto\n"
              "  Pending          Auto\n"
              "  Current          Custom (until the server restarts)\n"
              "  Decides about    Limit: read-only while Profile is not Custom\n"
              "                   Limit: upper bound 40 while Profile is Custom\n"
              "                   Limit: default 20 while Profile is Custom\n"
              "  Read-only        no\n");
    EXPECT_THAT(dpctl({"show", "Secret"}).out, HasSubstr("  Hidden           yes"));
}

TEST_F(dpctl_with_registry, shows_why_an_attribute_cannot_be_changed_now) {
    EXPECT_THAT(dpctl({"show", "Limit"}).out,
                HasSubstr("  Range            0 to 100\n"
                          "  Step             1\n"
                          "  Default          50\n"
                          "  Pending          50\n"
                          "  Current          50\n"
                          "  Depends on       read-only while Profile is not Custom (now)\n"
                          "                   upper bound 40 while Profile is Custom\n"
                          "                   default 20 while Profile is Custom\n"
                          "  Read-only        now: read-only because Profile is not Custom\n"));
    test::store_pending({{"Boot.Profile", "Custom"}});
    EXPECT_THAT(
        dpctl({"show", "Limit"}).out,
        HasSubstr("  Range            0 to 40 (upper bound 40 while Profile is Custom; template: 0 "
                  "to 100)\n"));
    EXPECT_THAT(dpctl({"show", "Limit"}).out, HasSubstr("  Read-only        no\n"));
}

TEST_F(dpctl_with_registry, has_the_limits_in_force_in_documents) {
    json limit = dpctl_json({"show", "Limit"})["attributes"][0];
    EXPECT_EQ(limit["maximum"], 100);
    EXPECT_FALSE(limit.contains("template_maximum"));
    EXPECT_EQ(limit["read_only"], true);
    EXPECT_EQ(limit["template_read_only"], false);
    test::store_pending({{"Boot.Profile", "Custom"}});
    limit = dpctl_json({"show", "Limit"})["attributes"][0];
    EXPECT_EQ(limit["minimum"], 0);
    EXPECT_FALSE(limit.contains("template_minimum"));
    EXPECT_EQ(limit["maximum"], 40);
    EXPECT_EQ(limit["template_maximum"], 100);
    EXPECT_EQ(limit["step"], 1);
    EXPECT_EQ(limit["read_only"], false);
    EXPECT_FALSE(limit.contains("template_read_only"));
    EXPECT_EQ(limit["default"], "50");
    EXPECT_EQ(limit["dependent_default"], "20");
    EXPECT_THAT(dpctl({"show", "Limit"}).out,
                HasSubstr("  Default          50 (default 20 while Profile is Custom)\n"));
}

TEST_F(dpctl_with_registry, describes_dependencies_in_documents) {
    const json limit = dpctl_json({"show", "Limit"})["attributes"][0];
    EXPECT_EQ(limit["read_only"], true);
    EXPECT_EQ(limit["read_only_reason"], "read-only because Profile is not Custom");
    EXPECT_EQ(limit["depends_on"][1],
              json::parse(R"({"attribute": "Limit", "property": "UpperBound", "value": 40,
                  "condition": "Profile is Custom", "in_force": false})"));
    EXPECT_EQ(limit["decides_about"], json::array());
    const json profile = dpctl_json({"show", "Profile"})["attributes"][0];
    EXPECT_EQ(profile["value_display_names"], json({"Automatic", "Custom"}));
    EXPECT_EQ(profile["menu_path"], "./Setup/Boot");
    EXPECT_EQ(profile["decides_about"][0]["attribute"], "Limit");
}

TEST_F(dpctl_with_registry, continues_without_a_registry_that_it_cannot_use) {
    test::write_file(registry_, "{}");
    const auto result = dpctl({"list"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.err, HasSubstr("it is not used\n"));
    EXPECT_THAT(result.out, HasSubstr("NAME          TYPE "));
    std::filesystem::remove(registry_);
    EXPECT_EQ(dpctl({"list"}).err, "");
    EXPECT_FALSE(dpctl_json({"show", "Limit"})["attributes"][0].contains("menu"));
}

}  // namespace
