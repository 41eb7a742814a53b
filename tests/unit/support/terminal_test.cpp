#include "support/terminal.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include <cstdlib>

#include "support/file_descriptor.hpp"
#include "tests/support/environment_variable.hpp"

namespace dp_support {
namespace {

class terminal_of_descriptor : public testing::Test {
  protected:
    terminal_of_descriptor()
        : user_end_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)),
          program_end_(grantpt(user_end_.get()) == 0 && unlockpt(user_end_.get()) == 0
                           ? open(ptsname(user_end_.get()), O_RDWR | O_NOCTTY | O_CLOEXEC)
                           : -1) {}

    void set_size(unsigned short columns, unsigned short rows) const {
        const winsize size{rows, columns, 0, 0};
        ASSERT_EQ(ioctl(program_end_.get(), TIOCSWINSZ, &size), 0);
    }
    [[nodiscard]] terminal found() const { return terminal_of(program_end_.get()); }

    file_descriptor user_end_;
    file_descriptor program_end_;
    test::environment_variable type_{"TERM", "xterm"};
    test::environment_variable no_color_{"NO_COLOR", ""};
    test::environment_variable columns_{"COLUMNS", ""};
    test::environment_variable lines_{"LINES", ""};
};

TEST_F(terminal_of_descriptor, is_none_for_a_file) {
    const file_descriptor file(open("/dev/null", O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(terminal_of(file.get()).is_there());
    EXPECT_FALSE(terminal_of(file.get()).has_colours);
    EXPECT_FALSE(terminal_of(-1).is_there());
}

TEST_F(terminal_of_descriptor, has_the_size_of_the_terminal) {
    set_size(132, 50);
    EXPECT_EQ(found().columns, 132U);
    EXPECT_EQ(found().rows, 50U);
}

TEST_F(terminal_of_descriptor, has_the_size_of_the_environment_when_it_does_not_know_its_own) {
    set_size(0, 0);
    columns_.set("100");
    lines_.set("30");
    EXPECT_EQ(found().columns, 100U);
    EXPECT_EQ(found().rows, 30U);
    for (const char* const wrong : {"", "0", "-1", "wide", "99999999"}) {
        columns_.set(wrong);
        lines_.set(wrong);
        EXPECT_EQ(found().columns, 80U) << wrong;
        EXPECT_EQ(found().rows, 24U) << wrong;
    }
}

TEST_F(terminal_of_descriptor, has_colours_unless_the_environment_says_otherwise) {
    EXPECT_TRUE(found().has_colours);
    no_color_.set("1");
    EXPECT_FALSE(found().has_colours);
    no_color_.set("");
    type_.set("dumb");
    EXPECT_FALSE(found().has_colours);
    unsetenv("TERM");
    EXPECT_FALSE(found().has_colours);
}

}  // namespace
}  // namespace dp_support
