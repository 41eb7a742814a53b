#include "support/staged_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "common/file_utilities.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using dp_support::staged_file;

bool put(staged_file& file) {
    return file.complete().and_then([&] { return file.replace(); }).ok();
}

class staged_file_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/var/dp/file";
    std::string beside = path + ".new";
};

TEST_F(staged_file_test, the_old_content_stays_until_the_new_one_replaces_it) {
    test::write_file(path, "old");
    staged_file file(path, staged_file::durable);
    file.out() << "new";
    ASSERT_TRUE(file.complete()) << file.outcome().reason();
    EXPECT_EQ(test::read_file(path), "old");
    ASSERT_TRUE(file.replace()) << file.outcome().reason();
    EXPECT_TRUE(file.is_in_place());
    EXPECT_EQ(test::read_file(path), "new");
    EXPECT_FALSE(fileexist(beside));
}

TEST_F(staged_file_test, a_temporary_file_that_was_not_renamed_is_removed) {
    {
        staged_file file(path, staged_file::volatile_file);
        file.out() << "new";
        ASSERT_TRUE(file.complete());
    }
    EXPECT_FALSE(fileexist(path));
    EXPECT_FALSE(fileexist(beside));
}

TEST_F(staged_file_test, a_new_file_is_for_its_owner_and_readers_as_the_mask_allows) {
    staged_file file(path, staged_file::volatile_file);
    ASSERT_TRUE(put(file)) << file.outcome().reason();
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(info.st_mode & 07777, 0640U & ~mask);
}

TEST_F(staged_file_test, a_temporary_file_left_by_a_killed_process_is_replaced) {
    test::write_file(beside, "half of somethi");
    staged_file file(path, staged_file::volatile_file);
    file.out() << "whole";
    ASSERT_TRUE(put(file)) << file.outcome().reason();
    EXPECT_EQ(test::read_file(path), "whole");
}

TEST_F(staged_file_test, a_symlink_or_folder_at_the_temporary_name_is_replaced) {
    test::write_file(path + ".precious", "precious");
    ASSERT_EQ(symlink((path + ".precious").c_str(), beside.c_str()), 0);
    {
        staged_file file(path, staged_file::volatile_file);
        file.out() << "x";
        ASSERT_TRUE(put(file)) << file.outcome().reason();
    }
    EXPECT_EQ(test::read_file(path + ".precious"), "precious");
    std::filesystem::create_directories(beside + "/full");
    staged_file file(path, staged_file::volatile_file);
    file.out() << "y";
    ASSERT_TRUE(put(file)) << file.outcome().reason();
    EXPECT_EQ(test::read_file(path), "y");
}

TEST_F(staged_file_test, the_time_of_the_file_is_when_it_was_replaced) {
    staged_file file(path, staged_file::volatile_file);
    file.out() << "x";
    ASSERT_TRUE(file.complete());
    test::set_mtime(beside, 1000);
    ASSERT_TRUE(file.replace());
    EXPECT_GT(mtime(path), 1000);
}

TEST_F(staged_file_test, a_missing_folder_is_a_failure) {
    staged_file file(test::root() + "/nowhere/file", staged_file::volatile_file);
    file.out() << "x";
    EXPECT_FALSE(file.complete());
    EXPECT_FALSE(file.replace());
    EXPECT_EQ(file.outcome().code(), ENOENT);
    EXPECT_EQ(file.outcome().reason(),
              "cannot create " + test::root() + "/nowhere/file.new: No such file or directory");
}

TEST_F(staged_file_test, a_full_disk_is_a_failure_and_the_old_content_stays) {
    test::write_file(path, "old");
    // A limit on file sizes simulates the full disk.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    bool is_complete = true;
    std::string problem;
    {
        staged_file file(path, staged_file::durable);
        file.out() << std::string(100'000, 'x');
        is_complete = file.complete().ok();
        problem = file.outcome().reason();
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(is_complete);
    EXPECT_EQ(problem, "cannot write " + beside + ": File too large");
    EXPECT_EQ(test::read_file(path), "old");
    EXPECT_FALSE(fileexist(beside));
}

TEST_F(staged_file_test, several_processes_may_stage_the_same_file) {
    staged_file first(path, staged_file::durable, 0640);
    staged_file second(path, staged_file::durable, 0604);
    EXPECT_NE(first.staged_path(), second.staged_path());
    first.out() << "first";
    second.out() << "second";
    ASSERT_TRUE(put(second));
    EXPECT_EQ(test::read_file(path), "second");
    ASSERT_TRUE(put(first));
    EXPECT_EQ(test::read_file(path), "first");
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640U);
}

TEST_F(staged_file_test, a_private_file_is_for_its_owner_alone) {
    test::write_file(path, "old");
    const auto written = dp_support::write_private_file(path, "new");
    ASSERT_TRUE(written) << written.reason();
    EXPECT_EQ(test::read_file(path), "new");
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600U);
    EXPECT_EQ(dp_support::write_private_file(path + "/missing/file", "").code(), ENOTDIR);
}

TEST_F(staged_file_test, what_killed_processes_left_is_removed) {
    const std::string folder = test::root() + "/var/dp";
    for (const char* const name :
         {"/.dp_abc123", "/.dp_a", "/.dp_abc1234", "/dp_abc123", "/file"}) {
        test::write_file(folder + name, "kept");
    }
    std::filesystem::create_directory(folder + "/.dp_folder");
    dp_support::remove_staged_files(folder);
    EXPECT_FALSE(fileexist(folder + "/.dp_abc123"));
    for (const char* const name : {"/.dp_a", "/.dp_abc1234", "/dp_abc123", "/file"}) {
        EXPECT_TRUE(fileexist(folder + name)) << name;
    }
    EXPECT_TRUE(std::filesystem::exists(folder + "/.dp_folder"));
    dp_support::remove_staged_files(folder + "/none");
}

}  // namespace
