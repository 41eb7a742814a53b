#include "tools/dpctl/output/pager.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>

#include "tests/support/environment_variable.hpp"
#include "tests/support/scratch_files.hpp"

namespace dpctl {
namespace {

std::string pager_output() {
    return test::root() + "/shown";
}

std::string read_shown() {
    return test::read_file(pager_output());
}

TEST(pager_command, is_that_of_the_environment) {
    test::environment_variable pager("PAGER", "");
    unsetenv("PAGER");
    EXPECT_NE(pager_command().find("less"), std::string::npos);
    pager.set("more -s");
    EXPECT_EQ(pager_command(), "more -s");
    for (const char* const none : {"", "cat"}) {
        pager.set(none);
        EXPECT_EQ(pager_command(), "");
    }
}

TEST(show_in_pager, passes_all_of_a_long_text_to_the_shell_command) {
    const std::string text(300'000, 'x');
    EXPECT_TRUE(show_in_pager("tr x y >" + pager_output(), text));
    EXPECT_EQ(read_shown(), std::string(300'000, 'y'));
}

TEST(show_in_pager, sets_the_options_of_less_unless_they_are_set) {
    test::environment_variable less("LESS", "");
    unsetenv("LESS");
    EXPECT_TRUE(show_in_pager("echo \"$LESS\" >" + pager_output(), ""));
    EXPECT_EQ(read_shown(), "FRX\n");
    less.set("S");
    EXPECT_TRUE(show_in_pager("echo \"$LESS\" >" + pager_output(), ""));
    EXPECT_EQ(read_shown(), "S\n");
}

TEST(show_in_pager, does_not_fail_when_the_pager_quits_early_or_fails) {
    const std::string text(300'000, 'x');
    EXPECT_TRUE(show_in_pager("exit 0", text));
    EXPECT_TRUE(show_in_pager("exit 3", text));
    EXPECT_TRUE(show_in_pager("kill -KILL $$", text));
}

TEST(show_in_pager, reports_a_command_that_cannot_be_run) {
    EXPECT_FALSE(show_in_pager("/nowhere/pager 2>/dev/null", "text"));
    EXPECT_FALSE(show_in_pager("/dev/null 2>/dev/null", "text"));
}

TEST(show_in_pager, leaves_interrupts_to_the_pager) {
    static volatile std::sig_atomic_t interrupts = 0;
    struct sigaction count {};
    count.sa_handler = [](int) { interrupts = interrupts + 1; };
    struct sigaction before {};
    ASSERT_EQ(sigaction(SIGINT, &count, &before), 0);
    EXPECT_TRUE(show_in_pager("kill -INT $PPID; cat >" + pager_output(), "text"));
    EXPECT_EQ(interrupts, 0);
    EXPECT_EQ(read_shown(), "text");
    ASSERT_EQ(raise(SIGINT), 0);
    EXPECT_EQ(interrupts, 1) << "and are the caller's again afterwards";
    ASSERT_EQ(sigaction(SIGINT, &before, nullptr), 0);
}

}  // namespace
}  // namespace dpctl
