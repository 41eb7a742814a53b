#include "host/model/values_archive.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "common/file_utilities.hpp"
#include "service_api/values_seal.hpp"
#include "tests/support/sealed_values.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::values_archive;

std::string values(const std::string& text) {
    return test::sealed("0 0 uefi set A.B \"" + text + "\" \"\" \n");
}

class values_archive_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    void replace(const std::string& text) const {
        test::write_file(path + ".new", text);
        std::filesystem::rename(path + ".new", path);
    }

    std::string path = test::root() + "/values";
    std::string backup = path + ".backup";
    std::string damaged = path + ".damaged-1";
    values_archive archive{path};
};

TEST_F(values_archive_test, loads_a_complete_file_and_makes_it_the_backup_of_the_next) {
    test::write_file(path, values("1"));
    const auto found = archive.load();
    ASSERT_TRUE(found) << found.reason();
    ASSERT_TRUE(found->content);
    EXPECT_EQ(found->content->values.at(0).second, "1");
    EXPECT_FALSE(found->is_backup);
    EXPECT_EQ(found->problem, "");
    archive.keep_backup();
    replace(values("2"));
    archive.remember();
    EXPECT_EQ(test::read_file(backup), values("1"));
    archive.keep_backup();
    EXPECT_EQ(test::read_file(backup), values("2"));
}

TEST_F(values_archive_test, never_makes_a_file_the_backup_that_it_does_not_know) {
    test::write_file(path, values("1"));
    ASSERT_TRUE(archive.load());
    archive.keep_backup();
    test::write_file(path, "cut off by somebody else");
    archive.keep_backup();
    replace(values("3"));
    archive.keep_backup();
    EXPECT_EQ(test::read_file(path), values("3"));
    // The link remains; what was written into the file itself is seen through both names.
    EXPECT_EQ(test::read_file(backup), "cut off by somebody else");
}

TEST_F(values_archive_test, nothing_is_there_at_first) {
    const auto found = archive.load();
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->content);
    EXPECT_EQ(found->problem, "");
}

TEST_F(values_archive_test, a_damaged_or_missing_file_is_replaced_by_its_backup) {
    test::write_file(backup, values("1"));
    const auto missing = archive.load();
    ASSERT_TRUE(missing);
    EXPECT_TRUE(missing->is_backup);
    EXPECT_EQ(missing->problem, path + " is missing");
    EXPECT_FALSE(missing->is_damaged);
    test::write_file(path, values("2").substr(0, 90));
    const auto found = archive.load();
    ASSERT_TRUE(found);
    ASSERT_TRUE(found->content);
    EXPECT_TRUE(found->is_backup);
    EXPECT_EQ(found->content->values.at(0).second, "1");
    EXPECT_EQ(found->problem, path + " is damaged: it was cut off");
    EXPECT_TRUE(found->is_damaged);
    archive.keep_damaged();
    EXPECT_EQ(test::read_file(damaged), values("2").substr(0, 90));
    archive.keep_backup();
    EXPECT_EQ(test::read_file(backup), values("1"));
}

TEST_F(values_archive_test, both_files_are_kept_when_both_are_damaged) {
    test::write_file(path, "a");
    test::write_file(backup, "b");
    const auto found = archive.load();
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->content);
    EXPECT_EQ(found->problem, path + " is damaged: its last line is incomplete");
    archive.keep_damaged();
    EXPECT_EQ(test::read_file(damaged), "a");
    EXPECT_EQ(test::read_file(path + ".damaged-2"), "b");
}

TEST_F(values_archive_test, a_huge_file_is_damaged_without_being_read_and_is_not_kept) {
    test::write_file(path, values("1"));
    ASSERT_EQ(truncate(path.c_str(), off_t{dp_service::values_seal::size_limit} + 1), 0);
    const auto found = archive.load();
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->is_damaged);
    EXPECT_EQ(found->problem, path + " is larger than 67108864 bytes");
    archive.keep_damaged();
    EXPECT_FALSE(fileexist(damaged));
}

TEST_F(values_archive_test, a_backup_that_is_not_trusted_is_not_used) {
    test::write_file(path + ".real", values("1"));
    ASSERT_EQ(symlink((path + ".real").c_str(), backup.c_str()), 0);
    test::write_file(path, "cut");
    test::recording_log log(sysipc::event_log::log_level::error);
    const auto found = archive.load();
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->content);
    EXPECT_EQ(log.lines.size(), 1U);
}

TEST_F(values_archive_test, a_file_that_is_not_trusted_is_a_failure) {
    ASSERT_EQ(symlink("elsewhere", path.c_str()), 0);
    EXPECT_EQ(archive.load().code(), ELOOP);
}

}  // namespace
