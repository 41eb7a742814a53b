#include "host/process/private_folder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/test_platform.hpp"

namespace {

using dp_host::prepare_private_folder;

class prepare_private_folder_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static mode_t mode_of(const std::string& path) {
        struct stat info {};
        EXPECT_EQ(lstat(path.c_str(), &info), 0);
        return info.st_mode & 07777;
    }

    std::string path = test::root() + "/a/b/folder";
};

TEST_F(prepare_private_folder_test, creates_a_missing_folder_for_its_owner_and_readable_parents) {
    const mode_t before = umask(0);
    EXPECT_TRUE(prepare_private_folder(path));
    umask(before);
    EXPECT_EQ(mode_of(path), 0700U);
    EXPECT_EQ(mode_of(test::root() + "/a/b"), 0755U);
    EXPECT_TRUE(prepare_private_folder(path));
}

TEST_F(prepare_private_folder_test, restricts_a_folder_that_others_can_access) {
    ASSERT_TRUE(prepare_private_folder(path));
    ASSERT_EQ(chmod(path.c_str(), 0777), 0);
    EXPECT_TRUE(prepare_private_folder(path));
    EXPECT_EQ(mode_of(path), 0700U);
}

TEST_F(prepare_private_folder_test, refuses_a_symlink_even_to_a_private_folder) {
    ASSERT_TRUE(prepare_private_folder(path));
    const std::string link = test::root() + "/a/link";
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    EXPECT_EQ(prepare_private_folder(link).reason(), link + " is a symlink");
}

TEST_F(prepare_private_folder_test, refuses_a_dangling_symlink) {
    const std::string link = test::root() + "/link";
    ASSERT_EQ(symlink("/nowhere/at/all", link.c_str()), 0);
    EXPECT_EQ(prepare_private_folder(link).reason(), link + " is a symlink");
}

TEST_F(prepare_private_folder_test, refuses_a_file) {
    const std::string file = test::root() + "/file";
    test::write_file(file, "");
    EXPECT_EQ(prepare_private_folder(file).reason(),
              "cannot open folder " + file + ": Not a directory");
    EXPECT_EQ(prepare_private_folder(file + "/below").reason(), file + " is not a folder");
}

TEST_F(prepare_private_folder_test, refuses_the_folder_of_another_user) {
    ASSERT_TRUE(prepare_private_folder(path));
    if (chown(path.c_str(), 12345, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "only root can give folders away";
    }
    EXPECT_EQ(prepare_private_folder(path).reason(),
              path + " belongs to user 12345, not to user " + std::to_string(geteuid()));
}

TEST_F(prepare_private_folder_test, refuses_a_parent_that_everybody_can_write_unless_it_is_sticky) {
    ASSERT_TRUE(prepare_private_folder(path));
    const std::string parent = test::root() + "/a";
    ASSERT_EQ(chmod(parent.c_str(), 0777), 0);
    EXPECT_EQ(prepare_private_folder(path).reason(),
              parent + " can be written by everybody and is not sticky");
    ASSERT_EQ(chmod(parent.c_str(), 01777), 0);
    EXPECT_TRUE(prepare_private_folder(path));
}

}  // namespace
