#include "common/io_loops.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <thread>

#include "tests/support/intercepted_call.hpp"
#include "tests/support/interrupting_timer.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

class io_loops_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    }
    ~io_loops_test() override {
        close(ends[0]);
        close(ends[1]);
    }

    const std::string path = test::root() + "/file";
    std::array<int, 2> ends{-1, -1};
};

using write_all_test = io_loops_test;
using read_all_test = io_loops_test;
using read_some_test = io_loops_test;

TEST_F(write_all_test, continues_after_short_writes_and_signals) {
    // More than a pipe's buffer, so that one write(2) does not transfer it.
    const std::string text(1'000'000, 'x');
    std::string received;
    std::thread reader([&] {
        std::array<char, 4096> buffer{};
        while (received.size() < text.size()) {
            usleep(100);
            received.append(buffer.data(), static_cast<std::size_t>(dp::read_some(
                                               ends[0], buffer.data(), buffer.size())));
        }
    });
    {
        const test::interrupting_timer timer(1000);
        EXPECT_TRUE(dp::write_all(ends[1], text));
        reader.join();
    }
    EXPECT_EQ(received.size(), text.size());
}

TEST_F(write_all_test, reports_why_a_write_failed) {
    test::write_file(path, "kept");
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_FALSE(dp::write_all(descriptor, "lost"));
    EXPECT_EQ(errno, EBADF);
    EXPECT_TRUE(dp::write_all(descriptor, ""));
    close(descriptor);
    EXPECT_EQ(test::read_file(path), "kept");
}

TEST_F(write_all_test, fails_when_a_write_transfers_nothing) {
    const test::intercepted_call nothing(test::libc_call::write, test::intercepted_call::no_bytes);
    errno = 0;
    EXPECT_FALSE(dp::write_all(ends[1], "text"));
    EXPECT_EQ(errno, EIO);
}

TEST_F(read_all_test, appends_everything_up_to_the_end) {
    test::write_file(path, std::string(100'000, 'x'));
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::string content = "a";
    EXPECT_TRUE(dp::read_all(descriptor, 100'000, content));
    EXPECT_EQ(content, "a" + std::string(100'000, 'x'));
    EXPECT_TRUE(dp::read_all(descriptor, 0, content));
    close(descriptor);
}

TEST_F(read_all_test, reports_more_than_the_limit) {
    test::write_file(path, std::string(100'001, 'x'));
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::string content;
    EXPECT_FALSE(dp::read_all(descriptor, 100'000, content));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_LE(content.size(), 100'000U);
    close(descriptor);
}

TEST_F(read_all_test, reports_why_a_read_failed) {
    const int descriptor = open(test::root().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::string content;
    EXPECT_FALSE(dp::read_all(descriptor, 10, content));
    EXPECT_EQ(errno, EISDIR);
    close(descriptor);
}

TEST_F(read_some_test, continues_after_signals) {
    std::thread writer([&] {
        usleep(50'000);
        EXPECT_TRUE(dp::write_all(ends[1], "text"));
    });
    std::array<char, 16> buffer{};
    {
        const test::interrupting_timer timer(1000);
        EXPECT_EQ(dp::read_some(ends[0], buffer.data(), buffer.size()), 4);
    }
    writer.join();
    EXPECT_STREQ(buffer.data(), "text");
}

}  // namespace
