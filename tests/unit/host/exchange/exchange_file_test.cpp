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

using dp_host::exchange_look;

class exchange_file_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    exchange_look look(bool has_ended) {
        hold.close();
        return dp_host::take_exchange_file(path, taken, has_ended, hold);
    }

    dp_support::file_descriptor hold;
    std::string path = test::root() + "/tmp/dp/batch";
    std::string taken = path + ".run";
};

TEST_F(exchange_file_test, a_finished_file_is_taken) {
    test::write_file(path, "x");
    EXPECT_EQ(look(true), exchange_look::taken);
    EXPECT_FALSE(fileexist(path));
    EXPECT_EQ(test::read_file(taken), "x");
    EXPECT_EQ(look(true), exchange_look::nothing);
}

TEST_F(exchange_file_test, a_file_that_is_open_for_writing_is_left) {
    dp_support::file_descriptor writer(open(path.c_str(), O_WRONLY | O_CREAT, 0600));
    ASSERT_TRUE(writer.is_open());
    const dp_support::file_descriptor probe(open(path.c_str(), O_RDONLY));
    if (fcntl(probe.get(), F_SETLEASE, F_RDLCK) == 0 || errno != EAGAIN) {
        GTEST_SKIP() << "the file system has no leases";
    }
    EXPECT_EQ(look(true), exchange_look::being_written);
    EXPECT_TRUE(fileexist(path));
    writer.close();
    EXPECT_EQ(look(true), exchange_look::taken);
}

TEST_F(exchange_file_test, an_empty_file_is_left_until_its_end_was_noticed) {
    test::write_file(path, "");
    EXPECT_EQ(look(false), exchange_look::nothing);
    EXPECT_TRUE(fileexist(path));
    EXPECT_EQ(look(true), exchange_look::taken);
    test::write_file(path, "x");
    EXPECT_EQ(look(false), exchange_look::taken) << "what has content is begun and finished";
}

TEST_F(exchange_file_test, a_file_that_is_open_for_reading_is_taken) {
    test::write_file(path, "x");
    const dp_support::file_descriptor reader(open(path.c_str(), O_RDONLY));
    EXPECT_EQ(look(true), exchange_look::taken);
}

TEST_F(exchange_file_test, what_is_no_file_of_ours_is_removed_with_a_line_in_the_log) {
    test::recording_log log(sysipc::event_log::log_level::error);
    test::write_file(path + ".real", "precious");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    EXPECT_EQ(look(true), exchange_look::nothing);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].text, " ***ERROR*** refused: " + path + " is a link; removed it");
    EXPECT_EQ(test::read_file(path + ".real"), "precious");

    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(look(true), exchange_look::nothing);
    std::filesystem::create_directories(path + "/full");
    EXPECT_EQ(look(true), exchange_look::nothing);
    EXPECT_EQ(log.lines.size(), 3U);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(path)));
    EXPECT_FALSE(fileexist(taken));
}

TEST_F(exchange_file_test, somebody_elses_file_is_removed) {
    test::write_file(path, "x");
    if (chown(path.c_str(), 12345, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    EXPECT_EQ(look(true), exchange_look::nothing);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(exchange_file_test, what_lies_in_the_way_of_the_taken_name_goes) {
    std::filesystem::create_directories(taken + "/full");
    test::write_file(path, "x");
    EXPECT_EQ(look(true), exchange_look::taken);
    EXPECT_EQ(test::read_file(taken), "x");
}

TEST_F(exchange_file_test, nobody_opens_what_was_taken_for_writing_until_it_is_let_go) {
    test::write_file(path, "x");
    const dp_support::file_descriptor probe(open(path.c_str(), O_RDONLY));
    if (fcntl(probe.get(), F_SETLEASE, F_RDLCK) != 0 || fcntl(probe.get(), F_SETLEASE, F_UNLCK)) {
        GTEST_SKIP() << "the file system has no leases";
    }
    // What the lease's holder is told by.
    const auto handler = std::signal(SIGIO, SIG_IGN);
    ASSERT_EQ(look(true), exchange_look::taken);
    const auto opened = [this] {
        return dp_support::file_descriptor(open(taken.c_str(), O_WRONLY | O_NONBLOCK)).is_open();
    };
    EXPECT_FALSE(opened());
    hold.close();
    EXPECT_TRUE(opened());
    std::signal(SIGIO, handler);
}

}  // namespace
