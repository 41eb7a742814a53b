#include <gmock/gmock.h>

#include <csignal>
#include <string>
#include <vector>

#include "tests/support/eventually.hpp"
#include "tests/support/program.hpp"
#include "tests/support/program_on_terminal.hpp"
#include "tests/support/service_process.hpp"

// `dpctl status --follow` on a terminal, with a running service.

namespace {

using test::eventually;
using test::program_on_terminal;
using test::service_process;
using testing::HasSubstr;
using testing::Not;

const std::string clear_screen = "\x1b[H\x1b[2J";
const std::string ctrl_c = "\x03";

// The text on the screen: everything after the last time it was cleared.
std::string screen(program_on_terminal& dpctl) {
    const std::string& output = dpctl.output();
    const std::size_t last = output.rfind(clear_screen);
    return last == std::string::npos ? output : output.substr(last + clear_screen.size());
}

bool eventually_shows(program_on_terminal& dpctl, const std::string& text) {
    return eventually([&] { return screen(dpctl).find(text) != std::string::npos; });
}

// The output without the sequences that clear the screen.
std::string without_clear_screen(std::string output) {
    for (std::size_t at = 0; (at = output.find(clear_screen, at)) != std::string::npos;) {
        output.erase(at, clear_screen.size());
    }
    return output;
}

class dpctl_status_on_terminal : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(server_.start()) << service_process::log(); }

    // dpctl changed no settings of the terminal, and sent no control sequences that it would have
    // to undo.
    void expect_unchanged_terminal() {
        EXPECT_TRUE(dpctl_.has_initial_settings());
        EXPECT_THAT(without_clear_screen(dpctl_.output()), Not(HasSubstr("\x1b")));
    }

    service_process server_;
    program_on_terminal dpctl_{"dpctl", {"status", "--follow"}};
};

TEST_F(dpctl_status_on_terminal, is_redrawn_after_every_change) {
    ASSERT_TRUE(eventually_shows(dpctl_, "No transaction has run: ")) << dpctl_.output();
    EXPECT_EQ(test::run_program("dpctl", {"set", "Boot.Delay=60"}).exit_code, 0);
    ASSERT_TRUE(eventually_shows(dpctl_, "finished, the command succeeded\r\n")) << dpctl_.output();
    EXPECT_THAT(screen(dpctl_), Not(HasSubstr("No transaction has run")));
    service_process::run_batch(
        "0 1 <t> set Boot.Mode \"CSM\" \"\"\n0 2 <t> set Boot.Delay \"10\" \"\"\n");
    // The file reports a failure before the end, and the screen may show it earlier.
    ASSERT_TRUE(eventually_shows(dpctl_, "finished, 1 of 2 commands failed\r\n"))
        << dpctl_.output();
    ASSERT_TRUE(eventually_shows(dpctl_, "not one of its possible values\r\n")) << dpctl_.output();
    EXPECT_THAT(screen(dpctl_), Not(HasSubstr("the command succeeded")));
}

TEST_F(dpctl_status_on_terminal, ends_with_ctrl_c_and_leaves_the_terminal_unchanged) {
    ASSERT_TRUE(eventually_shows(dpctl_, "does not exist.\r\n")) << dpctl_.output();
    dpctl_.type(ctrl_c);
    EXPECT_EQ(dpctl_.wait(), 0) << dpctl_.output();
    expect_unchanged_terminal();
}

TEST_F(dpctl_status_on_terminal, ends_with_sigterm_and_leaves_the_terminal_unchanged) {
    ASSERT_TRUE(eventually_shows(dpctl_, "does not exist.\r\n")) << dpctl_.output();
    dpctl_.send(SIGTERM);
    EXPECT_EQ(dpctl_.wait(), 0) << dpctl_.output();
    expect_unchanged_terminal();
}

TEST_F(dpctl_status_on_terminal, ends_when_the_terminal_is_closed) {
    ASSERT_TRUE(eventually_shows(dpctl_, "does not exist.\r\n")) << dpctl_.output();
    dpctl_.hang_up();
    EXPECT_EQ(dpctl_.wait(), 0);
}

}  // namespace
