#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "service_api/change_record.hpp"
#include "tests/support/environment_variable.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/program.hpp"
#include "tests/support/program_on_terminal.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

// dpctl on terminals of several sizes.

namespace {

using test::program_on_terminal;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// The characters of a line; the test data has no wide ones.
std::size_t columns_of(const std::string& line) {
    return static_cast<std::size_t>(std::count_if(line.begin(), line.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    }));
}

class dpctl_on_terminal : public testing::Test {
  protected:
    dpctl_on_terminal() {
        auto settings = test::sample_settings();
        settings[0].items.emplace_back(
            "fds",
            "Selects how the server starts its systems. UEFI is the way of today; Legacy is "
            "for systems that know nothing else, and Fast Boot leaves out most tests.");
        settings.push_back({"Memory.InterleavingOfChannelsAndRanks",
                            {{"type", "4"}, {"dft", ""}},
                            std::string(40, 'p') + " " + std::string(30, 'q'),
                            std::string(70, 'c')});
        server_.install(settings);
    }

    // A change with long texts, and one that a dependency made.
    static void write_history() {
        dp_service::change_record change{
            "cim-0,id=6a1f,uid=1000,gid=1000,pid=12345,program=/usr/local/bin/inventory",
            "2026-11-22T15:25:09+01:00", "Memory.InterleavingOfChannelsAndRanks",
            std::string(40, 'p'), std::string(30, 'q')};
        std::string lines = change.line() + '\n';
        change.target = "Boot.Delay";
        change.cause = "the profile of workloads is neither Balanced nor Custom";
        lines += change.line() + '\n';
        test::write_file(test::root() + "/var/dp/history", lines);
    }

    static std::string output(const std::vector<std::string>& arguments, unsigned short columns,
                              unsigned short rows = 500) {
        program_on_terminal dpctl("dpctl", arguments, columns, rows);
        EXPECT_EQ(dpctl.wait(), 0) << dpctl.output();
        return dpctl.output();
    }

    static std::vector<std::string> lines_of(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) {
            EXPECT_TRUE(line.ends_with('\r')) << line;
            line.resize(line.size() - 1);
            lines.push_back(line);
        }
        return lines;
    }

    test::server_files server_;
    test::environment_variable type_{"TERM", "xterm"};
    test::environment_variable no_color_{"NO_COLOR", "1"};
    test::environment_variable pager_{"PAGER", "cat"};
    test::environment_variable less_{"LESS", "FRX"};
};

TEST_F(dpctl_on_terminal, fits_lists_and_help_to_the_width) {
    write_history();
    const std::vector<std::vector<std::string>> commands{{"list"},           {"list", "Boot"},
                                                         {"collections"},    {"show", "Boot.Mode"},
                                                         {"show", "Boot.*"}, {"history"}};
    for (const unsigned short columns : std::initializer_list<unsigned short>{60, 80, 200}) {
        for (const auto& command : commands) {
            for (const std::string& line : lines_of(output(command, columns))) {
                EXPECT_LE(columns_of(line), columns) << line;
            }
        }
    }
}

TEST_F(dpctl_on_terminal, shows_every_name_completely) {
    for (const unsigned short columns : std::initializer_list<unsigned short>{30, 60, 80, 200}) {
        const std::string listed = output({"list"}, columns);
        EXPECT_THAT(listed, HasSubstr("\nMemory.InterleavingOfChannelsAndRanks")) << columns;
        EXPECT_THAT(listed, HasSubstr("ppp")) << columns;
    }
    EXPECT_THAT(output({"list"}, 60), HasSubstr("…"));
    EXPECT_THAT(output({"list"}, 60), Not(HasSubstr("TYPE")));
    EXPECT_THAT(output({"list"}, 240), Not(HasSubstr("…")));
    EXPECT_THAT(output({"list"}, 200), HasSubstr("TYPE"));
}

TEST_F(dpctl_on_terminal, shortens_nothing_for_another_program) {
    const std::string listed = test::run_program("dpctl", {"list"}).out;
    EXPECT_THAT(listed, HasSubstr(std::string(40, 'p') + " " + std::string(30, 'q')));
    EXPECT_THAT(listed, HasSubstr(std::string(70, 'c')));
    write_history();
    const std::string changes = test::run_program("dpctl", {"history"}).out;
    EXPECT_THAT(changes, HasSubstr("uid=1000,gid=1000,pid=12345,program=/usr/local/bin/inventory"));
    EXPECT_THAT(changes, HasSubstr(std::string(40, 'p')));
    EXPECT_THAT(changes, HasSubstr("the profile of workloads is neither Balanced nor Custom"));
}

TEST_F(dpctl_on_terminal, shows_times_and_names_of_changes_completely) {
    write_history();
    for (const unsigned short columns : std::initializer_list<unsigned short>{60, 80, 200}) {
        const std::string shown = output({"history"}, columns);
        EXPECT_THAT(shown, HasSubstr("2026-11-22T15:25:09+01:00")) << columns;
        EXPECT_THAT(shown, HasSubstr("Memory.InterleavingOfChannelsAndRanks")) << columns;
        EXPECT_THAT(shown, HasSubstr("the profile")) << columns;
    }
    EXPECT_THAT(output({"history"}, 80), Not(HasSubstr("CLIENT")));
    EXPECT_THAT(output({"history"}, 200), HasSubstr("uid=1000,gid=10"));
}

