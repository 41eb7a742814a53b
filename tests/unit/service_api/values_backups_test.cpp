#include "service_api/values_backups.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/scratch_files.hpp"

namespace {

namespace values_backups = dp_service::values_backups;

class values_backups_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        std::filesystem::create_directories(folder);
        test::write_file(path, "one");
    }

    std::string content(const std::string& name) const { return test::read_file(folder + name); }

    [[nodiscard]] std::size_t file_count() const {
        const std::filesystem::directory_iterator files(folder);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

    std::string folder = test::root() + "/data/";
    std::string path = folder + "values";
};

TEST_F(values_backups_test, a_backup_survives_the_replacement_of_its_file) {
    ASSERT_TRUE(values_backups::keep_backup(path));
    ASSERT_TRUE(values_backups::keep_backup(path));  // it is its own backup already
    test::write_file(path + ".new", "two");
    std::filesystem::rename(path + ".new", path);
    EXPECT_EQ(content("values.backup"), "one");
    ASSERT_TRUE(values_backups::keep_backup(path));
    EXPECT_EQ(content("values.backup"), "two");
    EXPECT_EQ(file_count(), 2U);
}

TEST_F(values_backups_test, a_missing_file_leaves_the_backup) {
    ASSERT_TRUE(values_backups::keep_backup(path));
    std::filesystem::remove(path);
    EXPECT_FALSE(values_backups::keep_backup(path));
    EXPECT_EQ(content("values.backup"), "one");
}

TEST_F(values_backups_test, the_three_newest_damaged_files_are_kept) {
    for (const char* const text : {"a", "b", "c", "d", "e"}) {
        std::filesystem::remove(path);
        test::write_file(path, text);
        ASSERT_TRUE(values_backups::keep_damaged(path, path));
        ASSERT_TRUE(values_backups::keep_damaged(path, path));  // kept already
        EXPECT_EQ(content("values"), text);
    }
    EXPECT_EQ(content("values.damaged-1"), "e");
    EXPECT_EQ(content("values.damaged-2"), "d");
    EXPECT_EQ(content("values.damaged-3"), "c");
    EXPECT_EQ(file_count(), 4U);
}

TEST_F(values_backups_test, a_gap_in_the_numbers_is_filled) {
    test::write_file(folder + "values.damaged-1", "a");
    test::write_file(folder + "values.damaged-3", "c");
    ASSERT_TRUE(values_backups::keep_damaged(path, path));
    EXPECT_EQ(content("values.damaged-1"), "one");
    EXPECT_EQ(content("values.damaged-2"), "a");
    EXPECT_EQ(content("values.damaged-3"), "c");
}

TEST_F(values_backups_test, a_file_is_kept_once) {
    test::write_file(folder + "values.backup", "backup");
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(values_backups::keep_damaged(path, folder + "values.backup"));
        ASSERT_TRUE(values_backups::keep_damaged(path, path));
    }
    EXPECT_EQ(content("values.damaged-1"), "one");
    EXPECT_EQ(content("values.damaged-2"), "backup");
    EXPECT_EQ(file_count(), 4U);
}

TEST_F(values_backups_test, discard_removes_backup_and_damaged_files) {
    ASSERT_TRUE(values_backups::keep_backup(path));
    ASSERT_TRUE(values_backups::keep_damaged(path, path));
    values_backups::discard(path);
    EXPECT_EQ(file_count(), 1U);
    EXPECT_EQ(content("values"), "one");
}

}  // namespace
