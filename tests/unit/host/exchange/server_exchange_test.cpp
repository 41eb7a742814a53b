#include "host/exchange/server_exchange.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <sstream>

#include "common/file_utilities.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::poll_result;

class server_exchange_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        test::write_script(test::root() + "/bin/dpspy", "cp \"$3\" \"$5\"");
        test::write_script(test::root() + "/bin/sysvpd", "echo B1");
        std::ostringstream records;
        records << test::choice("A", "Mode", "x", "x,y");
        test::write_file(test::root() + "/var/dp/uefi_template.efi", records.str());
        ASSERT_TRUE(service.start());
        unlink(current.c_str());
    }

    std::string answer_to(const std::string& text) {
        test::write_file(request, text);
        EXPECT_EQ(exchange.poll(true), poll_result::taken);
        EXPECT_FALSE(fileexist(request));
        EXPECT_FALSE(fileexist(running));
        return test::read_file(answer);
    }

    std::string request = test::root() + "/tmp/dp/server";
    std::string running = request + ".run";
    std::string answer = request + ".out";
    std::string current = test::root() + "/var/dp/uefi_current.txt";
    dp_host::settings_service service;
    dp_host::server_exchange exchange{service};
};

TEST_F(server_exchange_test, a_restart_is_executed_and_answered) {
    EXPECT_EQ(answer_to("restart\n"), "0\n");
    EXPECT_TRUE(fileexist(current));
    EXPECT_EQ(exchange.poll(true), poll_result::nothing);
    EXPECT_EQ(answer_to("restart"), "0\n");
}

TEST_F(server_exchange_test, an_unknown_request_is_refused_with_a_reason) {
    EXPECT_EQ(answer_to("reboot\n"), "58 unknown request\n");
    EXPECT_EQ(answer_to(""), "58 unknown request\n");
    EXPECT_EQ(answer_to("restart\nrestart\n"), "58 unknown request\n");
    EXPECT_EQ(answer_to(std::string(100'000, 'x')),
              "57 " + running + " is longer than 256 bytes\n");
}

TEST_F(server_exchange_test, a_refused_update_says_why) {
    EXPECT_EQ(answer_to("update\n"),
              "58 there is no update in " + test::root() + "/var/dp/update\n");
}

TEST_F(server_exchange_test, an_interrupted_request_is_executed_again) {
    test::write_file(running, "restart\n");
    test::set_mtime(running, 1000);
    exchange.recover();
    EXPECT_EQ(test::read_file(answer), "0\n");
    EXPECT_TRUE(fileexist(current));
    EXPECT_FALSE(fileexist(running));
}

TEST_F(server_exchange_test, an_interrupted_request_that_was_answered_is_not_executed_again) {
    test::write_file(running, "restart\n");
    test::write_file(answer, "0\n");
    exchange.recover();
    EXPECT_FALSE(fileexist(running));
    EXPECT_FALSE(fileexist(current));
}

}  // namespace
