#include "host/process/bounded_lock.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "common/file_locks.hpp"
#include "common/file_utilities.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::bounded_lock;

class bounded_lock_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        test::write_file(path, "x");
    }

    std::string path = test::root() + "/file";
};

// A process that has a lock of the library on a file until its end.
template <class Lock>
class lock_holder {
  public:
    explicit lock_holder(const std::string& path)
        : process([&path](const test::child_process::parent_channel& parent) {
              const Lock lock(path);
              parent.send('L');
              return parent.receive() == 'E' ? 0 : 1;
          }) {
        EXPECT_EQ(process.receive(), 'L');
    }

    test::child_process process;
};

TEST_F(bounded_lock_test, readers_share_a_file_and_a_writer_does_not) {
    const lock_holder<readlock> other(path);
    test::stepped_time time;
    EXPECT_TRUE(bounded_lock::acquire(path, bounded_lock::kind::shared));
    EXPECT_TRUE(time.sleeps.empty());
    const auto refused = bounded_lock::acquire(path, bounded_lock::kind::exclusive);
    EXPECT_EQ(refused.code(), EBUSY);
    EXPECT_EQ(refused.reason(),
              path + " is locked by process " + std::to_string(other.process.pid()));
}

TEST_F(bounded_lock_test, a_reader_waits_10_seconds_for_a_writer_and_logs_it_once) {
    const lock_holder<writelock> other(path);
    test::stepped_time time;
    const std::int64_t begin = time.milliseconds;
    test::recording_log log(sysipc::event_log::log_level::log);
    EXPECT_EQ(bounded_lock::acquire(path, bounded_lock::kind::shared).code(), EBUSY);
    EXPECT_EQ(time.milliseconds - begin, 10'000);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_NE(log.lines.front().text.find("waiting for at most 10 seconds"), std::string::npos);
}

TEST_F(bounded_lock_test, continues_as_soon_as_the_lock_is_released) {
    lock_holder<writelock> other(path);
    test::stepped_time time;
    time.on_sleep = [&](std::uint32_t) {
        if (time.sleeps.size() == 3) {
            other.process.send('E');
            EXPECT_EQ(other.process.wait(), 0);
        }
    };
    EXPECT_TRUE(bounded_lock::acquire(path, bounded_lock::kind::shared));
    EXPECT_EQ(time.sleeps.size(), 3U);
}

TEST_F(bounded_lock_test, excludes_other_processes_until_its_end) {
    const auto is_free = [this] {
        test::child_process other([this](const test::child_process::parent_channel&) {
            test::stepped_time time;
            return bounded_lock::acquire(path, bounded_lock::kind::shared) ? 0 : 1;
        });
        return other.wait() == 0;
    };
    {
        const auto lock = bounded_lock::acquire(path, bounded_lock::kind::exclusive);
        ASSERT_TRUE(lock);
        EXPECT_FALSE(is_free());
    }
    EXPECT_TRUE(is_free());
}

TEST_F(bounded_lock_test, a_missing_file_is_not_created) {
    ASSERT_EQ(unlink(path.c_str()), 0);
    EXPECT_TRUE(bounded_lock::acquire(path, bounded_lock::kind::exclusive));
    EXPECT_FALSE(fileexist(path));
}

TEST_F(bounded_lock_test, never_waits_for_the_other_end_of_a_pipe) {
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_TRUE(bounded_lock::acquire(path, bounded_lock::kind::shared));
}

}  // namespace
