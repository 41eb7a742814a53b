#include "host/process/replace_under_lock.hpp"

#include <gtest/gtest.h>

#include <cerrno>

#include "common/file_locks.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_support::staged_file;

class replace_under_lock : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/var/dp/file";
};

// A process that keeps a read lock on `path` until the test ends it.
class reader {
  public:
    explicit reader(const std::string& path)
        : process_([&path](const test::child_process::parent_channel& parent) {
              const readlock lock(path);
              parent.send('L');
              return parent.receive() == 'E' ? 0 : 1;
          }) {
        EXPECT_EQ(process_.receive(), 'L');
    }
    [[nodiscard]] pid_t pid() const { return process_.pid(); }
    void end() {
        process_.send('E');
        EXPECT_EQ(process_.wait(), 0);
    }

  private:
    test::child_process process_;
};

TEST_F(replace_under_lock, waits_for_readers) {
    test::write_file(path, "old");
    reader other(path);
    test::stepped_time time;
    time.on_sleep = [&](std::uint32_t) {
        EXPECT_EQ(test::read_file(path), "old");
        if (time.sleeps.size() == 5) {
            other.end();
        }
    };
    staged_file file(path, staged_file::volatile_file);
    file.out() << "new";
    ASSERT_TRUE(file.complete());
    const auto replaced = dp_host::replace_under_lock(file);
    ASSERT_TRUE(replaced) << replaced.reason();
    EXPECT_GE(time.sleeps.size(), 5U);
    EXPECT_EQ(test::read_file(path), "new");
}

TEST_F(replace_under_lock, does_not_wait_forever_for_a_reader) {
    test::write_file(path, "old");
    reader other(path);
    test::stepped_time time;
    staged_file file(path, staged_file::volatile_file);
    ASSERT_TRUE(file.complete());
    const auto replaced = dp_host::replace_under_lock(file);
    EXPECT_EQ(replaced.reason(), path + " is locked by process " + std::to_string(other.pid()));
    EXPECT_EQ(replaced.code(), EBUSY);
    EXPECT_EQ(test::read_file(path), "old");
}

TEST_F(replace_under_lock, releases_the_lock) {
    test::write_file(path, "old");
    staged_file file(path, staged_file::volatile_file);
    ASSERT_TRUE(file.complete());
    ASSERT_TRUE(dp_host::replace_under_lock(file));
    const reader other(path);  // would wait forever otherwise
}

TEST_F(replace_under_lock, returns_an_earlier_failure) {
    staged_file file(test::root() + "/nowhere/file", staged_file::volatile_file);
    EXPECT_EQ(dp_host::replace_under_lock(file).code(), ENOENT);
}

}  // namespace
