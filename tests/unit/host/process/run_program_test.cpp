#include "host/process/run_program.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_platform.hpp"

namespace {

using dp_host::run_program;

class run_program_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string program = test::root() + "/bin/program";
    std::string output = test::root() + "/tmp/output";
};

TEST_F(run_program_test, passes_arguments_without_a_shell) {
    test::write_script(program, "for a in \"$@\"; do echo \"<$a>\"; done > " + output);
    EXPECT_TRUE(run_program(program, {"-sf", "a b", "$HOME;", ""}));
    EXPECT_EQ(test::read_file(output), "<-sf>\n<a b>\n<$HOME;>\n<>\n");
}

TEST_F(run_program_test, gives_the_program_no_input) {
    test::write_script(program, "cat > " + output);
    EXPECT_TRUE(run_program(program, {}));
}

TEST_F(run_program_test, says_how_the_program_failed) {
    EXPECT_EQ(run_program(program, {}).reason(),
              "cannot run " + program + ": No such file or directory");
    test::write_script(program, "exit 3");
    EXPECT_EQ(run_program(program, {}).reason(), program + " failed with exit code 3");
    test::write_script(program, "kill -9 $$");
    EXPECT_EQ(run_program(program, {}).reason(), program + " was ended by signal 9");
}

TEST_F(run_program_test, kills_a_program_that_does_not_end) {
    test::write_script(program, "exec sleep 1000");
    test::stepped_time time;
    EXPECT_EQ(run_program(program, {}).reason(), program + " took too long and was killed");
}

}  // namespace
