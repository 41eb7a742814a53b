#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "service_api/service_status.hpp"
#include "tests/support/program.hpp"
#include "tests/support/registry_json.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/dpctl_json.hpp"
#include "tests/system/tools/dpctl/fake_service.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

// Desired states: export, diff, plan, apply and revert.

namespace {

using nlohmann::json;
using test::batch_command;
using test::dpctl;
using test::dpctl_json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// The settings of a server whose registry has dependencies.
std::vector<test::sample_setting> power_settings() {
    return {
        {"Power.Profile",
         {{"type", "1"}, {"num", "2"}, {"chc", "Balanced,Custom"}, {"dft", "Balanced"}},
         "Balanced",
         "Balanced"},
        {"Power.Limit",
         {{"type", "3"}, {"min", "0"}, {"max", "500"}, {"dft", "100"}},
         "100",
         "100"},
        {"Power.Turbo",
         {{"type", "1"}, {"num", "2"}, {"chc", "False,True"}, {"dft", "True"}},
         "True",
         "True"},
        {"Power.Asset", {{"type", "4"}, {"maxc", "20"}, {"dft", ""}}, "rack-7", "rack-7"},
    };
}

class dpctl_state : public testing::Test {
  protected:
    dpctl_state() { server_.install(test::sample_settings()); }

    void install_power() const {
        server_.install(power_settings());
        test::write_file(registry_, test::power_registry());
        test::write_file(test::root() + "/tmp/dp/uefi.bld", "BUILD-1\n");
    }

    static void write_state(const std::string& text) {
        test::write_file(test::root() + "/state", text);
    }

    test::server_files server_;
    const std::string registry_ = test::root() + "/var/dp/uefi_registry.json";
};

class dpctl_plan : public dpctl_state {};
class dpctl_apply : public dpctl_state {};
class dpctl_diff : public dpctl_state {};
class dpctl_export : public dpctl_state {};
class dpctl_revert : public dpctl_state {};

TEST_F(dpctl_plan, shows_changes_and_what_is_so_and_sends_nothing) {
    // There is no service, so a request would not be answered.
    write_state("Boot.Mode=uefi\nDelay=10\nSpeed=03200\nTag=Rack 7\n");
    const auto result = dpctl({"plan", "state"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "Boot.Mode: Legacy -> UEFI\n"
              "Boot.Delay is already 10\n"
              "Memory.Speed is already 3200\n"
              "Boot.Tag: \"\" -> Rack 7\n"
              "2 to change, 2 already so.\n");
    EXPECT_THAT(result.err, IsEmpty());
    const json document = dpctl_json({"plan", "state"});
    EXPECT_EQ(document["settings"][0]["outcome"], "planned");
    EXPECT_EQ(document["settings"][0]["requested"], "uefi");
    EXPECT_EQ(document["settings"][0]["value"], "UEFI");
    EXPECT_EQ(document["summary"]["planned"], 2);
    EXPECT_EQ(document["summary"]["already"], 2);
}

TEST_F(dpctl_plan, reports_all_problems_at_once_with_their_places) {
    write_state(R"({"Attributes": {
  "Boot.Mode": "Slow",
  "Boot.Nope": "1",
  "Mode": "A",
  "Delay": 7,
  "Tag": true,
  "Boot.Serial": "S2",
  "Order": "Net",
  "Boot.Delay": 5,
  "Boot.Tag": 12,
  "Speed": [1]
}})");
    const auto result = dpctl({"plan", "state"});
    EXPECT_EQ(result.exit_code, 1);
    for (const char* const problem :
         {"dpctl: state:2: Boot.Mode: \"Slow\" is not one of Legacy, UEFI, Fast Boot\n",
          "dpctl: state:3: collection Boot has no attribute \"Nope\"\n",
          "dpctl: state:4: several collections have \"Mode\"",
          "dpctl: state:5: Boot.Delay: \"7\" is not on a step",
          "dpctl: state:6: Boot.Tag: is true, but the attribute is not a Boolean",
          "dpctl: state:7: Boot.Serial: it is read-only\n",
          "dpctl: state:8: Boot.Order: it has 2 instances",
          "dpctl: state:9: Boot.Delay: it is given twice, first in line 5\n",
          "dpctl: state:10: Boot.Tag: it is given twice, first in line 6\n",
          "dpctl: state:11: \"Speed\" is a list, not a value\n", "  Nothing would be changed.\n"}) {
        EXPECT_THAT(result.err, HasSubstr(problem));
    }
    EXPECT_EQ(dpctl({"apply", "state"}).exit_code, 1);
}

