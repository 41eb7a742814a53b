#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/dpctl.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/dpctl_json.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

namespace {

using test::dpctl;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class dpctl_command_line : public testing::Test {
  protected:
    dpctl_command_line() { server_.install(test::sample_settings()); }

    test::server_files server_;
};

TEST_F(dpctl_command_line, refuses_pipes_folders_and_devices_as_files) {
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

TEST_F(dpctl_command_line, ends_with_2_after_wrong_usage) {
    const std::vector<std::vector<std::string>> wrong{
        {},
        {"frobnicate"},
        {"list", "--read-only", "--writable"},
        {"list", "--sort", "size"},
        {"show"},
        {"get"},
        {"get", "--all", "Boot.Mode"},
        {"help", "frobnicate"},
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

TEST_F(dpctl_command_line, prints_a_document_after_wrong_usage) {
    EXPECT_EQ(test::dpctl_json({"lsit", "Boot"}, 2)["errors"],
              nlohmann::json({"The following argument was not expected: lsit"}));
    EXPECT_EQ(test::dpctl_json({}, 2)["errors"], nlohmann::json({"A subcommand is required"}));
    EXPECT_EQ(dpctl({}).err,
              "dpctl: A subcommand is required\n  \"dpctl help\" lists the subcommands.\n");
    EXPECT_EQ(dpctl({"lsit", "--json"}).err,
              "dpctl: The following argument was not expected: lsit\n"
              "  did you mean list?\n"
              "  Run with --help for more information.\n");
    EXPECT_EQ(dpctl({"lsit", "--", "--json"}).out, "");
}

TEST_F(dpctl_command_line, prints_help_and_version_as_documents) {
    EXPECT_EQ(test::dpctl_json({"help", "get"})["help"], dpctl({"get", "--help"}).out);
    EXPECT_EQ(test::dpctl_json({"--version"})["version"].get<std::string>() + '\n',
              dpctl({"--version"}).out);
}

TEST_F(dpctl_command_line, refuses_file_names_that_a_shell_could_misread) {
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

TEST_F(dpctl_command_line, has_a_help_with_examples_and_exit_codes_for_every_subcommand) {
    EXPECT_THAT(dpctl({"--help"}).out, HasSubstr("Exit codes: 0 done, 1 failed"));
    EXPECT_THAT(dpctl({"--help"}).out, Not(HasSubstr("complete ")));
    for (const char* const name : {"collections", "list", "show", "get", "set", "reset", "check",
                                   "status", "history", "categories", "vet"}) {
        EXPECT_EQ(dpctl({"help", name}).out, dpctl({name, "--help"}).out);
        const auto result = dpctl({name, "--help"});
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_THAT(result.out, HasSubstr("Examples:\n  dpctl " + std::string(name)));
        EXPECT_THAT(result.out, HasSubstr("Exit codes: 0 done, 1 failed")) << name;
        EXPECT_THAT(result.out, HasSubstr("--json")) << name;
        EXPECT_THAT(dpctl({"--help"}).out, HasSubstr("\n  " + std::string(name) + " ")) << name;
    }
    EXPECT_EQ(dpctl({"--version"}).exit_code, 0);
}

TEST_F(dpctl_command_line, accepts_the_name_of_a_subcommand_as_a_collection) {
    server_.install({{"list.get", {{"type", "3"}}, "1", "1"}});
    EXPECT_EQ(dpctl({"list", "list"}).exit_code, 0);
    EXPECT_EQ(dpctl({"get", "get"}).out, "list.get=1\n");
}

TEST_F(dpctl_command_line, prints_completions) {
    EXPECT_EQ(dpctl({"complete", "collections"}).out, "Boot\nMemory\n");
    EXPECT_EQ(dpctl({"complete", "collections", "M"}).out, "Memory\n");
    EXPECT_EQ(dpctl({"complete", "names", ""}).out, "Boot.\nMemory.\n");
    EXPECT_EQ(dpctl({"complete", "names", "B"}).out, "Boot.\n");
    EXPECT_EQ(dpctl({"complete", "names", "O"}).out, "Order.1\nOrder.2\n");
    EXPECT_EQ(dpctl({"complete", "names", "Order."}).out, "Order.1\nOrder.2\n");
    EXPECT_EQ(dpctl({"complete", "names", "S"}).out, "Serial\nSpeed\n");
    EXPECT_EQ(dpctl({"complete", "names", "Mo"}).out, "") << "two collections have it";
    EXPECT_EQ(dpctl({"complete", "names", "Boot.O"}).out, "Boot.Order.1\nBoot.Order.2\n");
    EXPECT_EQ(dpctl({"complete", "values", "Boot.Mode"}).out, "Legacy\nUEFI\nFast Boot\n");
    EXPECT_EQ(dpctl({"complete", "values", "Boot.Delay"}).out, "");
    EXPECT_EQ(dpctl({"complete", "values", "Nix"}).out, "");
    EXPECT_THAT(dpctl({"complete", "subcommands"}).out, testing::StartsWith("collections\nlist\n"));
    EXPECT_THAT(dpctl({"complete", "subcommands"}).out, Not(HasSubstr("complete")));
    EXPECT_EQ(dpctl({"complete", "options", "vet"}).out, "--help\n--json\n");
    EXPECT_EQ(dpctl({"complete", "options", "nix"}).out, "");
}

}  // namespace
