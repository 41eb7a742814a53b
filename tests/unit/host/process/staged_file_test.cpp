#include "host/process/staged_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "common/file_locks.hpp"
#include "common/file_utilities.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::staged_file;

class staged_file_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/var/dp/file";
    std::string beside = path + ".new";
};

TEST_F(staged_file_test, the_old_content_stays_until_the_new_one_replaces_it) {
    test::write_file(path, "old");
    staged_file file(path, staged_file::lasting);
    file.out() << "new";
    ASSERT_TRUE(file.complete()) << file.problem();
    EXPECT_EQ(test::read_file(path), "old");
    ASSERT_TRUE(file.replace()) << file.problem();
    EXPECT_TRUE(file.is_in_place());
    EXPECT_EQ(test::read_file(path), "new");
    EXPECT_FALSE(fileexist(beside));
}

TEST_F(staged_file_test, what_is_not_put_in_place_goes_away) {
    {
        staged_file file(path, staged_file::passing);
        file.out() << "new";
        ASSERT_TRUE(file.complete());
    }
    EXPECT_FALSE(fileexist(path));
    EXPECT_FALSE(fileexist(beside));
}

TEST_F(staged_file_test, the_file_is_for_its_owner_only) {
    staged_file file(path, staged_file::passing);
    ASSERT_TRUE(file.complete() && file.replace());
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600U);
}

TEST_F(staged_file_test, what_a_killed_service_left_beside_is_replaced) {
    test::write_file(beside, "half of somethi");
    staged_file file(path, staged_file::passing);
    file.out() << "whole";
    ASSERT_TRUE(file.complete() && file.replace());
    EXPECT_EQ(test::read_file(path), "whole");
}

TEST_F(staged_file_test, a_link_or_folder_beside_is_not_followed_or_filled) {
    test::write_file(path + ".precious", "precious");
    ASSERT_EQ(symlink((path + ".precious").c_str(), beside.c_str()), 0);
    {
        staged_file file(path, staged_file::passing);
        file.out() << "x";
        ASSERT_TRUE(file.complete() && file.replace());
    }
    EXPECT_EQ(test::read_file(path + ".precious"), "precious");
    std::filesystem::create_directories(beside + "/full");
    staged_file file(path, staged_file::passing);
    file.out() << "y";
    ASSERT_TRUE(file.complete() && file.replace()) << file.problem();
    EXPECT_EQ(test::read_file(path), "y");
}

TEST_F(staged_file_test, the_new_content_is_never_older_than_the_moment_it_appears) {
    staged_file file(path, staged_file::passing);
    file.out() << "x";
    ASSERT_TRUE(file.complete());
    test::set_mtime(beside, 1000);
    ASSERT_TRUE(file.replace());
    EXPECT_GT(mtime(path), 1000);
}

TEST_F(staged_file_test, a_folder_that_is_missing_is_a_problem) {
    staged_file file(test::root() + "/nowhere/file", staged_file::passing);
    file.out() << "x";
    EXPECT_FALSE(file.complete());
    EXPECT_FALSE(file.replace());
    EXPECT_FALSE(file.replace_under_lock());
    EXPECT_EQ(file.problem(),
              "cannot create " + test::root() + "/nowhere/file.new: No such file or directory");
}

TEST_F(staged_file_test, a_full_disk_is_a_problem_and_the_old_content_stays) {
    test::write_file(path, "old");
    // A limit on file sizes stands for the full disk.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    bool is_complete = true;
    std::string problem;
    {
        staged_file file(path, staged_file::lasting);
        file.out() << std::string(100'000, 'x');
        is_complete = file.complete();
        problem = file.problem();
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(is_complete);
    EXPECT_EQ(problem, "cannot write " + beside + ": File too large");
    EXPECT_EQ(test::read_file(path), "old");
    EXPECT_FALSE(fileexist(beside));
}

// A process that holds a read lock on `path` until it is told to end.
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
    void end() {
        process_.send('E');
        EXPECT_EQ(process_.wait(), 0);
    }

  private:
    test::child_process process_;
};

TEST_F(staged_file_test, replacing_under_the_lock_waits_for_readers) {
    test::write_file(path, "old");
    reader other(path);
    test::stepped_time time;
    time.on_sleep = [&](std::uint32_t) {
        EXPECT_EQ(test::read_file(path), "old");
        if (time.sleeps.size() == 5) {
            other.end();
        }
    };
    staged_file file(path, staged_file::passing);
    file.out() << "new";
    ASSERT_TRUE(file.complete());
    ASSERT_TRUE(file.replace_under_lock()) << file.problem();
    EXPECT_GE(time.sleeps.size(), 5U);
    EXPECT_EQ(test::read_file(path), "new");
}

TEST_F(staged_file_test, a_reader_that_never_ends_is_not_waited_for_without_end) {
    test::write_file(path, "old");
    reader other(path);
    test::stepped_time time;
    staged_file file(path, staged_file::passing);
    ASSERT_TRUE(file.complete());
    EXPECT_FALSE(file.replace_under_lock());
    EXPECT_EQ(file.problem(), path + " stays locked by another process");
    EXPECT_EQ(test::read_file(path), "old");
}

TEST_F(staged_file_test, the_lock_is_free_again_afterwards) {
    test::write_file(path, "old");
    staged_file file(path, staged_file::passing);
    ASSERT_TRUE(file.complete() && file.replace_under_lock());
    const reader other(path);  // would wait for ever
}

}  // namespace
