#include "tools/dpctl/system/readable_file.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/support/child_process.hpp"
#include "tests/support/process.hpp"
#include "tests/support/scratch_files.hpp"

namespace dpctl {
namespace {

class why_unreadable_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    const std::string file_ = test::root() + "/file";
};

TEST_F(why_unreadable_test, is_empty_for_a_file_and_for_a_missing_one) {
    EXPECT_EQ(why_unreadable(file_), "");
    EXPECT_EQ(why_unreadable(test::root() + "/missing/file"), "");
    test::write_file(file_, "");
    EXPECT_EQ(why_unreadable(file_), "");
}

TEST_F(why_unreadable_test, is_not_a_file_for_everything_else) {
    EXPECT_EQ(why_unreadable(test::root()), test::root() + ": is not a file");
    EXPECT_EQ(why_unreadable("/dev/zero"), "/dev/zero: is not a file");
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    EXPECT_EQ(why_unreadable(file_), file_ + ": is not a file");
}

TEST_F(why_unreadable_test, is_the_reason_of_the_system) {
    test::write_file(file_, "");
    EXPECT_EQ(why_unreadable(file_ + "/below"), "cannot read " + file_ + "/below: Not a directory");
    const std::string loop = test::root() + "/loop";
    std::filesystem::create_symlink("loop", loop);
    EXPECT_EQ(why_unreadable(loop), "cannot read " + loop + ": Too many levels of symbolic links");
}

TEST_F(why_unreadable_test, is_permission_denied_for_the_file_and_for_its_folder) {
    const std::string closed = test::root() + "/closed";
    test::write_file(file_, "");
    std::filesystem::create_directory(closed);
    test::write_file(closed + "/file", "");
    for (const std::string& path : {file_, closed}) {
        std::filesystem::permissions(path, std::filesystem::perms::none);
    }
    std::filesystem::permissions(test::root(), std::filesystem::perms(0755));
    test::child_process user([&](const test::child_process::parent_channel& /*parent*/) {
        return test::drop_privileges() &&
                       why_unreadable(file_) ==
                           "cannot read " + file_ + ": permission denied: run as root" &&
                       why_unreadable(closed + "/file") ==
                           "cannot read " + closed + "/file: permission denied: run as root"
                   ? 0
                   : 1;
    });
    EXPECT_EQ(user.wait(), 0);
    std::filesystem::permissions(closed, std::filesystem::perms(0700));
}

}  // namespace
}  // namespace dpctl
