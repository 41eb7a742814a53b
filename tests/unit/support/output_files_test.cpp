#include "support/output_files.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/support/scratch_files.hpp"

namespace {

using dp_support::output_files;
using testing::HasSubstr;

class output_files_test : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }

    [[nodiscard]] std::string path(const std::string& name) const { return folder_ + "/" + name; }
    [[nodiscard]] long file_count() const {
        return std::distance(std::filesystem::directory_iterator(folder_),
                             std::filesystem::directory_iterator());
    }

    std::string folder_ = test::root() + "/output";
};

TEST_F(output_files_test, appear_together_on_commit) {
    output_files files;
    ASSERT_TRUE(files.stage(path("a"), "1"));
    ASSERT_TRUE(files.stage(path("b"), std::string(1'000'000, 'x')));
    EXPECT_FALSE(std::filesystem::exists(path("a")));
    const auto committed = files.commit();
    ASSERT_TRUE(committed) << committed.reason();
    EXPECT_EQ(test::read_file(path("a")), "1");
    EXPECT_EQ(test::read_file(path("b")).size(), 1'000'000U);
    EXPECT_EQ(file_count(), 2);
}

TEST_F(output_files_test, leave_no_files_without_a_commit) {
    test::write_file(path("a"), "old");
    {
        output_files files;
        ASSERT_TRUE(files.stage(path("a"), "new"));
        ASSERT_TRUE(files.stage(path("b"), "new"));
    }
    EXPECT_EQ(test::read_file(path("a")), "old");
    EXPECT_EQ(file_count(), 1);
}

TEST_F(output_files_test, are_restored_when_a_later_one_cannot_be_replaced) {
    test::write_file(path("a"), "old");
    output_files files;
    ASSERT_TRUE(files.stage(path("a"), "new"));
    ASSERT_TRUE(files.stage(path("b"), "new"));
    ASSERT_TRUE(files.stage(path("c"), "new"));
    // A folder that appears meanwhile cannot be replaced by a file.
    std::filesystem::create_directory(path("c"));
    EXPECT_THAT(files.commit().reason(), HasSubstr(path("c")));
    EXPECT_EQ(test::read_file(path("a")), "old");
    EXPECT_FALSE(std::filesystem::exists(path("b")));
}

TEST_F(output_files_test, keep_the_mode_of_what_they_replace) {
    test::write_file(path("a"), "old");
    chmod(path("a").c_str(), 0640);
    const mode_t mask = umask(027);
    EXPECT_TRUE(dp_support::replace_file(path("a"), "new"));
    EXPECT_TRUE(dp_support::replace_file(path("b"), "new"));
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    ASSERT_EQ(stat(path("b").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST_F(output_files_test, follow_a_symlink_in_a_folder_of_ones_own) {
    test::write_file(path("target"), "old");
    ASSERT_EQ(symlink("target", path("link").c_str()), 0);
    EXPECT_TRUE(dp_support::replace_file(path("link"), "new"));
    EXPECT_EQ(test::read_file(path("target")), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    ASSERT_EQ(symlink("nowhere", path("dangling").c_str()), 0);
    EXPECT_FALSE(dp_support::replace_file(path("dangling"), "new"));
}

TEST_F(output_files_test, replace_a_symlink_that_anybody_could_have_made) {
    test::write_file(path("target"), "old");
    std::filesystem::create_directory(path("open"));
    chmod(path("open").c_str(), 01777);
    ASSERT_EQ(symlink(path("target").c_str(), path("open/link").c_str()), 0);
    EXPECT_TRUE(dp_support::replace_file(path("open/link"), "new"));
    EXPECT_EQ(test::read_file(path("target")), "old");
    EXPECT_FALSE(std::filesystem::is_symlink(path("open/link")));
}

TEST_F(output_files_test, are_written_to_when_they_are_devices) {
    struct stat before {};
    ASSERT_EQ(stat("/dev/null", &before), 0);
    output_files files;
    EXPECT_TRUE(files.stage("/dev/null", "x"));
    EXPECT_TRUE(files.stage("/dev/null", "y"));
    EXPECT_TRUE(files.stage(path("a"), "z"));
    const auto committed = files.commit();
    EXPECT_TRUE(committed) << committed.reason();
    struct stat after {};
    ASSERT_EQ(stat("/dev/null", &after), 0);
    EXPECT_TRUE(S_ISCHR(after.st_mode));
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(test::read_file(path("a")), "z");
}

TEST_F(output_files_test, are_not_replaced_when_a_device_cannot_be_written) {
    output_files files;
    ASSERT_TRUE(files.stage(path("a"), "z"));
    ASSERT_TRUE(files.stage("/dev/full", "x"));
    EXPECT_THAT(files.commit().reason(), HasSubstr("/dev/full"));
    EXPECT_FALSE(std::filesystem::exists(path("a")));
}

TEST_F(output_files_test, are_removed_together_with_the_others) {
    test::write_file(path("old"), "old");
    output_files files;
    ASSERT_TRUE(files.stage(path("a"), "z"));
    ASSERT_TRUE(files.stage_removal(path("old")));
    ASSERT_TRUE(files.stage_removal(path("missing")));
    EXPECT_EQ(test::read_file(path("old")), "old");
    ASSERT_TRUE(files.commit());
    EXPECT_EQ(test::read_file(path("a")), "z");
    EXPECT_EQ(file_count(), 1);
}

TEST_F(output_files_test, are_not_removed_when_another_cannot_be_replaced) {
    test::write_file(path("old"), "old");
    output_files files;
    ASSERT_TRUE(files.stage(path("a"), "z"));
    ASSERT_TRUE(files.stage_removal(path("old")));
    std::filesystem::create_directory(path("a"));
    EXPECT_FALSE(files.commit());
    EXPECT_EQ(test::read_file(path("old")), "old");
    EXPECT_FALSE(files.stage_removal(path("a")));
}

TEST_F(output_files_test, refuse_a_path_that_cannot_be_a_file) {
    std::filesystem::create_directory(path("folder"));
    ASSERT_EQ(symlink("folder", path("link").c_str()), 0);
    for (const std::string& bad :
         {path("folder"), path("link"), path("missing/file"), path("."), path(".."), path(""),
          path(std::string(300, 'n')), std::string("/proc/file"), std::string()}) {
        EXPECT_FALSE(dp_support::replace_file(bad, "x")) << bad;
    }
    EXPECT_EQ(file_count(), 2);
}

TEST_F(output_files_test, refuse_the_same_file_twice_and_the_input) {
    test::write_file(path("in"), "input");
    output_files files;
    files.protect(path("in"));
    ASSERT_TRUE(files.stage(path("a"), "1"));
    EXPECT_THAT(files.stage(folder_ + "/./a", "2").reason(), HasSubstr("two files"));
    EXPECT_THAT(files.stage(folder_ + "/../output/in", "2").reason(), HasSubstr("input"));
    EXPECT_EQ(test::read_file(path("in")), "input");
}

}  // namespace
