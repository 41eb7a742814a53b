#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "common/file_locks.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/dpctl_json.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

namespace {

using nlohmann::json;
using test::dpctl;
using test::dpctl_json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class dpctl_reading : public testing::Test {
  protected:
    dpctl_reading() { server_.install(test::sample_settings()); }

    test::server_files server_;
};

class dpctl_collections : public dpctl_reading {};
class dpctl_list : public dpctl_reading {};
class dpctl_show : public dpctl_reading {};
class dpctl_get : public dpctl_reading {};

TEST_F(dpctl_collections, lists_collections_with_pending_changes) {
    EXPECT_EQ(dpctl({"collections"}).out,
              "COLLECTION  SETTINGS  PENDING RESTART\n"
              "Boot        6         1\n"
              "Memory      2         0\n");
    EXPECT_EQ(dpctl_json({"collections"}), json::parse(R"({"collections": [
                  {"name": "Boot", "settings": 6, "pending_restart": 1},
                  {"name": "Memory", "settings": 2, "pending_restart": 0}]})"));
}

TEST_F(dpctl_list, lists_settings_with_both_values_and_notes) {
    EXPECT_EQ(dpctl({"list", "Boot"}).out,
              "NAME          TYPE         PENDING  CURRENT  NOTES\n"
              "Boot.Mode     enumeration  Legacy   UEFI     pending restart\n"
              "Boot.Delay    integer      10       10\n"
              "Boot.Tag      string       \"\"       \"\"\n"
              "Boot.Serial   free         S123     S123     read-only\n"
              "Boot.Order.1  string       Disk     Disk\n"
              "Boot.Order.2  string       Net      Net\n");
    const json listed = dpctl_json({"list", "Boot"});
    EXPECT_EQ(listed["collections"], json({"Boot"}));
    ASSERT_THAT(listed["settings"], SizeIs(6));
    EXPECT_EQ(listed["settings"][0],
              json::parse(R"({"name": "Boot.Mode", "type": "enumeration", "read_only": false,
                  "pending": "Legacy", "current": "UEFI", "truncated": false,
                  "pending_restart": true})"));
}

TEST_F(dpctl_list, marks_nothing_without_a_current_values_file) {
    std::filesystem::remove(test::root() + "/var/dp/uefi_current.txt");
    EXPECT_THAT(dpctl({"list", "Boot"}).out, HasSubstr("Boot.Mode     enumeration  Legacy   -\n"));
    EXPECT_EQ(dpctl_json({"list", "Boot"})["settings"][0]["current"], nullptr);
}

