#include "host/exchange/run_folder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/test_platform.hpp"

namespace {

using dp_host::prepare_run_folder;

class run_folder_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static mode_t mode_of(const std::string& path) {
        struct stat info {};
        EXPECT_EQ(lstat(path.c_str(), &info), 0);
        return info.st_mode & 07777;
    }

    std::string path = test::root() + "/a/b/folder";
};

TEST_F(run_folder_test, a_missing_folder_is_made_for_its_owner_only_below_readable_parents) {
    const mode_t before = umask(0);
    EXPECT_EQ(prepare_run_folder(path), "");
    umask(before);
    EXPECT_EQ(mode_of(path), 0700U);
    EXPECT_EQ(mode_of(test::root() + "/a/b"), 0755U);
    EXPECT_EQ(prepare_run_folder(path), "");
}

TEST_F(run_folder_test, a_folder_that_others_can_enter_is_narrowed) {
    ASSERT_EQ(prepare_run_folder(path), "");
    ASSERT_EQ(chmod(path.c_str(), 0777), 0);
    EXPECT_EQ(prepare_run_folder(path), "");
    EXPECT_EQ(mode_of(path), 0700U);
}

TEST_F(run_folder_test, a_link_is_refused_even_to_a_good_folder) {
    ASSERT_EQ(prepare_run_folder(path), "");
    const std::string link = test::root() + "/a/link";
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    EXPECT_EQ(prepare_run_folder(link), link + " is a link");
}

TEST_F(run_folder_test, a_dangling_link_is_refused) {
    const std::string link = test::root() + "/link";
    ASSERT_EQ(symlink("/nowhere/at/all", link.c_str()), 0);
    EXPECT_EQ(prepare_run_folder(link), link + " is a link");
}

TEST_F(run_folder_test, a_file_in_its_place_is_refused) {
    const std::string file = test::root() + "/file";
    test::write_file(file, "");
    EXPECT_EQ(prepare_run_folder(file), "cannot open folder " + file + ": Not a directory");
    EXPECT_EQ(prepare_run_folder(file + "/below"), file + " is not a folder");
}

TEST_F(run_folder_test, somebody_elses_folder_is_refused) {
    ASSERT_EQ(prepare_run_folder(path), "");
    if (chown(path.c_str(), 12345, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "only root can give folders away";
    }
    EXPECT_EQ(prepare_run_folder(path),
              path + " belongs to user 12345, not to user " + std::to_string(geteuid()));
}

TEST_F(run_folder_test, a_parent_that_everybody_can_write_must_be_sticky) {
    ASSERT_EQ(prepare_run_folder(path), "");
    const std::string parent = test::root() + "/a";
    ASSERT_EQ(chmod(parent.c_str(), 0777), 0);
    EXPECT_EQ(prepare_run_folder(path), parent + " can be written by everybody and is not sticky");
    ASSERT_EQ(chmod(parent.c_str(), 01777), 0);
    EXPECT_EQ(prepare_run_folder(path), "");
}

}  // namespace
