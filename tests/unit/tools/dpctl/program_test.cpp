#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "service_api/service_status.hpp"
#include "tests/support/dpctl.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/unit/tools/dpctl/scratch_server.hpp"

// dpctl as a process, in a server that is written down and with a stand-in for the service.

namespace {

using nlohmann::json;
using test::batch_command;
using test::dpctl;
using test::program_result;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

json dpctl_json(std::vector<std::string> arguments, int exit_code = 0) {
    arguments.emplace_back("--json");
    const auto result = dpctl(arguments);
    EXPECT_EQ(result.exit_code, exit_code) << result.err;
    auto document = json::parse(result.out, nullptr, false);
    EXPECT_TRUE(document.is_object()) << result.out;
    return document;
}

// Everything is done and stored.
std::string do_all(const std::vector<batch_command>& commands) {
    std::string answer;
    std::map<std::string, std::string> values;
    for (const auto& command : commands) {
        values[command.name] = command.value;
        answer += test::answer_line(command, 0);
    }
    test::store_pending(values);
    return answer;
}

class dpctl_program : public testing::Test {
  protected:
    dpctl_program() { server_.install(test::sample_settings()); }

    test::scratch_server server_;
};

// Usage

TEST_F(dpctl_program, refuses_what_is_no_file_instead_of_waiting_for_its_end) {
    ASSERT_EQ(mkfifo((test::root() + "/pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("pipe", test::root() + "/link");
    for (const std::string name : {"pipe", "link", "tmp", "/dev/zero"}) {
        for (const std::string option : {"--template-file", "--settings-file", "--current-file"}) {
            const auto result = dpctl({"get", "Boot.Mode", option, name});
            EXPECT_EQ(result.exit_code, 1) << option << ' ' << name;
            EXPECT_EQ(result.err, "dpctl: " + name + ": is not a file\n") << option;
        }
    }
    test::write_file(test::root() + "/other.txt", "0 0 t set Boot.Mode \"Other\" \"\"\n");
    std::filesystem::create_symlink("other.txt", test::root() + "/link.txt");
    EXPECT_EQ(dpctl({"get", "Boot.Mode", "--settings-file", "link.txt"}).out, "Boot.Mode=Other\n");
}

TEST_F(dpctl_program, ends_with_2_after_wrong_usage) {
    const std::vector<std::vector<std::string>> wrong{
        {},
        {"frobnicate"},
        {"list"},
        {"list", "Boot", "Memory"},
        {"show"},
        {"get"},
        {"get", "Boot.Mode", "--frobnicate"},
        {"set"},
        {"set", "Boot.Mode"},
        {"set", "=UEFI"},
        {"set", "Boot.Mode=UEFI", "Boot.Delay"},
        {"reset"},
        {"check"},
        {"check", "Boot", "--wait", "0"},
        {"check", "Boot", "--wait", "long"},
        {"list", "Boot", "--template-file"},
        {"vet"},
        {"vet", "ls", "-l"},
        {"categories", "Boot"},
        {"complete", "everything"},
    };
    for (const auto& arguments : wrong) {
        const auto result = dpctl(arguments);
        EXPECT_EQ(result.exit_code, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(result.out, IsEmpty()) << testing::PrintToString(arguments);
        EXPECT_THAT(result.err, Not(IsEmpty())) << testing::PrintToString(arguments);
    }
}

TEST_F(dpctl_program, refuses_file_names_that_a_shell_could_misread) {
    for (const char* const name :
         {"", "-rf", "a b", "a;b", "$(touch x)", "`x`", "a|b", "a&b", "a>b", "a'b", "a\"b", "a*b",
          "a\nb", "~/x", "a\\b", "ä", "a#b", "a!b", "a(b"}) {
        for (const char* const option : {"--template-file", "--settings-file", "--current-file"}) {
            const auto result = dpctl({"collections", std::string(option) + "=" + name});
            EXPECT_EQ(result.exit_code, 2) << option << ' ' << name;
            EXPECT_THAT(result.err, HasSubstr(option)) << name;
        }
    }
}

TEST_F(dpctl_program, explains_every_subcommand_with_examples_and_exit_codes) {
    EXPECT_THAT(dpctl({"--help"}).out, HasSubstr("Exit codes: 0 done, 1 failed"));
    EXPECT_THAT(dpctl({"--help"}).out, Not(HasSubstr("complete ")));
    for (const char* const name : {"collections", "list", "show", "get", "set", "reset", "check",
                                   "status", "history", "categories", "vet"}) {
        const auto result = dpctl({name, "--help"});
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_THAT(result.out, HasSubstr("Examples:\n  dpctl " + std::string(name)));
        EXPECT_THAT(result.out, HasSubstr("Exit codes: 0 done, 1 failed")) << name;
        EXPECT_THAT(result.out, HasSubstr("--json")) << name;
        EXPECT_THAT(dpctl({"--help"}).out, HasSubstr("\n  " + std::string(name) + " ")) << name;
    }
    EXPECT_EQ(dpctl({"--version"}).exit_code, 0);
}

TEST_F(dpctl_program, takes_the_name_of_a_subcommand_for_a_collection) {
    server_.install({{"list.get", {{"type", "3"}}, "1", "1"}});
    EXPECT_EQ(dpctl({"list", "list"}).exit_code, 0);
    EXPECT_EQ(dpctl({"get", "get"}).out, "list.get=1\n");
}

// Reading

TEST_F(dpctl_program, lists_collections_with_what_a_restart_changes) {
    EXPECT_EQ(dpctl({"collections"}).out,
              "COLLECTION  SETTINGS  PENDING RESTART\n"
              "Boot        6         1\n"
              "Memory      2         0\n");
    EXPECT_EQ(dpctl_json({"collections"}), json::parse(R"({"collections": [
                  {"name": "Boot", "settings": 6, "pending_restart": 1},
                  {"name": "Memory", "settings": 2, "pending_restart": 0}]})"));
}

TEST_F(dpctl_program, lists_settings_with_both_values_and_marks) {
    EXPECT_EQ(dpctl({"list", "Boot"}).out,
              "NAME          TYPE         PENDING  CURRENT  NOTES\n"
              "Boot.Mode     enumeration  Legacy   UEFI     pending restart\n"
              "Boot.Delay    integer      10       10\n"
              "Boot.Tag      string       \"\"       \"\"\n"
              "Boot.Serial   free         S123     S123     read-only\n"
              "Boot.Order.1  string       Disk     Disk\n"
              "Boot.Order.2  string       Net      Net\n");
    const json listed = dpctl_json({"list", "Boot"});
    EXPECT_EQ(listed["collection"], "Boot");
    ASSERT_THAT(listed["settings"], SizeIs(6));
    EXPECT_EQ(listed["settings"][0],
              json::parse(R"({"name": "Boot.Mode", "type": "enumeration", "read_only": false,
                  "pending": "Legacy", "current": "UEFI", "truncated": false,
                  "pending_restart": true})"));
}

TEST_F(dpctl_program, marks_nothing_without_a_file_of_current_values) {
    std::filesystem::remove(test::root() + "/var/dp/uefi_current.txt");
    EXPECT_THAT(dpctl({"list", "Boot"}).out, HasSubstr("Boot.Mode     enumeration  Legacy   -\n"));
    EXPECT_EQ(dpctl_json({"list", "Boot"})["settings"][0]["current"], nullptr);
}

TEST_F(dpctl_program, shows_an_attribute) {
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

TEST_F(dpctl_program, shows_what_each_type_allows) {
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

TEST_F(dpctl_program, shows_all_instances_or_one) {
    EXPECT_THAT(dpctl({"show", "Boot.Order"}).out, HasSubstr("  Instance 1\n"
                                                             "  Pending          Disk\n"
                                                             "  Current          Disk\n"
                                                             "  Instance 2\n"
                                                             "  Pending          Net\n"));
    EXPECT_THAT(dpctl({"show", "Boot.Order.2"}).out, HasSubstr("  Pending          Net\n"));
    EXPECT_THAT(dpctl({"show", "Boot.Order.2"}).out, Not(HasSubstr("Disk\n  Current")));
}

TEST_F(dpctl_program, gets_pending_and_current_values) {
    EXPECT_EQ(dpctl({"get", "Boot.Mode", "Delay", "Boot.Tag"}).out,
              "Boot.Mode=Legacy\nBoot.Delay=10\nBoot.Tag=\n");
    EXPECT_EQ(dpctl({"get", "--current", "Boot.Mode"}).out, "Boot.Mode=UEFI\n");
    EXPECT_EQ(dpctl({"get", "Boot.Order"}).out, "Boot.Order.1=Disk\nBoot.Order.2=Net\n");
    EXPECT_EQ(dpctl_json({"get", "Boot.Mode", "--current"}), json::parse(R"({"settings": [
                  {"name": "Boot.Mode", "value": "UEFI", "truncated": false}]})"));
}

TEST_F(dpctl_program, says_which_file_has_no_value) {
    const auto result = dpctl({"get", "Boot.Order.3", "Boot.Delay"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "Boot.Delay=10\n");
    EXPECT_EQ(result.err, "dpctl: Boot.Order.3: " + test::root() +
                              "/var/dp/uefi_settings.txt has no value for it\n");
}

TEST_F(dpctl_program, marks_a_value_that_was_cut) {
    // The 79 bytes that can be read end inside a character.
    const std::string start(78, 'x');
    test::store_pending({{"Boot.Tag", start + "€€"}});
    EXPECT_EQ(dpctl({"get", "Boot.Tag"}).out, "Boot.Tag=" + start + "…(cut)\n");
    const json got = dpctl_json({"get", "Boot.Tag"})["settings"][0];
    EXPECT_EQ(got["value"], start);
    EXPECT_EQ(got["truncated"], true);
    EXPECT_THAT(dpctl({"list", "Boot"}).out, HasSubstr(start + "…(cut)"));
    EXPECT_EQ(dpctl_json({"list", "Boot"})["settings"][2]["truncated"], true);
}

TEST_F(dpctl_program, reads_other_files) {
    test::write_file(test::root() + "/other.txt", test::value_line("Boot.Mode", "Fast Boot"));
    EXPECT_EQ(dpctl({"get", "Boot.Mode", "--settings-file", "other.txt"}).out,
              "Boot.Mode=Fast Boot\n");
    EXPECT_EQ(dpctl({"get", "Boot.Mode", "--current", "--current-file", "other.txt"}).out,
              "Boot.Mode=Fast Boot\n");
}

TEST_F(dpctl_program, says_when_the_template_is_gone) {
    EXPECT_EQ(dpctl({"list", "Boot"}).err, "");
    const auto result = dpctl({"list", "Boot", "--template-file", "missing.efi"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err,
              "dpctl: the template missing.efi does not exist; what it was expanded to earlier is "
              "used\n");
    EXPECT_THAT(result.out, HasSubstr("Boot.Mode"));
}

TEST_F(dpctl_program, keeps_what_the_servers_own_template_was_expanded_to) {
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

TEST_F(dpctl_program, warns_when_another_templates_text_may_be_in_use) {
    namespace fs = std::filesystem;
    const auto hour_ago = fs::file_time_type::clock::now() - std::chrono::hours(1);
    fs::copy_file(test::root() + "/var/dp/uefi_template.efi", test::root() + "/other.efi");
    fs::last_write_time(test::root() + "/other.efi", hour_ago);
    const std::string text = test::root() + "/tmp/dp/uefi_info.txt";
    fs::create_directories(text + "/full");
    EXPECT_EQ(dpctl({"collections", "--template-file", "other.efi"}).err,
              "dpctl: the template other.efi is older than " + text +
                  ", which can't be removed and may be another template's\n"
                  "  To have the template expanded anew: touch other.efi\n");
    fs::last_write_time(test::root() + "/other.efi",
                        fs::file_time_type::clock::now() + std::chrono::hours(1));
    EXPECT_EQ(dpctl({"collections", "--template-file", "other.efi"}).err, "");
}

// Names

TEST_F(dpctl_program, suggests_near_names) {
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
              "dpctl: several collections have \"Mode\": Boot and Memory; say Boot.Mode or "
              "Memory.Mode\n");
}

TEST_F(dpctl_program, stays_json_after_failures) {
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

TEST_F(dpctl_program, says_why_there_are_no_collections) {
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
                                      "  dp-template makes one"));
}

// Hostile files

TEST_F(dpctl_program, shows_no_raw_control_bytes_out_of_files) {
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
    EXPECT_THAT(dpctl({"set", name + "=a"}).err, HasSubstr("its name holds a control character"));
}

TEST_F(dpctl_program, survives_a_template_of_noise) {
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

// The processor time that the programs took that this process ran and waited for.
double seconds_of_programs() {
    rusage used{};
    getrusage(RUSAGE_CHILDREN, &used);
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
}

// Returns the processor time that it took to show `count` attributes.
double show_attributes(test::scratch_server& server, int count) {
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

TEST_F(dpctl_program, takes_no_more_time_for_an_attribute_where_there_are_many) {
    const double few = show_attributes(server_, 10'000);
    const double many = show_attributes(server_, 40'000);
    // Four times as many; work that grows with their square would take sixteen times as long.
    EXPECT_LT(many, 9 * few);
}

// Changing

TEST_F(dpctl_program, sets_several_values_in_one_batch) {
    const test::fake_service service(3, do_all);
    const auto result = dpctl({"set", "Boot.Mode=Fast Boot", "Delay=15", "Boot.Order.2=A, B"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "Boot.Mode: Legacy -> Fast Boot, pending until the server restarts\n"
              "Boot.Delay: 10 -> 15, pending until the server restarts\n"
              "Boot.Order.2: Net -> A, B, pending until the server restarts\n");
    EXPECT_EQ(result.err, "dpctl: waiting for the settings service, at most about 60 s\n");
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_EQ(service.batches()[0][0].operation, "set");
    EXPECT_EQ(service.batches()[0][2].name, "Boot.Order.2");
    EXPECT_EQ(service.batches()[0][2].value, "A, B");
}

TEST_F(dpctl_program, says_when_a_change_goes_back_to_what_is_in_force) {
    const test::fake_service service(1, do_all);
    EXPECT_EQ(dpctl({"set", "Boot.Mode=UEFI"}).out, "Boot.Mode: Legacy -> UEFI, as in force now\n");
}

TEST_F(dpctl_program, sets_what_it_can_and_says_what_was_refused) {
    const test::fake_service service(3, [](const std::vector<batch_command>& commands) {
        test::store_pending({{"Boot.Delay", "15"}, {"Boot.Tag", "Rack 7"}});
        return test::answer_line(commands[0], dp_service::service_status::not_a_choice) +
               test::answer_line(commands[1], 0) + test::answer_line(commands[2], 0);
    });
    const json result = dpctl_json({"set", "Boot.Mode=Foo", "Boot.Delay=15", "Boot.Tag=Rack 7"}, 1);
    EXPECT_EQ(result["errors"],
              json::parse(R"(["Boot.Mode: \"Foo\" is not one of Legacy, UEFI, Fast Boot"])"));
    EXPECT_EQ(result["settings"][0],
              json::parse(R"({"name": "Boot.Mode", "requested": "Foo", "outcome": "refused",
                  "message": "\"Foo\" is not one of Legacy, UEFI, Fast Boot", "previous": "Legacy",
                  "pending": "Legacy", "current": "UEFI", "truncated": false, "status": 48})"));
    EXPECT_EQ(result["settings"][1]["outcome"], "changed");
    EXPECT_EQ(result["settings"][1]["previous"], "10");
    EXPECT_EQ(result["settings"][1]["pending"], "15");
    EXPECT_EQ(result["settings"][2]["outcome"], "changed");
    EXPECT_GT(result["waited_seconds"], 0);
}

TEST_F(dpctl_program, does_not_take_an_empty_answer_for_done) {
    const test::fake_service service(1, [](const auto&) { return std::string(); });
    const auto result = dpctl({"set", "Boot.Mode=UEFI"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err,
                HasSubstr("Boot.Mode: the settings service reported no failure, but " +
                          test::root() + "/var/dp/uefi_settings.txt still says Legacy\n"));
    EXPECT_THAT(result.out, IsEmpty());
}

TEST_F(dpctl_program, does_not_take_a_missing_line_of_the_answer_for_done) {
    const test::fake_service service(2, [](const std::vector<batch_command>& commands) {
        return test::answer_line(commands[0], dp_service::service_status::not_persisted);
    });
    const json result = dpctl_json({"set", "Boot.Mode=UEFI", "Boot.Delay=15"}, 1);
    EXPECT_EQ(result["settings"][0]["outcome"], "refused");
    EXPECT_EQ(result["settings"][1]["outcome"], "unconfirmed");
    EXPECT_THAT(result["errors"], SizeIs(2));
}

TEST_F(dpctl_program, shows_another_spelling_by_the_service) {
    const test::fake_service service(1, [](const std::vector<batch_command>& commands) {
        test::store_pending({{"Boot.Tag", "shortened"}});
        return test::answer_line(commands[0], 0);
    });
    EXPECT_EQ(dpctl({"set", "Boot.Tag=SHORTENED BY THE SERVICE"}).out,
              "Boot.Tag: \"\" -> shortened (asked for \"SHORTENED BY THE SERVICE\"), pending until "
              "the server restarts\n");
}

TEST_F(dpctl_program, has_nothing_to_do_when_the_values_stand) {
    // Without a service: nothing is asked.
    const auto result = dpctl({"set", "Boot.Mode=Legacy", "Boot.Tag="});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out,
              "Boot.Mode: Legacy stands already; nothing to do\n"
              "Boot.Tag: \"\" stands already; nothing to do\n");
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(test::root() + "/tmp/dp/batch"));
    const json document = dpctl_json({"set", "Boot.Mode=Legacy"});
    EXPECT_EQ(document["settings"][0]["outcome"], "already");
    EXPECT_EQ(document["waited_seconds"], 0);
}

TEST_F(dpctl_program, asks_only_for_what_does_not_stand_yet) {
    const test::fake_service service(1, do_all);
    EXPECT_EQ(dpctl({"set", "Boot.Mode=Legacy", "Boot.Delay=20"}).exit_code, 0);
    ASSERT_THAT(service.batches(), SizeIs(1));
    EXPECT_EQ(service.batches()[0][0].name, "Boot.Delay");
}

TEST_F(dpctl_program, refuses_what_a_batch_line_does_not_carry_before_it_asks) {
    const std::vector<std::pair<std::string, std::string>> refused{
        {"Boot.Tag=a\"b", "double quote"},
        {"Boot.Tag=a\\b", "backslash"},
        {"Boot.Tag=a\nb", "control character"},
        {"Boot.Tag=\x1b[0m", "control character"},
    };
    for (const auto& [assignment, reason] : refused) {
        const auto result = dpctl({"set", assignment, "Boot.Delay=15"});
        EXPECT_EQ(result.exit_code, 1) << assignment;
        EXPECT_THAT(result.err, HasSubstr("Boot.Tag: the value ")) << assignment;
        EXPECT_THAT(result.err, HasSubstr(reason)) << assignment;
        EXPECT_THAT(result.err, HasSubstr("\n  Nothing was changed.\n")) << assignment;
        EXPECT_FALSE(std::filesystem::exists(test::root() + "/tmp/dp/batch"));
    }
    EXPECT_THAT(dpctl({"set", "Boot.Delay=15", "Delay=20"}).err,
                HasSubstr("Boot.Delay: it is named twice"));
    EXPECT_THAT(dpctl({"set", "Boot.Order=Net"}).err,
                HasSubstr("Boot.Order: it has 2 instances; name one of them, as Boot.Order.1"));
}

TEST_F(dpctl_program, refuses_a_name_with_a_blank_before_it_asks) {
    server_.install({{"Boot.Two Words", {{"type", "5"}}, "a", "a"}});
    EXPECT_THAT(dpctl({"set", "Boot.Two Words=b"}).err,
                HasSubstr("Boot.Two Words: its name holds a blank"));
}

TEST_F(dpctl_program, passes_on_values_that_look_like_options_or_lists) {
    const test::fake_service service(1, do_all);
    for (const char* const value : {"--json", "-1", "[a,b]", "a=b", "{}", "++", "%s%n"}) {
        EXPECT_EQ(dpctl({"set", std::string("Boot.Tag=") + value}).exit_code, 0) << value;
        EXPECT_EQ(dpctl({"get", "Boot.Tag"}).out, std::string("Boot.Tag=") + value + '\n');
    }
}

TEST_F(dpctl_program, does_not_wait_for_a_service_that_can_not_be_asked) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to become a user without rights";
    }
    // The template is expanded already, so reading works.
    test::set_mtime(test::root() + "/var/dp/uefi_template.efi", 1'000'000'000);
    EXPECT_EQ(dpctl({"list", "Boot"}).exit_code, 0);
    std::filesystem::permissions(test::root(), std::filesystem::perms(0755));
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"set", "Boot.Mode=UEFI"}, {"reset", "Boot"}}) {
        const auto result = test::run_program_unprivileged("dpctl", arguments);
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_EQ(result.err, "dpctl: the settings service can't be asked: " + test::root() +
                                  "/tmp/dp can't be written: Permission denied\n"
                                  "  It belongs to the user as whom dp_settingsd runs.\n"
                                  "  Nothing was changed.\n");
    }
}

TEST_F(dpctl_program, lets_two_changes_at_once_take_turns) {
    const test::fake_service service(1, do_all);
    program_result first;
    std::thread other([&] { first = dpctl({"set", "Boot.Delay=20"}); });
    const auto second = dpctl({"set", "Boot.Tag=Rack 7"});
    other.join();
    EXPECT_EQ(first.exit_code, 0) << first.err;
    EXPECT_EQ(second.exit_code, 0) << second.err;
    EXPECT_EQ(dpctl({"get", "Boot.Delay", "Boot.Tag"}).out, "Boot.Delay=20\nBoot.Tag=Rack 7\n");
}

// Resetting

TEST_F(dpctl_program, resets_a_collection_to_its_defaults) {
    test::store_pending({{"Boot.Tag", "Rack 7"}, {"Boot.Serial", "none"}});
    const test::fake_service service(6, do_all);
    const auto result = dpctl({"reset", "Boot"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "Boot.Mode: Legacy -> UEFI\n"
              "Boot.Tag: Rack 7 -> \"\"\n"
              "Boot.Order.2: Net -> Disk\n"
              "3 settings are back at the default, pending until the server restarts.\n");
    EXPECT_EQ(dpctl({"get", "Boot.Mode"}).out, "Boot.Mode=UEFI\n");
}

TEST_F(dpctl_program, leaves_read_only_settings_as_they_are_without_failing) {
    const test::fake_service service(6, [](const std::vector<batch_command>& commands) {
        std::string answer;
        std::map<std::string, std::string> values;
        for (const auto& command : commands) {
            const bool read_only = command.name == "Boot.Serial";
            answer +=
                test::answer_line(command, read_only ? dp_service::service_status::read_only : 0);
            if (!read_only) {
                values[command.name] = command.value;
            }
        }
        test::store_pending(values);
        return answer;
    });
    const auto result = dpctl({"reset", "Boot"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out,
                HasSubstr("Boot.Serial: S123 stays, it is read-only (default: none)\n"));
    // Now there is nothing to do, and nothing is asked.
    const auto again = dpctl({"reset", "Boot"});
    EXPECT_EQ(again.exit_code, 0);
    EXPECT_THAT(again.out, HasSubstr("stand at their defaults; nothing to do.\n"));
    EXPECT_THAT(service.batches(), SizeIs(1));
}

TEST_F(dpctl_program, names_the_settings_that_were_not_reset) {
    const test::fake_service service(6, [](const std::vector<batch_command>& commands) {
        test::store_pending({{"Boot.Mode", "UEFI"}});
        std::string answer;
        for (const auto& command : commands) {
            answer += test::answer_line(command, command.name == "Boot.Mode" ? 0 : 56);
        }
        return answer;
    });
    const json result = dpctl_json({"reset", "Boot"}, 1);
    ASSERT_THAT(result["settings"], SizeIs(3));
    EXPECT_EQ(result["settings"][0],
              json::parse(R"({"name": "Boot.Mode", "outcome": "changed", "default": "UEFI",
                  "previous": "Legacy", "pending": "UEFI", "truncated": false})"));
    EXPECT_EQ(result["settings"][1]["outcome"], "read_only");
    EXPECT_EQ(result["settings"][2]["outcome"], "refused");
    EXPECT_EQ(result["errors"][0],
              "Boot.Order.2: the settings service left it at Net (default: Disk)");
}

TEST_F(dpctl_program, has_nothing_to_reset_without_values) {
    test::write_file(test::root() + "/var/dp/uefi_settings.txt", "");
    const auto result = dpctl({"reset", "Boot"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("uefi_settings.txt has no values of collection Boot"));
}

// Checking

TEST_F(dpctl_program, checks_and_finds_nothing) {
    const json result = dpctl_json({"check", "Boot"});
    EXPECT_EQ(result["changed"], false);
    EXPECT_THAT(result["reasons"], IsEmpty());
    EXPECT_GE(result["waited_seconds"], 6);
}

// Checks Boot, while `update` goes on beside it from when changes count.
template <class Update>
program_result check_during(Update update) {
    std::thread updating([&] {
        EXPECT_TRUE(test::wait_for_text(test::root() + "/err", "watching for changes"));
        update();
    });
    const std::string script = "'" + test::program_path("dpctl") + "' check Boot --wait 30 2>err";
    const auto result = test::run_program("/bin/sh", {"-c", script});
    updating.join();
    return result;
}

// A file whose readers wait until it is closed. It is written through the descriptor that has the
// lock: closing another one would end it.
class held_file {
  public:
    explicit held_file(const std::string& path) : fd_(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        EXPECT_EQ(fcntl(fd_, F_SETLKW, &lock), 0) << path;
    }
    ~held_file() { close(fd_); }
    held_file(const held_file&) = delete;
    held_file& operator=(const held_file&) = delete;

    void replace(const std::string& content) const {
        EXPECT_EQ(ftruncate(fd_, 0), 0);
        EXPECT_EQ(pwrite(fd_, content.data(), content.size(), 0),
                  static_cast<ssize_t>(content.size()));
    }
    // Whether somebody came to read it within a minute.
    [[nodiscard]] static bool wait_for_reader() {
        for (int i = 0; i < 3000; ++i) {
            if (is_awaited()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

  private:
    // The kernel lists the locks and, behind each, who waits for it, with the lock's number in
    // front.
    static bool is_awaited() {
        const std::string holder = " WRITE " + std::to_string(getpid()) + " ";
        std::istringstream locks(test::read_file("/proc/locks"));
        std::string number;
        for (std::string line; std::getline(locks, line);) {
            if (line.find("->") == std::string::npos) {
                const bool is_ours = line.find(holder) != std::string::npos;
                number = is_ours ? line.substr(0, line.find(':') + 1) : "";
            } else if (!number.empty() && line.starts_with(number)) {
                return true;
            }
        }
        return false;
    }

    int fd_;
};

TEST_F(dpctl_program, checks_and_explains_another_build_and_other_settings) {
    test::write_file(test::root() + "/tmp/dp/uefi.bld", "ONE-1.00\n");
    const auto result = check_during([] {
        test::write_file(test::root() + "/var/dp/uefi_settings.txt",
                         test::value_line("Boot.Mode", "UEFI"));
        test::write_file(test::root() + "/tmp/dp/uefi.bld", "TWO-2.00\n");
    });
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.out, testing::StartsWith("Boot: changed after "));
    EXPECT_THAT(result.out,
                HasSubstr(":\n"
                          "  5  the settings file lists other settings, or in another order\n"
                          "  6  another BIOS build is installed\n"
                          "Programs that hold the BIOS service open need to initialise it anew\n"));
}

TEST_F(dpctl_program, checks_again_what_an_update_replaces_behind_its_look) {
    const std::string settings = test::root() + "/var/dp/uefi_settings.txt";
    test::set_mtime(settings, 1'000'000'000);
    test::write_file(test::root() + "/tmp/dp/uefi.bld", "ONE-1.00\n");
    const auto result = check_during([&] {
        const held_file build_id(test::root() + "/tmp/dp/uefi.bld");
        build_id.replace("TWO-2.00\n");
        // Written anew, the settings are looked at before the build id.
        test::write_file(settings, test::read_file(settings));
        EXPECT_TRUE(held_file::wait_for_reader());
        test::write_file(settings, test::value_line("Boot.Mode", "UEFI"));
    });
    EXPECT_THAT(result.out, HasSubstr("\n  5  the settings file"));
    EXPECT_THAT(result.out, HasSubstr("\n  6  another BIOS build"));
}

// Completion

TEST_F(dpctl_program, prints_what_may_stand_next) {
    EXPECT_EQ(dpctl({"complete", "collections"}).out, "Boot\nMemory\n");
    EXPECT_EQ(dpctl({"complete", "names", "B"}).out, "Boot.\nMemory.\n");
    EXPECT_EQ(dpctl({"complete", "names", "Boot.O"}).out, "Boot.Order.1\nBoot.Order.2\n");
    EXPECT_EQ(dpctl({"complete", "values", "Boot.Mode"}).out, "Legacy\nUEFI\nFast Boot\n");
    EXPECT_EQ(dpctl({"complete", "values", "Boot.Delay"}).out, "");
    EXPECT_EQ(dpctl({"complete", "values", "Nix"}).out, "");
}

}  // namespace