TEST_F(dpctl_on_terminal, wraps_the_help_of_a_setting) {
    EXPECT_THAT(output({"show", "Boot.Mode"}, 60),
                HasSubstr("  Help             Selects how the server starts its\r\n"
                          "                   systems. UEFI is the way of today; Legacy\r\n"));
}

TEST_F(dpctl_on_terminal, wraps_its_own_help) {
    for (const unsigned short columns : std::initializer_list<unsigned short>{60, 80, 200}) {
        for (const std::string& line : lines_of(output({"help", "list"}, columns))) {
            const bool is_example = line.starts_with("  dpctl ");
            const bool is_option = line.starts_with("  --");
            // The scratch folder's path is longer than the one of a server.
            const bool is_path = line.find(test::root()) != std::string::npos;
            EXPECT_TRUE(is_example || is_option || is_path || columns_of(line) <= columns) << line;
        }
    }
    EXPECT_THAT(output({"help", "list"}, 200),
                HasSubstr("Exit codes: 0 done, 1 failed, with the reason on standard error, 2 "));
}

TEST_F(dpctl_on_terminal, has_colours_unless_they_are_not_wanted) {
    EXPECT_THAT(output({"list"}, 80), Not(HasSubstr("\x1b")));
    unsetenv("NO_COLOR");
    EXPECT_THAT(output({"list"}, 80), StartsWith("\x1b[1mNAME\x1b[0m"));
    EXPECT_THAT(output({"list"}, 80), HasSubstr("\x1b[33mLegacy\x1b[0m"));
    type_.set("dumb");
    EXPECT_THAT(output({"list"}, 80), Not(HasSubstr("\x1b")));
    type_.set("xterm");
    EXPECT_THAT(test::run_program("dpctl", {"list"}).out, Not(HasSubstr("\x1b")));
}

TEST_F(dpctl_on_terminal, uses_the_pager_only_when_the_text_is_longer_than_the_screen) {
    pager_.set("sed 's/^/paged: /'");
    EXPECT_THAT(output({"list"}, 80, 5), HasSubstr("paged: Boot.Mode"));
    EXPECT_THAT(output({"list"}, 80, 50), Not(HasSubstr("paged")));
    EXPECT_THAT(output({"get", "--all"}, 80, 5), HasSubstr("paged: Boot.Mode=Legacy"));
    EXPECT_THAT(output({"help", "list"}, 80, 5), HasSubstr("paged: Usage:"));
    EXPECT_THAT(output({"diff", "--defaults"}, 80, 3), HasSubstr("paged: Boot.Mode: UEFI -> "));
    EXPECT_THAT(output({"list", "--json"}, 80, 5), Not(HasSubstr("paged")));
    EXPECT_THAT(test::run_program("dpctl", {"list"}).out, Not(HasSubstr("paged")));
}

TEST_F(dpctl_on_terminal, needs_no_pager) {
    pager_.set("/nowhere/pager");
    EXPECT_THAT(output({"list"}, 80, 5), HasSubstr("Boot.Mode"));
    pager_.set("");
    EXPECT_THAT(output({"list"}, 80, 5), HasSubstr("Boot.Mode"));
}

TEST_F(dpctl_on_terminal, does_not_fail_when_the_pager_quits_early) {
    pager_.set("head -n 2");
    const std::string shown = output({"get", "--all"}, 80, 5);
    EXPECT_EQ(shown, "Boot.Mode=Legacy\r\nBoot.Delay=10\r\n");
    pager_.set("exit 3");
    EXPECT_EQ(output({"list"}, 80, 5), "");
}

TEST_F(dpctl_on_terminal, shows_problems_after_the_page) {
    pager_.set("sed 's/^/paged: /'");
    program_on_terminal dpctl("dpctl", {"get", "Nix", "Boot.*"}, 80, 5);
    EXPECT_EQ(dpctl.wait(), 1);
    EXPECT_THAT(dpctl.output(), StartsWith("paged: Boot.Mode=Legacy\r\n"));
    EXPECT_THAT(dpctl.output(),
                testing::EndsWith("dpctl: no collection has an attribute \"Nix\"\r\n"));
}

TEST_F(dpctl_on_terminal, ends_when_the_terminal_hangs_up_in_the_pager) {
    const std::string started = test::root() + "/started";
    pager_.set("echo 1 >" + started + "; sleep 1000");
    program_on_terminal dpctl("dpctl", {"list"}, 80, 5);
    test::wait_for_text(started, "1");
    dpctl.hang_up();
    EXPECT_EQ(dpctl.wait(), 128 + SIGHUP);
}

TEST_F(dpctl_on_terminal, ends_when_the_terminal_hangs_up_in_the_middle_of_the_output) {
    // Far more than a terminal buffers: dpctl waits for a reader.
    std::string attributes;
    std::string values;
    for (int i = 0; i < 20'000; ++i) {
        const std::string name = "Boot.Attribute" + std::to_string(i);
        attributes += test::attribute_record({name, {{"type", "3"}, {"max", "9"}}, "", ""});
        values += test::value_line(name, "1");
    }
    server_.install_texts("Boot\n", attributes, values, values);
    program_on_terminal dpctl("dpctl", {"list"}, 80, 24);
    ASSERT_TRUE(test::eventually([&] { return !dpctl.output().empty(); }));
    dpctl.hang_up();
    const int end = dpctl.wait();
    EXPECT_TRUE(end == 128 + SIGHUP || end == 1) << end;
}

}  // namespace
