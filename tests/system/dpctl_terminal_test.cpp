#include <gmock/gmock.h>

#include <csignal>
#include <string>
#include <vector>

#include "tests/support/eventually.hpp"
#include "tests/support/program.hpp"
#include "tests/support/program_on_terminal.hpp"
#include "tests/support/service_process.hpp"

// dpctl on a terminal, beside a real service: what a person sees who watches, and leaves again.

namespace {

using test::eventually;
using test::program_on_terminal;
using test::service_process;
using testing::HasSubstr;
using testing::Not;

const std::string new_picture = "\x1b[H\x1b[2J";
const std::string ctrl_c = "\x03";

// What stands on the screen: everything behind the last time that it was cleared.
std::string screen(program_on_terminal& dpctl) {
    const std::string& output = dpctl.output();
    const std::size_t last = output.rfind(new_picture);
    return last == std::string::npos ? output : output.substr(last + new_picture.size());
}

bool comes_to_show(program_on_terminal& dpctl, const std::string& text) {
    return eventually([&] { return screen(dpctl).find(text) != std::string::npos; });
}

// Everything but the clearing of the screen.
std::string without_pictures(std::string output) {
    for (std::size_t at = 0; (at = output.find(new_picture, at)) != std::string::npos;) {
        output.erase(at, new_picture.size());
    }
    return output;
}

class status_on_terminal : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(server_.start()) << service_process::log(); }

    // Nothing was asked of the terminal that would have to be taken back: no other settings, and no
    // control sequences but those that clear the screen.
    void expect_the_terminal_as_it_was() {
        EXPECT_TRUE(dpctl_.has_initial_settings());
        EXPECT_THAT(without_pictures(dpctl_.output()), Not(HasSubstr("\x1b")));
    }

    service_process server_;
    program_on_terminal dpctl_{"dpctl", {"status", "--follow"}};
};

TEST_F(status_on_terminal, is_drawn_anew_with_every_change) {
    ASSERT_TRUE(comes_to_show(dpctl_, "No transaction has run: ")) << dpctl_.output();
    EXPECT_EQ(test::run_program("dpctl", {"set", "Boot.Delay=60"}).exit_code, 0);
    ASSERT_TRUE(comes_to_show(dpctl_, "over, the command succeeded\r\n")) << dpctl_.output();
    EXPECT_THAT(screen(dpctl_), Not(HasSubstr("No transaction has run")));
    EXPECT_EQ(test::run_program("dpctl", {"set", "Boot.Mode=CSM", "Boot.Delay=10"}).exit_code, 1);
    // The file tells of a failure before it tells of the end, and so may the picture.
    ASSERT_TRUE(comes_to_show(dpctl_, "over, 1 of 2 commands failed\r\n")) << dpctl_.output();
    ASSERT_TRUE(comes_to_show(dpctl_, "not one of its possible values\r\n")) << dpctl_.output();
    EXPECT_THAT(screen(dpctl_), Not(HasSubstr("the command succeeded")));
}

TEST_F(status_on_terminal, ends_with_ctrl_c_and_leaves_the_terminal_as_it_was) {
    ASSERT_TRUE(comes_to_show(dpctl_, "does not exist.\r\n")) << dpctl_.output();
    dpctl_.type(ctrl_c);
    EXPECT_EQ(dpctl_.wait(), 0) << dpctl_.output();
    expect_the_terminal_as_it_was();
}

TEST_F(status_on_terminal, ends_with_sigterm_and_leaves_the_terminal_as_it_was) {
    ASSERT_TRUE(comes_to_show(dpctl_, "does not exist.\r\n")) << dpctl_.output();
    dpctl_.send(SIGTERM);
    EXPECT_EQ(dpctl_.wait(), 0) << dpctl_.output();
    expect_the_terminal_as_it_was();
}

TEST_F(status_on_terminal, ends_when_the_terminal_is_gone) {
    ASSERT_TRUE(comes_to_show(dpctl_, "does not exist.\r\n")) << dpctl_.output();
    dpctl_.hang_up();
    EXPECT_EQ(dpctl_.wait(), 0);
}

}  // namespace
