#include "redfish/access/accounts_file.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "tests/support/file_size_limit.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using dp_redfish::account_data;
using dp_redfish::accounts_file;

class accounts_file_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static account_data sample() {
        account_data data;
        data.accounts.push_back(
            {"admin", dp_redfish::roles::administrator, true,
             "$y$j75$abcdefghijklmnopqrstuv$0123456789012345678901234567890123456789012"});
        return data;
    }
    void put_sample() const { ASSERT_TRUE(file.write(sample()).outcome); }

    std::string path = test::root() + "/var/dp/accounts.json";
    accounts_file file{path};
};

TEST_F(accounts_file_test, is_written_for_its_owner_alone_and_read_again) {
    const mode_t mask = umask(0);
    const auto written = file.write(sample());
    umask(mask);
    ASSERT_TRUE(written.outcome) << written.outcome.reason();
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600U);
    const auto content = file.read();
    ASSERT_TRUE(content) << content.reason();
    EXPECT_EQ(content->data.accounts.at(0).name, "admin");
    EXPECT_EQ(content->read, written.now);
    EXPECT_EQ(content->read, file.present_version());
}

TEST_F(accounts_file_test, a_missing_file_is_a_failure_of_its_own) {
    EXPECT_EQ(file.read().code(), ENOENT);
    EXPECT_EQ(file.present_version(), accounts_file::version());
}

TEST_F(accounts_file_test, each_replacement_is_another_version) {
    put_sample();
    const auto first = file.present_version();
    put_sample();
    EXPECT_NE(file.present_version(), first);
}

TEST_F(accounts_file_test, a_file_that_others_may_read_or_write_is_refused) {
    put_sample();
    for (const mode_t mode : {0640U, 0604U, 0620U, 0602U, 0610U, 0666U}) {
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        EXPECT_EQ(file.read().reason(),
                  path + ": others may read or write it; its mode must be 0600");
    }
    ASSERT_EQ(chmod(path.c_str(), 0400), 0);
    EXPECT_TRUE(file.read());
}

TEST_F(accounts_file_test, a_file_of_another_user_is_refused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    put_sample();
    ASSERT_EQ(chown(path.c_str(), 12345, 12345), 0);
    EXPECT_EQ(file.read().reason(), path + ": belongs to another user");
}

TEST_F(accounts_file_test, root_writes_as_the_owner_of_the_folder) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    const std::string folder = test::root() + "/var/dp";
    ASSERT_EQ(chown(folder.c_str(), 12345, 12345), 0);
    put_sample();
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 12345U);
    EXPECT_TRUE(file.read()) << file.read().reason();
    ASSERT_EQ(chown(folder.c_str(), 0, 0), 0);
}

TEST_F(accounts_file_test, a_folder_where_others_may_replace_files_is_refused) {
    const std::string folder = test::root() + "/var/dp";
    put_sample();
    const auto before = file.present_version();
    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
    EXPECT_EQ(file.read().reason(), folder + ": others may replace files in this folder");
    EXPECT_FALSE(file.write(sample()).outcome);
    EXPECT_EQ(file.present_version(), before);
    ASSERT_EQ(chmod(folder.c_str(), 01777), 0);
    EXPECT_TRUE(file.read());
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
}

TEST_F(accounts_file_test, what_is_no_regular_file_is_refused_without_waiting) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(file.read().reason(), path + ": is not a regular file");
    ASSERT_EQ(unlink(path.c_str()), 0);
    test::write_file(path + ".real", "x");
    ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
    EXPECT_EQ(file.read().reason(), path + ": is a symlink");
    ASSERT_EQ(unlink(path.c_str()), 0);
    std::filesystem::create_directory(path);
    EXPECT_EQ(file.read().reason(), path + ": is not a regular file");
}

TEST_F(accounts_file_test, a_damaged_file_is_named_and_left_as_it_is) {
    test::write_file(path, "{\n\"format\": 1,");
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    const auto content = file.read();
    ASSERT_FALSE(content);
    EXPECT_TRUE(content.reason().starts_with(path + ": line 2: ")) << content.reason();
    EXPECT_EQ(test::read_file(path), "{\n\"format\": 1,");
}

TEST_F(accounts_file_test, a_huge_file_is_refused) {
    test::write_file(path, std::string((1 << 20) + 1, ' '));
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    EXPECT_EQ(file.read().reason(), path + ": is larger than 1 MiB");
}

TEST_F(accounts_file_test, a_full_disk_leaves_the_old_file) {
    put_sample();
    const std::string before = test::read_file(path);
    const auto version = file.present_version();
    account_data larger = sample();
    for (int i = 0; i < 60; ++i) {
        larger.accounts.push_back(larger.accounts.front());
        larger.accounts.back().name += std::to_string(i);
    }
    accounts_file::written written;
    {
        const test::file_size_limit full(4096);
        written = file.write(larger);
    }
    EXPECT_FALSE(written.outcome);
    EXPECT_EQ(written.outcome.code(), EFBIG);
    EXPECT_FALSE(written.is_in_place);
    EXPECT_EQ(test::read_file(path), before);
    EXPECT_EQ(file.present_version(), version);
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator(test::root() + "/var/dp")) {
        ++files;
    }
    EXPECT_EQ(files, 1U);
}

TEST_F(accounts_file_test, one_process_at_a_time_has_the_lock) {
    auto lock = file.lock(std::chrono::milliseconds(0));
    ASSERT_TRUE(lock);
    EXPECT_EQ(file.lock(std::chrono::milliseconds(0)).code(), EWOULDBLOCK);
    lock->close();
    EXPECT_TRUE(file.lock(std::chrono::milliseconds(0)));
}

TEST_F(accounts_file_test, a_missing_folder_cannot_be_locked_or_written) {
    const accounts_file nowhere(test::root() + "/nowhere/accounts.json");
    EXPECT_EQ(nowhere.lock(std::chrono::milliseconds(0)).code(), ENOENT);
    EXPECT_EQ(nowhere.write(sample()).outcome.code(), ENOENT);
}

}  // namespace