// The names of the settings that are listed.
std::vector<std::string> listed_names(const std::vector<std::string>& arguments) {
    std::vector<std::string> words{"list"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> names;
    const json document = dpctl_json(words);
    for (const auto& setting : document["settings"]) {
        names.push_back(setting["name"]);
    }
    return names;
}

TEST_F(dpctl_list, lists_several_or_all_collections) {
    EXPECT_THAT(listed_names({}), SizeIs(8));
    EXPECT_EQ(listed_names({"--all"}), listed_names({}));
    EXPECT_EQ(listed_names({"Boot", "Memory"}), listed_names({}));
    EXPECT_EQ(listed_names({"Memory", "Memory"}), listed_names({"Memory"}));
    EXPECT_EQ(dpctl_json({"list"})["collections"], json({"Boot", "Memory"}));
}

TEST_F(dpctl_list, lists_known_collections_and_reports_unknown_ones) {
    const auto result = dpctl({"list", "Memory", "Bot"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.out, HasSubstr("Memory.Mode"));
    EXPECT_THAT(result.err, HasSubstr("there is no collection \"Bot\""));
}

TEST_F(dpctl_list, selects_settings_by_their_state) {
    EXPECT_THAT(listed_names({"--changed"}), ElementsAre("Boot.Mode"));
    EXPECT_THAT(listed_names({"Memory", "--changed"}), IsEmpty());
    EXPECT_THAT(listed_names({"--non-default"}),
                ElementsAre("Boot.Mode", "Boot.Serial", "Boot.Order.2", "Memory.Speed"));
    EXPECT_THAT(listed_names({"--read-only"}), ElementsAre("Boot.Serial"));
    EXPECT_THAT(listed_names({"--writable", "--non-default"}),
                ElementsAre("Boot.Mode", "Boot.Order.2", "Memory.Speed"));
    const auto none = dpctl({"list", "Memory", "--changed"});
    EXPECT_EQ(none.exit_code, 0);
    EXPECT_EQ(none.out, "No settings match.\n");
}

TEST_F(dpctl_list, selects_settings_by_their_names) {
    EXPECT_THAT(listed_names({"--match", "mode"}), ElementsAre("Boot.Mode", "Memory.Mode"));
    EXPECT_THAT(listed_names({"--match", "O*.?"}), ElementsAre("Boot.Order.1", "Boot.Order.2"));
    EXPECT_THAT(listed_names({"--match", "boot.order.*"}),
                ElementsAre("Boot.Order.1", "Boot.Order.2"));
    EXPECT_THAT(listed_names({"--match", "Mo"}),
                ElementsAre("Boot.Mode", "Memory.Mode", "Memory.Speed"));
}

TEST_F(dpctl_list, sorts_by_name) {
    EXPECT_THAT(listed_names({"Boot", "--sort", "name"}),
                ElementsAre("Boot.Delay", "Boot.Mode", "Boot.Order.1", "Boot.Order.2",
                            "Boot.Serial", "Boot.Tag"));
    EXPECT_EQ(listed_names({"Boot", "--sort", "menu"}), listed_names({"Boot"}));
}

TEST_F(dpctl_show, shows_all_attributes_that_match_a_pattern) {
    const json shown = dpctl_json({"show", "Boot.*e*", "*Speed"})["attributes"];
    std::vector<std::string> names;
    for (const auto& attribute : shown) {
        names.push_back(attribute["name"]);
    }
    EXPECT_THAT(
        names, ElementsAre("Boot.Mode", "Boot.Delay", "Boot.Serial", "Boot.Order", "Memory.Speed"));
    EXPECT_THAT(dpctl({"show", "Order.*"}).out, testing::StartsWith("Boot.Order.1\n"));
    EXPECT_EQ(dpctl({"show", "Nix*"}).err, "dpctl: no setting matches \"Nix*\"\n");
}

TEST_F(dpctl_get, prints_all_values_that_match_a_pattern) {
    EXPECT_EQ(dpctl({"get", "Boot.O*", "Order.?"}).out, "Boot.Order.1=Disk\nBoot.Order.2=Net\n");
    EXPECT_EQ(dpctl({"get", "*Mode"}).out, "Boot.Mode=Legacy\nMemory.Mode=A\n");
    EXPECT_EQ(dpctl({"get", "Nix.*"}).exit_code, 1);
    EXPECT_THAT(dpctl_json({"get", "--all"})["settings"], SizeIs(8));
    EXPECT_THAT(dpctl({"get", "--all", "--current"}).out,
                testing::StartsWith("Boot.Mode=UEFI\nBoot.Delay=10\n"));
}

TEST_F(dpctl_get, leaves_out_settings_without_a_value_that_are_not_named) {
    server_.install(
        {{"Boot.A", {{"type", "4"}}, "(none)", ""}, {"Boot.B", {{"type", "4"}}, "1", "1"}});
    EXPECT_EQ(dpctl({"get", "--all"}).out, "Boot.B=1\n");
    EXPECT_EQ(dpctl({"get", "--all"}).exit_code, 0);
    EXPECT_EQ(dpctl({"get", "Boot.A"}).exit_code, 1);
}

TEST_F(dpctl_get, accepts_a_name_with_the_characters_of_a_pattern) {
    server_.install(
        {{"Boot.A*", {{"type", "4"}}, "1", "1"}, {"Boot.AB", {{"type", "4"}}, "2", "2"}});
    EXPECT_EQ(dpctl({"get", "Boot.A*"}).out, "Boot.A*=1\n");
}

TEST_F(dpctl_show, shows_an_attribute) {
    EXPECT_EQ(dpctl({"show", "Boot.Mode"}).out,
              "Boot.Mode\n"
              "  Type             enumeration\n"
              "  Description      Boot mode\n"
              "  Help             How the server starts.\n"
              "  Group            ./Setup/Boot\n"
              "  Possible values  Legacy, UEFI, Fast Boot\n"
              "  Default          UEFI\n"
              "  Pending          Legacy\n"
              "  Current          UEFI (until the server restarts)\n"
              "  Read-only        no\n");
    EXPECT_EQ(dpctl_json({"show", "Boot.Mode"})["attributes"][0],
              json::parse(R"({"name": "Boot.Mode", "collection": "Boot", "attribute": "Mode",
                  "type": "enumeration", "description": "Boot mode",
                  "help": "How the server starts.", "group": "./Setup/Boot",
                  "possible_values": ["Legacy", "UEFI", "Fast Boot"], "default": "UEFI",
                  "read_only": false, "settings": [{"name": "Boot.Mode", "pending": "Legacy",
                  "current": "UEFI", "truncated": false, "pending_restart": true}]})"));
}

TEST_F(dpctl_show, shows_the_restrictions_of_each_type) {
    EXPECT_THAT(dpctl({"show", "Boot.Delay"}).out,
                HasSubstr("  Range            0 to 100\n  Step             5\n"));
    EXPECT_THAT(dpctl({"show", "Boot.Tag"}).out,
                HasSubstr("  Length           0 to 200 characters\n  Pattern          ^[ -~]*$\n"));
    EXPECT_THAT(dpctl({"show", "Serial"}).out, HasSubstr("  Read-only        yes\n"));
    const json shown = dpctl_json({"show", "Boot.Delay", "Boot.Tag", "Boot.Serial"})["attributes"];
    ASSERT_THAT(shown, SizeIs(3));
    EXPECT_EQ(shown[0]["minimum"], 0);
    EXPECT_EQ(shown[0]["maximum"], 100);
    EXPECT_EQ(shown[0]["step"], 5);
    EXPECT_EQ(shown[1]["minimum_length"], 0);
    EXPECT_EQ(shown[1]["maximum_length"], 200);
    EXPECT_EQ(shown[1]["pattern"], "^[ -~]*$");
    EXPECT_EQ(shown[2]["read_only"], true);
}

TEST_F(dpctl_show, shows_all_instances_or_a_single_one) {
    EXPECT_THAT(dpctl({"show", "Boot.Order"}).out, HasSubstr("  Instance 1\n"
                                                             "  Pending          Disk\n"
                                                             "  Current          Disk\n"
                                                             "  Instance 2\n"
                                                             "  Pending          Net\n"));
    EXPECT_THAT(dpctl({"show", "Boot.Order.2"}).out, HasSubstr("  Pending          Net\n"));
    EXPECT_THAT(dpctl({"show", "Boot.Order.2"}).out, Not(HasSubstr("Disk\n  Current")));
}

TEST_F(dpctl_get, prints_pending_and_current_values) {
    EXPECT_EQ(dpctl({"get", "Boot.Mode", "Delay", "Boot.Tag"}).out,
              "Boot.Mode=Legacy\nBoot.Delay=10\nBoot.Tag=\n");
    EXPECT_EQ(dpctl({"get", "--current", "Boot.Mode"}).out, "Boot.Mode=UEFI\n");
    EXPECT_EQ(dpctl({"get", "Boot.Order"}).out, "Boot.Order.1=Disk\nBoot.Order.2=Net\n");
    EXPECT_EQ(dpctl_json({"get", "Boot.Mode", "--current"}), json::parse(R"({"settings": [
                  {"name": "Boot.Mode", "value": "UEFI", "truncated": false}]})"));
}

TEST_F(dpctl_get, names_the_file_without_a_value) {
    const auto result = dpctl({"get", "Boot.Order.3", "Boot.Delay"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "Boot.Delay=10\n");
    EXPECT_EQ(result.err, "dpctl: Boot.Order.3: " + test::root() +
                              "/var/dp/uefi_settings.txt has no value for it\n");
}

TEST_F(dpctl_get, prints_values_whole_that_the_c_api_cuts) {
    // The limit of 79 bytes is within a character.
    const std::string value = std::string(78, 'x') + "€€";
    test::store_pending({{"Boot.Tag", value}});
    EXPECT_EQ(dpctl({"get", "Boot.Tag"}).out, "Boot.Tag=" + value + '\n');
    const json got = dpctl_json({"get", "Boot.Tag"})["settings"][0];
    EXPECT_EQ(got["value"], value);
    EXPECT_EQ(got["truncated"], false);
    EXPECT_EQ(dpctl_json({"list", "Boot"})["settings"][2]["pending"], value);
}

TEST_F(dpctl_get, reads_other_files) {
    test::write_file(test::root() + "/other.txt", test::value_line("Boot.Mode", "Fast Boot"));
    EXPECT_EQ(dpctl({"get", "Boot.Mode", "--settings-file", "other.txt"}).out,
              "Boot.Mode=Fast Boot\n");
    EXPECT_EQ(dpctl({"get", "Boot.Mode", "--current", "--current-file", "other.txt"}).out,
              "Boot.Mode=Fast Boot\n");
}

TEST_F(dpctl_list, reports_a_missing_template) {
    EXPECT_EQ(dpctl({"list", "Boot"}).err, "");
    const auto result = dpctl({"list", "Boot", "--template-file", "missing.efi"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err,
              "dpctl: the template missing.efi does not exist; its earlier expansion is used\n");
    EXPECT_THAT(result.out, HasSubstr("Boot.Mode"));
}

TEST_F(dpctl_collections, keeps_the_expansion_of_the_servers_own_template) {
    namespace fs = std::filesystem;
    const std::string own = test::root() + "/var/dp/uefi_template.efi";
    fs::last_write_time(own, fs::file_time_type::clock::now() - std::chrono::hours(1));
    const std::string text = test::root() + "/tmp/dp/uefi_configs.txt";
    dpctl({"collections"});
    const auto made = fs::last_write_time(text);
    EXPECT_EQ(dpctl({"collections", "--template-file", own}).err, "");
    EXPECT_THAT(dpctl({"collections", "--template-file", "missing.efi"}).err,
                HasSubstr("does not exist"));
    EXPECT_EQ(fs::last_write_time(text), made);
}

TEST_F(dpctl_collections, warns_if_the_expansion_may_belong_to_another_template) {
    namespace fs = std::filesystem;
    const auto hour_ago = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::copy_file(test::root() + "/var/dp/uefi_template.efi", test::root() + "/other.efi");
    fs::last_write_time(test::root() + "/other.efi", hour_ago);
    const std::string text = test::root() + "/tmp/dp/uefi_info.txt";
    fs::create_directories(text + "/full");
    EXPECT_EQ(dpctl({"collections", "--template-file", "other.efi"}).err,
              "dpctl: the template other.efi is older than " + text +
                  ", which cannot be removed and may belong to another template\n"
                  "  To expand the template again: touch other.efi\n");
    fs::last_write_time(test::root() + "/other.efi",
                        fs::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_EQ(dpctl({"collections", "--template-file", "other.efi"}).err, "");
}

TEST_F(dpctl_reading, suggests_similar_names) {
    auto result = dpctl({"list", "Bot"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "dpctl: there is no collection \"Bot\"\n"
              "  did you mean Boot?\n"
              "  \"dpctl collections\" lists them all.\n");
    result = dpctl({"get", "Boot.Dealy"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err,
              "dpctl: collection Boot has no attribute \"Dealy\"\n  did you mean Boot.Delay?\n");
    for (const char* const command : {"reset", "check"}) {
        EXPECT_EQ(dpctl({command, "Bot"}).exit_code, 1);
    }
    EXPECT_EQ(dpctl({"show", "Mode"}).err,
              "dpctl: several collections have \"Mode\": Boot and Memory; use Boot.Mode or "
              "Memory.Mode\n");
}

TEST_F(dpctl_reading, prints_json_after_failures) {
    const std::vector<std::vector<std::string>> failing{
        {"list", "Bot"},  {"show", "Nix"},  {"get", "Nix"},      {"set", "Nix=1"},
        {"reset", "Bot"}, {"check", "Bot"}, {"get", "\x1b\xff"}, {"set", "Boot.Mode=\""}};
    for (const auto& arguments : failing) {
        EXPECT_THAT(dpctl_json(arguments, 1)["errors"], SizeIs(1))
            << testing::PrintToString(arguments);
    }
    std::filesystem::remove(test::root() + "/var/dp/uefi_template.efi");
    std::filesystem::remove(test::root() + "/tmp/dp/uefi_configs.txt");
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"collections"}, {"list", "Boot"}}) {
        EXPECT_THAT(dpctl_json(arguments, 1)["errors"], SizeIs(1));
    }
}

TEST_F(dpctl_collections, explains_why_there_are_no_collections) {
    const std::string root = test::root();
    server_.install_texts("", "", "", "");
    EXPECT_THAT(dpctl({"collections"}).err, HasSubstr(root +
                                                      "/bin/dpspy found none in the "
                                                      "template " +
                                                      root + "/var/dp/uefi_template.efi"));
    std::filesystem::remove_all(root + "/tmp/dp");
    EXPECT_THAT(dpctl({"list", "Boot"}).err, HasSubstr("the folder " + root + "/tmp/dp"));
    std::filesystem::remove(root + "/bin/dpspy");
    EXPECT_THAT(dpctl({"get", "Boot.Mode"}).err, HasSubstr(root + "/bin/dpspy, which expands"));
    std::filesystem::remove(root + "/var/dp/uefi_template.efi");
    const auto result = dpctl({"set", "Boot.Mode=UEFI"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("the template " + root +
                                      "/var/dp/uefi_template.efi does not exist\n"
                                      "  dp-template creates one"));
}

TEST_F(dpctl_reading, shows_no_raw_control_bytes_from_files) {
    const std::string evil = "\x1b[2J\x07\x9b\xff\u202e\r";
    server_.install_texts("Boot\nBo\x1bot\n",
                          test::attribute_record({"Boot.Mo\x1b"
                                                  "de",
                                                  {{"type", "1"},
                                                   {"chc", "a," + evil},
                                                   {"dsc", evil},
                                                   {"fds", evil},
                                                   {"grp", evil},
                                                   {"dft", evil}},
                                                  "",
                                                  ""}),
                          test::value_line("Boot.Mo\x1b"
                                           "de",
                                           evil),
                          "");
    const std::string name =
        "Boot.Mo\x1b"
        "de";
    const std::vector<std::vector<std::string>> commands{
        {"collections"}, {"list", "Boot"}, {"show", name}, {"get", name}, {"get", "Boot.Mo"}};
    for (const auto& arguments : commands) {
        const auto result = dpctl(arguments);
        for (const char c : result.out + result.err) {
            const auto byte = static_cast<unsigned char>(c);
            ASSERT_TRUE(byte == '\n' || (byte >= 0x20 && byte < 0x7F))
                << testing::PrintToString(arguments) << ' ' << int{byte};
        }
    }
    EXPECT_THAT(dpctl({"get", name}).out,
                HasSubstr("Boot.Mo\\x1bde=\\x1b[2J\\x07\\x9b\\xff\\u{202e}\\x0d\n"));
    EXPECT_EQ(dpctl_json({"list", "Boot"})["settings"][0]["pending"],
              "\x1b[2J\x07\ufffd\ufffd\u202e\r");
    EXPECT_THAT(dpctl_json({"show", name})["attributes"], SizeIs(1));
    EXPECT_THAT(dpctl({"set", name + "=b"}).err, HasSubstr("dpctl: Boot.Mo\\x1bde: \"b\" is not"));
}

// Every command that reads the files of the server.
const std::vector<std::vector<std::string>> reading_commands{
    {"collections"},
    {"list", "Boot"},
    {"show", "Boot.Mode"},
    {"get", "Boot.Mode"},
    {"get", "--current", "Boot.Mode"},
    {"set", "Boot.Mode=UEFI"},
    {"reset", "Boot"},
    {"check", "Boot"},
};

class dpctl_without_permission : public dpctl_reading {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "needs root, to become a user without rights";
        }
        // The template has been expanded, so an ordinary user can read everything.
        test::set_mtime(template_file, 1'000'000'000);
        EXPECT_EQ(dpctl({"list", "Boot"}).exit_code, 0);
        std::filesystem::permissions(test::root(), std::filesystem::perms(0755));
        EXPECT_EQ(test::run_program_unprivileged("dpctl", {"list", "Boot"}).exit_code, 0);
    }

    // Every command of the user fails with this reason alone.
    static void expect_failures(const std::vector<std::vector<std::string>>& commands,
                                const std::string& reason) {
        for (const auto& command : commands) {
            const auto result = test::run_program_unprivileged("dpctl", command);
            EXPECT_EQ(result.exit_code, 1) << testing::PrintToString(command);
            EXPECT_EQ(result.err, "dpctl: " + reason + '\n') << testing::PrintToString(command);
            EXPECT_EQ(result.out, "") << testing::PrintToString(command);
        }
    }

    static void deny(const std::string& path) {
        std::filesystem::permissions(path, std::filesystem::perms::none);
    }

    const std::string template_file = test::root() + "/var/dp/uefi_template.efi";
    const std::string settings_file = test::root() + "/var/dp/uefi_settings.txt";
    const std::string current_file = test::root() + "/var/dp/uefi_current.txt";
};

TEST_F(dpctl_without_permission, reports_an_unreadable_settings_file) {
    deny(settings_file);
    expect_failures(reading_commands,
                    "cannot read " + settings_file + ": permission denied: run as root");
}

TEST_F(dpctl_without_permission, names_the_group_that_has_access) {
    constexpr gid_t group = 4711;
    const std::string folder = test::root() + "/var/dp";
    ASSERT_EQ(chown(folder.c_str(), 0, group), 0);
    std::filesystem::permissions(folder, std::filesystem::perms(0750));
    expect_failures(
        reading_commands,
        "cannot read " + template_file + ": permission denied: run as root or join the group 4711");
    EXPECT_THAT(test::run_program_unprivileged("dpctl", {"history"}).err,
                HasSubstr("permission denied: run as root or join the group 4711"));
}

TEST_F(dpctl_without_permission, reports_an_unreadable_current_values_file) {
    deny(current_file);
    expect_failures({{"collections"},
                     {"list", "Boot"},
                     {"show", "Boot.Mode"},
                     {"get", "--current", "Boot.Mode"},
                     {"set", "Boot.Mode=UEFI"}},
                    "cannot read " + current_file + ": permission denied: run as root");
    EXPECT_EQ(test::run_program_unprivileged("dpctl", {"get", "Boot.Mode"}).exit_code, 0);
}

TEST_F(dpctl_without_permission, reports_an_unreadable_template) {
    deny(template_file);
    expect_failures(reading_commands,
                    "cannot read " + template_file + ": permission denied: run as root");
}

TEST_F(dpctl_without_permission, reports_an_unreadable_expansion_of_the_template) {
    deny(test::root() + "/tmp/dp/uefi_info.txt");
    expect_failures(
        {{"list", "Boot"}, {"show", "Boot.Mode"}, {"get", "Boot.Mode"}},
        "cannot read " + test::root() + "/tmp/dp/uefi_info.txt: permission denied: run as root");
    deny(test::root() + "/tmp/dp/uefi_configs.txt");
    expect_failures(
        reading_commands,
        "cannot read " + test::root() + "/tmp/dp/uefi_configs.txt: permission denied: run as root");
}

TEST_F(dpctl_without_permission, reports_folders_that_it_may_not_enter) {
    deny(test::root() + "/tmp/dp");
    expect_failures(
        reading_commands,
        "cannot read " + test::root() + "/tmp/dp/uefi_configs.txt: permission denied: run as root");
    deny(test::root() + "/var/dp");
    expect_failures(reading_commands,
                    "cannot read " + template_file + ": permission denied: run as root");
}

TEST_F(dpctl_reading, reports_folders_and_devices_in_the_place_of_files) {
    const std::string settings = test::root() + "/var/dp/uefi_settings.txt";
    std::filesystem::remove(settings);
    std::filesystem::create_directory(settings);
    for (const char* const command : {"collections", "list"}) {
        std::vector<std::string> arguments{command};
        if (arguments[0] == "list") {
            arguments.emplace_back("Boot");
        }
        const auto result = dpctl(arguments);
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_EQ(result.err, "dpctl: " + settings + ": is not a file\n");
        EXPECT_EQ(result.out, "");
    }
    std::filesystem::remove(settings);
    std::filesystem::create_symlink("/dev/zero", settings);
    EXPECT_EQ(dpctl({"list", "Boot"}).err, "dpctl: " + settings + ": is not a file\n");
    EXPECT_THAT(dpctl_json({"list", "Boot"}, 1)["errors"], SizeIs(1));
}

TEST_F(dpctl_reading, notes_that_the_settings_file_does_not_exist) {
    const std::string settings = test::root() + "/var/dp/uefi_settings.txt";
    std::filesystem::remove(settings);
    const auto result = dpctl({"list", "Boot"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "dpctl: the settings file " + settings +
                              " does not exist, so no setting has a pending value\n");
    for (const char* const option : {"--settings-file", "--current-file"}) {
        const auto given = dpctl({"list", "Boot", option, "missing.txt"});
        EXPECT_EQ(given.exit_code, 1) << option;
        EXPECT_EQ(given.err, "dpctl: missing.txt: does not exist\n") << option;
    }
}

TEST_F(dpctl_reading, does_not_show_an_old_expansion_as_the_template) {
    EXPECT_EQ(dpctl({"list", "Boot"}).exit_code, 0);
    const std::string template_file = test::root() + "/var/dp/uefi_template.efi";
    const auto later = std::chrono::hours(1);
    std::filesystem::last_write_time(template_file,
                                     std::filesystem::file_time_type::clock::now() + later);
    test::write_script(test::root() + "/bin/dpspy", "exit 1");
    const auto result = dpctl({"list", "Boot"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "dpctl: the template " + template_file + " is newer than " +
                              test::root() + "/tmp/dp/uefi_configs.txt, but " + test::root() +
                              "/bin/dpspy did not expand it again\n");
    // It lists the collections, but not their attributes.
    test::write_script(test::root() + "/bin/dpspy",
                       "[ $1 = -sc ] && cp \"$DP_ROOT/collections\" \"$5\"");
    std::filesystem::remove(test::root() + "/tmp/dp/uefi_info.txt");
    EXPECT_EQ(dpctl({"list", "Boot"}).err,
              "dpctl: " + test::root() + "/tmp/dp/uefi_info.txt does not exist: " + test::root() +
                  "/bin/dpspy did not expand the template " + template_file + " to it\n");
}

TEST_F(dpctl_reading, reports_the_process_that_keeps_a_file_locked) {
    for (const char* const name : {"uefi_template.efi", "uefi_settings.txt", "uefi_current.txt"}) {
        const std::string file = test::root() + "/var/dp/" + name;
        const test::child_process writer([&](const test::child_process::parent_channel& parent) {
            const writelock lock(file);
            parent.send('l');
            static_cast<void>(parent.receive());
            return 0;
        });
        ASSERT_EQ(writer.receive(), 'l');
        const auto result = dpctl({"list", "Boot", "--lock-timeout", "0"});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, testing::StartsWith("dpctl: " + file + " is locked by process " +
                                                    std::to_string(writer.pid()) + " ("));
        EXPECT_THAT(result.err, testing::EndsWith("); waited 0 s for it\n"));
    }
}

TEST_F(dpctl_reading, waits_for_a_lock_that_is_released_in_time) {
    const std::string file = test::root() + "/var/dp/uefi_settings.txt";
    test::child_process writer([&](const test::child_process::parent_channel& parent) {
        const writelock lock(file);
        parent.send('l');
        static_cast<void>(parent.receive());
        return 0;
    });
    ASSERT_EQ(writer.receive(), 'l');
    const std::string notice = test::root() + "/notice";
    std::thread release([&] {
        test::wait_for_text(notice, "waiting: " + file + " is locked by process ");
        writer.send('e');
    });
    const auto result = test::run_program(
        "/bin/sh",
        {"-c", test::program_path("dpctl") + " get Boot.Mode --lock-timeout 600 2>" + notice});
    release.join();
    EXPECT_EQ(result.exit_code, 0) << test::read_file(notice);
    EXPECT_EQ(result.out, "Boot.Mode=Legacy\n");
}

TEST_F(dpctl_reading, survives_random_templates) {
    std::string noise;
    unsigned state = 1;
    for (int i = 0; i < 100'000; ++i) {
        state = state * 1664525U + 1013904223U;
        noise += static_cast<char>(state >> 24U);
    }
    server_.install_texts("Boot\n" + noise.substr(0, 1000), noise, noise, noise);
    EXPECT_EQ(dpctl({"collections"}).exit_code, 0);
    EXPECT_EQ(dpctl({"list", "Boot"}).exit_code, 0);
    EXPECT_TRUE(dpctl_json({"list", "Boot"}).contains("settings"));
    EXPECT_TRUE(dpctl_json({"collections"}).contains("collections"));
}

// The processor time of all child processes that have ended.
double seconds_of_programs() {
    rusage used{};
    getrusage(RUSAGE_CHILDREN, &used);
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
}

// Shows `count` attributes and returns the processor time.
double show_attributes(test::server_files& server, int count) {
    std::string attributes;
    std::string values;
    for (int i = 0; i < count; ++i) {
        const std::string name = "Boot.Attribute" + std::to_string(i);
        attributes += test::attribute_record({name, {{"type", "3"}, {"max", "9"}}, "", ""});
        values += test::value_line(name, std::to_string(i % 10));
    }
    server.install_texts("Boot\n", attributes, values, values);
    const double before = seconds_of_programs();
    const auto listed = dpctl({"list", "Boot"});
    EXPECT_EQ(std::count(listed.out.begin(), listed.out.end(), '\n'), count + 1);
    EXPECT_THAT(dpctl_json({"list", "Boot"})["settings"], SizeIs(count));
    EXPECT_THAT(dpctl({"get", "Boot.Atribute9999"}).err, HasSubstr("did you mean"));
    return seconds_of_programs() - before;
}

TEST_F(dpctl_reading, takes_linear_time_for_many_attributes) {
    const double few = show_attributes(server_, 10'000);
    const double many = show_attributes(server_, 40'000);
    // Four times as many attributes. In quadratic time, it would take sixteen times as long.
    EXPECT_LT(many, 9 * few);
}

}  // namespace