TEST_F(dpctl_plan, ends_with_3_when_there_is_nothing_to_change) {
    write_state("Boot.Delay=10\n");
    EXPECT_EQ(dpctl({"plan", "state"}).exit_code, 3);
    EXPECT_EQ(dpctl({"apply", "state"}).exit_code, 3);
    EXPECT_EQ(dpctl({"set", "--file", "state"}).exit_code, 0);
}

TEST_F(dpctl_plan, refuses_files_that_it_cannot_use) {
    ASSERT_EQ(mkfifo((test::root() + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(dpctl({"plan", "pipe"}).err, "dpctl: pipe: is not a file\n");
    EXPECT_EQ(dpctl({"plan", "var"}).err, "dpctl: var: is not a file\n");
    EXPECT_THAT(dpctl({"plan", "missing"}).err, HasSubstr("dpctl: missing: No such file"));
    test::write_file(test::root() + "/big", "");
    std::filesystem::resize_file(test::root() + "/big", 100'000'000);
    EXPECT_THAT(dpctl({"plan", "big"}).err, HasSubstr("dpctl: big: is larger than "));
    write_state("{\"Attributes\": {\n\"A\" 1}}");
    EXPECT_THAT(dpctl({"plan", "state"}).err, HasSubstr("dpctl: state:2: is not JSON: "));
    EXPECT_EQ(dpctl({"plan"}).exit_code, 2);
    EXPECT_EQ(dpctl({"plan", ""}).exit_code, 2);
}

TEST_F(dpctl_plan, evaluates_the_dependencies_for_the_whole_state) {
    install_power();
    write_state("Limit=200\n");
    const auto alone = dpctl({"plan", "state"});
    EXPECT_EQ(alone.exit_code, 1);
    EXPECT_EQ(alone.err,
              "dpctl: state:1: Power.Limit: read-only because Profile is not Custom\n"
              "  Nothing would be changed.\n");
    write_state("Limit=200\nProfile=custom\n");
    const auto both = dpctl({"plan", "state"});
    EXPECT_EQ(both.exit_code, 0) << both.err;
    EXPECT_EQ(both.out,
              "Power.Limit: 100 -> 200\n"
              "Power.Profile: Balanced -> Custom\n"
              "Power.Turbo: True -> False because Profile is Custom\n"
              "2 to change.\n");
    const json document = dpctl_json({"plan", "state"});
    EXPECT_EQ(document["effects"],
              json::parse(R"([{"name": "Power.Turbo", "previous": "True", "pending": "False",
                               "because": "Profile is Custom"}])"));
    write_state("Turbo=true\nProfile=Custom\n");
    const auto conflict = dpctl({"plan", "state"});
    EXPECT_EQ(conflict.exit_code, 1);
    EXPECT_THAT(conflict.err, HasSubstr("state:1: Power.Turbo: it would be set to False because "
                                        "Profile is Custom\n"
                                        "  Run the command with --keep-going, which makes the "
                                        "other changes, and then again to change Power.Turbo.\n"));
    const auto set = dpctl({"set", "Turbo=True", "Profile=Custom"});
    EXPECT_EQ(set.exit_code, 1);
    EXPECT_THAT(set.err,
                HasSubstr("  Make the other changes first, and change Power.Turbo afterwards.\n"));
}

TEST_F(dpctl_plan, names_what_dependencies_never_allow) {
    install_power();
    test::write_file(registry_, test::power_registry(
                                    {{"Profile", "EQU", "Custom", "Turbo", "ReadOnly", "true"}}));
    for (const char* const before : {"True", "False"}) {
        test::store_pending({{"Power.Turbo", before}});
        write_state("Turbo=true\nProfile=Custom\n");
        const auto result = dpctl({"plan", "state"});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_THAT(
            result.err,
            HasSubstr("Power.Turbo: it would be set to False because Profile is Custom, and "
                      "is then read-only because Profile is Custom\n"));
        EXPECT_THAT(result.err,
                    HasSubstr("  The dependencies do not allow Power.Turbo together with the other "
                              "values: leave them out, or what sets them.\n"));
        EXPECT_THAT(result.err, Not(HasSubstr("again")));
    }
}

TEST_F(dpctl_plan, takes_true_and_false_for_booleans_only) {
    install_power();
    write_state(R"({"Attributes": {"Turbo": false, "Profile": true}})");
    const auto result = dpctl({"plan", "state"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err,
                HasSubstr("Power.Profile: is true, but the attribute is not a Boolean"));
    EXPECT_THAT(result.err, Not(HasSubstr("Turbo")));
    write_state(R"({"Attributes": {"Turbo": false}})");
    EXPECT_THAT(dpctl({"plan", "state"}).out, HasSubstr("Power.Turbo: True -> False\n"));
}

TEST_F(dpctl_plan, warns_when_the_versions_differ) {
    install_power();
    write_state(
        R"({"RegistryVersion": "0.9", "BuildId": "OTHER", "Attributes": {"Turbo": false}})");
    const auto result = dpctl({"plan", "state"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err,
              "dpctl: warning: state was made from registry version \"0.9\", but that of this "
              "server is \"1.0.2\"\n"
              "dpctl: warning: state was made from BIOS build \"OTHER\", but that of this server "
              "is \"BUILD-1\"\n");
}

TEST_F(dpctl_plan, ignores_a_registry_that_cannot_be_used) {
    install_power();
    write_state("Limit=200\n");
    test::write_file(registry_, "{");
    const auto damaged = dpctl({"plan", "state"});
    EXPECT_EQ(damaged.exit_code, 0);
    EXPECT_THAT(damaged.err, HasSubstr("is not JSON"));
    EXPECT_THAT(damaged.err, HasSubstr("it is not used\n"));
    server_.install(test::sample_settings());
    write_state("Delay=20\n");
    test::write_file(registry_, test::power_registry());
    EXPECT_THAT(dpctl({"plan", "state"}).err,
                HasSubstr("is the registry of another template; it is not used\n"));
    EXPECT_EQ(dpctl({"plan", "state", "--registry-file", registry_}).exit_code, 1);
}

TEST_F(dpctl_apply, makes_the_changes_in_one_batch_and_does_nothing_the_second_time) {
    const test::fake_service service(test::accept_all);
    write_state(R"({"Attributes": {"Boot.Mode": "UEFI", "Boot.Delay": 15, "Boot.Tag": ""}})");
    const auto result = dpctl({"apply", "state"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "Boot.Mode: Legacy -> UEFI, same as the current value\n"
              "Boot.Delay: 10 -> 15, pending until the server restarts\n"
              "2 changed, 1 already so.\n");
    const auto again = dpctl({"apply", "state"});
    EXPECT_EQ(again.exit_code, 3);
    EXPECT_EQ(again.out, "3 already so.\n");
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_THAT(service.batches()[0], SizeIs(2));
}

TEST_F(dpctl_apply, sends_nothing_when_one_change_cannot_be_made) {
    // There is no service, so a request would not be answered.
    write_state("Boot.Mode=UEFI\nBoot.Delay=101\n");
    const auto result = dpctl({"apply", "state"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("state:2: Boot.Delay: \"101\" is out of range"));
    EXPECT_THAT(result.err, HasSubstr("  With --keep-going the other changes are made.\n"
                                      "  Nothing was changed.\n"));
    EXPECT_THAT(result.err, Not(HasSubstr("no settings service")));
    EXPECT_EQ(result.out, "1 refused, 1 not changed.\n");
}

TEST_F(dpctl_apply, keeps_going_with_the_valid_changes_if_told_to) {
    const test::fake_service service(test::accept_all);
    write_state("Boot.Mode=UEFI\nBoot.Delay=101\nNope=1\n");
    const auto result = dpctl({"apply", "--keep-going", "state"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.out, HasSubstr("Boot.Mode: Legacy -> UEFI"));
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_THAT(service.batches()[0], SizeIs(1));
}

TEST_F(dpctl_apply, does_nothing_when_the_pending_values_changed_since_the_plan) {
    test::fake_service service(test::accept_all);
    service.is_changed_meanwhile = true;
    write_state("Boot.Mode=UEFI\n");
    const auto result = dpctl({"apply", "state"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "dpctl: the pending values changed meanwhile, so nothing was done\n"
              "  Nothing was changed.\n");
    EXPECT_THAT(service.batches(), IsEmpty());
}

TEST_F(dpctl_apply, shows_the_reason_of_the_service) {
    const test::fake_service service([](const std::vector<batch_command>& commands) {
        return test::answer_line(commands[0], dp_service::service_status::forbidden_by_dependency,
                                 "read-only because Profile is not Custom");
    });
    write_state("Boot.Mode=UEFI\n");
    const auto result = dpctl({"apply", "state"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "dpctl: state:1: Boot.Mode: read-only because Profile is not Custom\n");
}

TEST_F(dpctl_apply, brings_the_other_settings_to_their_defaults_except_the_unique_ones) {
    install_power();
    test::store_pending({{"Power.Turbo", "False"}, {"Power.Limit", "300"}});
    const test::fake_service service(test::accept_all);
    write_state("Profile=Balanced\n");
    const auto result = dpctl({"apply", "--others-default", "state"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "1 setting that identifies this server is left as it is.\n"
              "Power.Limit: remains 300 instead of 100, read-only because Profile is not Custom\n"
              "Power.Turbo: False -> True, same as the current value\n"
              "1 changed, 1 already so, 1 read-only and not changed.\n");
}

TEST_F(dpctl_apply, does_not_report_what_dependencies_should_have_set) {
    install_power();
    write_state("Profile=Custom\n");
    const test::fake_service service(test::accept_all);
    EXPECT_EQ(dpctl({"apply", "state"}).out,
              "Power.Profile: Balanced -> Custom, pending until the server restarts\n"
              "1 changed.\n");
}

TEST_F(dpctl_apply, reads_standard_input) {
    const test::fake_service service(test::accept_all);
    const auto result = test::run_program(
        "/bin/sh", {"-c", "echo Boot.Delay=20 | '" + test::program_path("dpctl") + "' apply -"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("Boot.Delay: 10 -> 20"));
    EXPECT_THAT(test::run_program("/bin/sh", {"-c", "echo nonsense | '" +
                                                        test::program_path("dpctl") + "' apply -"})
                    .err,
                HasSubstr("dpctl: standard input:1: \"nonsense\" is not NAME=VALUE\n"));
}

TEST_F(dpctl_diff, compares_current_values_with_pending_ones) {
    const auto result = dpctl({"diff"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "Boot.Mode: UEFI -> Legacy\n");
    EXPECT_EQ(dpctl_json({"diff"}),
              json::parse(R"({"from": "current values", "to": "pending values", "differences": [
                  {"name": "Boot.Mode", "from": "UEFI", "to": "Legacy"}]})"));
    test::store_pending({{"Boot.Mode", "UEFI"}});
    const auto same = dpctl({"diff"});
    EXPECT_EQ(same.exit_code, 3);
    EXPECT_EQ(same.out, "No difference between current values and pending values.\n");
}

TEST_F(dpctl_diff, compares_with_defaults_and_with_files) {
    EXPECT_EQ(dpctl({"diff", "--defaults"}).out,
              "Boot.Mode: UEFI -> Legacy\n"
              "Boot.Serial: none -> S123\n"
              "Boot.Order.2: Disk -> Net\n"
              "Memory.Speed: 0 -> 3200\n");
    write_state("Mode=x\nBoot.Delay=010\nTag=new\n");
    EXPECT_EQ(dpctl({"diff", "state"}).exit_code, 1) << "Mode is ambiguous";
    write_state("Boot.Delay=010\nTag=new\n");
    EXPECT_EQ(dpctl({"diff", "state"}).out, "Boot.Tag: \"\" -> new\n");
    test::write_file(test::root() + "/other", R"({"Attributes": {"Delay": 20, "Speed": 5}})");
    const auto files = dpctl({"diff", "state", "other"});
    EXPECT_EQ(files.exit_code, 0) << files.err;
    EXPECT_EQ(files.out,
              "Boot.Delay: 10 -> 20\n"
              "Boot.Tag: new -> -\n"
              "Memory.Speed: - -> 5\n");
    EXPECT_EQ(dpctl({"diff", "state", "state"}).exit_code, 3);
    EXPECT_EQ(dpctl({"diff", "state", "state", "state"}).exit_code, 2);
    EXPECT_EQ(dpctl({"diff", "--defaults", "state"}).exit_code, 2);
}

TEST_F(dpctl_export, prints_a_state_that_can_be_applied) {
    install_power();
    test::store_pending({{"Power.Profile", "Custom"}});
    const auto result = dpctl({"export"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(json::parse(result.out), json::parse(R"({
        "RegistryVersion": "1.0.2", "BuildId": "BUILD-1",
        "Attributes": {"Profile": "Custom", "Limit": 100, "Turbo": true}})"));
    EXPECT_EQ(result.err,
              "dpctl: settings left out: 1 unique to this server; --all exports them\n");
    const json current = json::parse(dpctl({"export", "--current"}).out);
    EXPECT_EQ(current["Attributes"], json::parse(R"({"Profile": "Balanced", "Turbo": true})"));
    EXPECT_EQ(current["ReadOnlyAttributes"], json::parse(R"({"Limit": 100})"));
    const json all = json::parse(dpctl({"export", "--current", "--all"}).out);
    EXPECT_EQ(all["Attributes"]["Asset"], "rack-7");
    EXPECT_EQ(all["Attributes"]["Limit"], 100);
    const json changed = json::parse(dpctl({"export", "--non-default"}).out);
    EXPECT_EQ(changed["Attributes"], json::parse(R"({"Profile": "Custom"})"));
    write_state(result.out);
    EXPECT_EQ(dpctl({"plan", "state"}).exit_code, 3);
}

TEST_F(dpctl_export, lists_apart_what_is_set_only_where_that_is_possible) {
    install_power();
    test::store_pending({{"Power.Limit", "300"}});
    write_state(dpctl({"export"}).out);
    test::store_pending({{"Power.Limit", "50"}, {"Power.Turbo", "False"}});
    const auto planned = dpctl({"plan", "state"});
    EXPECT_EQ(planned.exit_code, 0) << planned.err;
    EXPECT_THAT(planned.out, HasSubstr("Power.Limit: remains 50 instead of 300, read-only because "
                                       "Profile is not Custom\n"));
    test::store_pending({{"Power.Turbo", "True"}});
    EXPECT_EQ(dpctl({"plan", "state"}).exit_code, 3);
    EXPECT_EQ(dpctl({"diff", "state"}).exit_code, 3);
    test::store_pending({{"Power.Profile", "Custom"}});
    EXPECT_THAT(dpctl({"plan", "state"}).out, HasSubstr("Power.Limit: 50 -> 300\n"))
        << "it can be changed now";
}

TEST_F(dpctl_export, names_settings_so_that_they_are_found_again) {
    const json state = json::parse(dpctl({"export", "Boot", "Memory.Mode"}).out);
    EXPECT_EQ(state["Attributes"], json::parse(R"({"Boot.Mode": "Legacy", "Delay": 10, "Tag": "",
        "Order.1": "Disk", "Order.2": "Net", "Memory.Mode": "A"})"));
    EXPECT_EQ(dpctl({"export", "Nope"}).exit_code, 1);
    EXPECT_EQ(dpctl({"export", "--pending", "--current"}).exit_code, 2);
}

TEST_F(dpctl_export, keeps_bytes_that_are_not_utf8) {
    test::store_pending({{"Boot.Tag", "a\xff"}});
    write_state(dpctl({"export"}).out);
    EXPECT_EQ(dpctl({"diff", "state"}).exit_code, 3);
    test::store_pending({{"Boot.Tag", "b"}});
    EXPECT_THAT(dpctl({"diff", "state"}).out, HasSubstr("Boot.Tag: b -> a\\xff\n"));
}

TEST_F(dpctl_export, has_whole_values_of_any_length) {
    const std::string value(150, 'x');
    test::store_pending({{"Boot.Tag", value}});
    const json state = json::parse(dpctl({"export"}).out);
    EXPECT_EQ(state["Attributes"]["Tag"], value);
}

TEST_F(dpctl_revert, makes_the_pending_values_the_current_ones) {
    test::store_pending({{"Boot.Delay", "20"}});
    const test::fake_service service(test::accept_all);
    const auto one = dpctl({"revert", "Boot.Delay"});
    EXPECT_EQ(one.exit_code, 0) << one.err;
    EXPECT_EQ(one.out,
              "Boot.Delay: 20 -> 10, same as the current value\n"
              "1 changed.\n");
    EXPECT_EQ(dpctl({"revert", "Memory"}).exit_code, 3);
    EXPECT_EQ(dpctl({"revert", "--all"}).exit_code, 0);
    EXPECT_EQ(dpctl({"diff"}).exit_code, 3);
    EXPECT_EQ(dpctl({"revert", "--all"}).exit_code, 3);
    EXPECT_THAT(service.batches(), SizeIs(2));
}

TEST_F(dpctl_revert, keeps_everything_without_current_values) {
    std::filesystem::remove(test::root() + "/var/dp/uefi_current.txt");
    EXPECT_EQ(dpctl({"revert", "--all"}).exit_code, 3);
}

TEST_F(dpctl_revert, refuses_to_change_a_setting_that_has_its_current_value) {
    install_power();
    test::write_file(
        test::root() + "/var/dp/uefi_current.txt",
        test::value_line("Power.Profile", "Custom") + test::value_line("Power.Limit", "100") +
            test::value_line("Power.Turbo", "True") + test::value_line("Power.Asset", "rack-7"));
    const auto result = dpctl({"revert", "--all"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("Power.Turbo: it would be set to False because Profile is "
                                      "Custom\n"));
}

TEST_F(dpctl_revert, shows_the_commands_for_what_is_read_only_before_and_after_it) {
    install_power();
    test::store_pending({{"Power.Limit", "200"}});
    // There is no service, so a request would not be answered.
    const auto result = dpctl({"revert", "--all"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "dpctl: Power.Limit: read-only because Profile is not Custom\n"
              "  The dependencies do not allow Power.Limit to change, neither with the pending "
              "values nor with the current ones. Run these commands first, then this one again:\n"
              "    dpctl set Power.Profile=Custom Power.Limit=100\n"
              "    dpctl set Power.Profile=Balanced\n"
              "  Nothing was changed.\n");
    // No value of a choice makes it possible.
    test::write_file(
        registry_, test::power_registry({{"Asset", "EQU", "rack-7", "Limit", "ReadOnly", "true"}}));
    EXPECT_EQ(dpctl({"revert", "--all"}).err,
              "dpctl: Power.Limit: read-only because Asset is rack-7\n  Nothing was changed.\n");
}

TEST_F(dpctl_revert, needs_names_or_all) {
    EXPECT_EQ(dpctl({"revert"}).exit_code, 2);
    EXPECT_EQ(dpctl({"revert", "--all", "Boot"}).exit_code, 2);
    EXPECT_EQ(dpctl({"reset"}).exit_code, 2);
    EXPECT_EQ(dpctl({"revert", "Nope"}).exit_code, 1);
}

TEST_F(dpctl_revert, lets_dependencies_set_what_is_read_only) {
    server_.install(power_settings());
    // Turbo is read-only while Profile is Custom, and becomes true when it is Balanced again.
    test::write_file(
        registry_, test::power_registry(
                       {{"Profile", "EQU", "Balanced", "Turbo", "CurrentValue", "true", "Profile"},
                        {"Limit", "GEQ", "0", "Turbo", "ReadOnly", "true"}}));
    test::store_pending({{"Power.Profile", "Custom"}, {"Power.Turbo", "False"}});
    test::fake_service service([](const std::vector<batch_command>& commands) {
        const std::string answer = test::accept_all(commands);
        test::store_pending({{"Power.Turbo", "True"}});
        return answer;
    });
    const auto result = dpctl({"revert", "--all"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("Power.Turbo: False -> True because Profile is Balanced"));
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_THAT(service.batches()[0], SizeIs(1)) << "Turbo is not requested";
}

TEST_F(dpctl_state, is_taken_by_set_too) {
    write_state("Boot.Delay=20\n");
    const auto planned = dpctl({"set", "--dry-run", "--file", "state", "Boot.Tag=x"});
    EXPECT_EQ(planned.exit_code, 0) << planned.err;
    EXPECT_EQ(planned.out,
              "Boot.Delay: 10 -> 20\n"
              "Boot.Tag: \"\" -> x\n");
    const test::fake_service service(test::accept_all);
    EXPECT_EQ(dpctl({"set", "--file", "state", "Boot.Tag=x"}).exit_code, 0);
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_THAT(service.batches()[0], SizeIs(2));
    EXPECT_EQ(dpctl({"set"}).exit_code, 2);
}

}  // namespace
