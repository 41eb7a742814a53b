#include "host/model/update_files.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "common/file_utilities.hpp"
#include "tests/support/test_platform.hpp"

namespace {

class update_files_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        std::filesystem::create_directories(folder);
        test::write_file(one, "1");
        test::write_file(two, "2");
    }

    void stage() const {
        ASSERT_TRUE(files.stage(one, "new 1"));
        ASSERT_TRUE(files.stage(two, "new 2"));
    }

    std::string folder = test::root() + "/update";
    std::string one = test::root() + "/one";
    std::string two = test::root() + "/two";
    dp_host::update_files files{folder, {one, two}};
};

TEST_F(update_files_test, an_installation_replaces_all_files_and_leaves_nothing) {
    stage();
    EXPECT_FALSE(files.is_committed());
    ASSERT_TRUE(files.commit("text"));
    EXPECT_TRUE(files.is_committed());
    EXPECT_EQ(files.text_of_marker(), "text");
    EXPECT_EQ(test::read_file(one), "1");
    ASSERT_TRUE(files.place());
    EXPECT_EQ(test::read_file(one), "new 1");
    EXPECT_EQ(test::read_file(two), "new 2");
    EXPECT_TRUE(files.is_committed());
    ASSERT_TRUE(files.finish());
    EXPECT_FALSE(files.is_committed());
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(update_files_test, an_interrupted_installation_is_continued) {
    stage();
    ASSERT_TRUE(files.commit(""));
    std::filesystem::rename(files.staged_path(one), one);
    const dp_host::update_files again(folder, {one, two});
    ASSERT_TRUE(again.is_committed());
    ASSERT_TRUE(again.place());
    ASSERT_TRUE(again.place());
    EXPECT_EQ(test::read_file(one), "new 1");
    EXPECT_EQ(test::read_file(two), "new 2");
}

TEST_F(update_files_test, an_installation_can_remove_a_file) {
    ASSERT_TRUE(files.stage(one, "new 1"));
    ASSERT_TRUE(files.stage_removal(two));
    ASSERT_TRUE(files.commit(""));
    EXPECT_EQ(test::read_file(two), "2");
    const dp_host::update_files again(folder, {one, two});
    ASSERT_TRUE(again.place());
    ASSERT_TRUE(again.place());
    EXPECT_EQ(test::read_file(one), "new 1");
    EXPECT_FALSE(std::filesystem::exists(two));
    ASSERT_TRUE(again.finish());
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(update_files_test, a_removal_that_was_not_decided_is_discarded) {
    ASSERT_TRUE(files.stage_removal(two));
    files.discard();
    EXPECT_EQ(test::read_file(two), "2");
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(update_files_test, a_file_that_cannot_be_placed_leaves_the_marker) {
    stage();
    ASSERT_TRUE(files.commit(""));
    std::filesystem::remove(two);
    std::filesystem::create_directory(two);
    EXPECT_FALSE(files.place());
    EXPECT_TRUE(files.is_committed());
    std::filesystem::remove(two);
    EXPECT_TRUE(files.place());
    EXPECT_EQ(test::read_file(two), "new 2");
}

TEST_F(update_files_test, staged_files_without_a_marker_are_discarded) {
    stage();
    files.discard();
    EXPECT_TRUE(std::filesystem::is_empty(folder));
    EXPECT_EQ(test::read_file(one), "1");
}

TEST_F(update_files_test, a_marker_that_is_not_a_file_of_this_user_is_none) {
    std::filesystem::create_symlink(one, folder + "/installing");
    EXPECT_FALSE(files.is_committed());
    EXPECT_EQ(files.text_of_marker(), "");
}

}  // namespace
