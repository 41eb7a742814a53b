#include "host/exchange/exchange_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "common/file_utilities.hpp"
#include "support/file_descriptor.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::poll_result;

class take_exchange_file_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    poll_result take(bool is_complete) {
        lease.close();
        return dp_host::take_exchange_file(path, taken, is_complete, lease);
    }

    dp_support::file_descriptor lease;
    std::string path = test::root() + "/tmp/dp/batch";
    std::string taken = path + ".run";
};

TEST_F(take_exchange_file_test, takes_a_complete_file) {
    test::write_file(path, "x");
    EXPECT_EQ(take(true), poll_result::taken);
    EXPECT_FALSE(fileexist(path));
    EXPECT_EQ(test::read_file(taken), "x");
    EXPECT_EQ(take(true), poll_result::nothing);
}

TEST_F(take_exchange_file_test, leaves_a_file_that_is_open_for_writing) {
    dp_support::file_descriptor writer(open(path.c_str(), O_WRONLY | O_CREAT, 0600));
    ASSERT_TRUE(writer.is_open());
    const dp_support::file_descriptor probe(open(path.c_str(), O_RDONLY));
    if (fcntl(probe.get(), F_SETLEASE, F_RDLCK) == 0 || errno != EAGAIN) {
        GTEST_SKIP() << "the file system has no leases";
    }
    EXPECT_EQ(take(true), poll_result::being_written);
    EXPECT_TRUE(fileexist(path));
    writer.close();
    EXPECT_EQ(take(true), poll_result::taken);
}

TEST_F(take_exchange_file_test, leaves_an_empty_file_until_the_end_of_its_writing_was_reported) {
    test::write_file(path, "");
    EXPECT_EQ(take(false), poll_result::nothing);
    EXPECT_TRUE(fileexist(path));
    EXPECT_EQ(take(true), poll_result::taken);
    test::write_file(path, "x");
    EXPECT_EQ(take(false), poll_result::taken) << "it has content";
}

TEST_F(take_exchange_file_test, takes_a_file_that_is_open_for_reading) {
    test::write_file(path, "x");
    const dp_support::file_descriptor reader(open(path.c_str(), O_RDONLY));
    EXPECT_EQ(take(true), poll_result::taken);
}

TEST_F(take_exchange_file_test, removes_and_logs_what_is_not_a_regular_file) {
    test::recording_log log(sysipc::event_log::log_level::error);
    test::write_file(path + ".real", "precious");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    EXPECT_EQ(take(true), poll_result::nothing);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].text, " ***ERROR*** refused: " + path + " is a symlink; removed it");
    EXPECT_EQ(test::read_file(path + ".real"), "precious");

    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(take(true), poll_result::nothing);
    std::filesystem::create_directories(path + "/full");
    EXPECT_EQ(take(true), poll_result::nothing);
    EXPECT_EQ(log.lines.size(), 3U);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(path)));
    EXPECT_FALSE(fileexist(taken));
}

TEST_F(take_exchange_file_test, removes_the_file_of_another_user) {
    test::write_file(path, "x");
    if (chown(path.c_str(), 12345, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    EXPECT_EQ(take(true), poll_result::nothing);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(take_exchange_file_test, sets_aside_what_is_at_the_taken_path) {
    std::filesystem::create_directories(taken + "/full");
    test::write_file(path, "x");
    EXPECT_EQ(take(true), poll_result::taken);
    EXPECT_EQ(test::read_file(taken), "x");
}

TEST_F(take_exchange_file_test, a_taken_file_cannot_be_opened_for_writing_until_the_lease_ends) {
    test::write_file(path, "x");
    const dp_support::file_descriptor probe(open(path.c_str(), O_RDONLY));
    if (fcntl(probe.get(), F_SETLEASE, F_RDLCK) != 0 || fcntl(probe.get(), F_SETLEASE, F_UNLCK)) {
        GTEST_SKIP() << "the file system has no leases";
    }
    // The kernel sends it to the process whose lease is broken.
    const auto handler = std::signal(SIGIO, SIG_IGN);
    ASSERT_EQ(take(true), poll_result::taken);
    const auto opened = [this] {
        return dp_support::file_descriptor(open(taken.c_str(), O_WRONLY | O_NONBLOCK)).is_open();
    };
    EXPECT_FALSE(opened());
    lease.close();
    EXPECT_TRUE(opened());
    std::signal(SIGIO, handler);
}

}  // namespace
