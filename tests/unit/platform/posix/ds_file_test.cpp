#include "platform/ds_file/ds_file.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <optional>

#include "platform/posix/ds_folder.hpp"
#include "tests/support/environment_variable.hpp"
#include "tests/support/intercepted_call.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/unit/platform/support.hpp"

namespace {

using dp_platform::ds_file_path;

class ds_file_test : public testing::Test {
  protected:
    ds_file_test() : variable_("DP_DS_FOLDER", folder_.path("store")) {}

    static bool write(const std::string& name, const std::string& content) {
        ds_file file;
        return file.dsOpenFile(name, 4356, content.size()) > 0 &&
               file.dsWriteFile(content.data(), content.size()) == static_cast<int>(content.size());
    }

    /// The number of files in the store, temporary ones included.
    [[nodiscard]] std::size_t files() const {
        using iterator = std::filesystem::directory_iterator;
        return static_cast<std::size_t>(std::distance(iterator(folder_.path("store")), iterator()));
    }

    test::scratch_folder folder_;
    test::environment_variable variable_;
};

using ds_file_path_test = ds_file_test;

TEST_F(ds_file_test, writes_and_replaces_a_file) {
    EXPECT_TRUE(write("status", "first\n"));
    EXPECT_EQ(test::read_file(folder_.path("store/status")), "first\n");
    EXPECT_TRUE(write("status", "2\n"));
    EXPECT_EQ(test::read_file(ds_file_path("status")), "2\n");
    EXPECT_EQ(files(), 1U);
}

TEST_F(ds_file_test, keeps_the_old_content_until_the_last_byte) {
    ASSERT_TRUE(write("status", "old"));
    ds_file file;
    ASSERT_GT(file.dsOpenFile("status", ds_file::mode_replace, 6), 0);
    EXPECT_EQ(file.dsWriteFile("new", 3), 3);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "old");
    EXPECT_EQ(file.dsWriteFile("er", 2), 2);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "old");
    EXPECT_EQ(file.dsWriteFile("!", 1), 1);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "newer!");
    file.dsReleaseFile();
    EXPECT_EQ(test::read_file(ds_file_path("status")), "newer!");
    EXPECT_EQ(files(), 1U);
}

TEST_F(ds_file_test, drops_incomplete_content) {
    ASSERT_TRUE(write("status", "old"));
    {
        ds_file file;
        ASSERT_GT(file.dsOpenFile("status", 4356, 6), 0);
        ASSERT_EQ(file.dsWriteFile("new", 3), 3);
        file.dsReleaseFile();
        EXPECT_EQ(files(), 1U);
        ASSERT_GT(file.dsOpenFile("status", 4356, 6), 0);
        ASSERT_EQ(file.dsWriteFile("new", 3), 3);
    }
    EXPECT_EQ(test::read_file(ds_file_path("status")), "old");
    EXPECT_EQ(files(), 1U);
}

TEST_F(ds_file_test, refuses_more_bytes_than_stated) {
    ASSERT_TRUE(write("status", "old"));
    ds_file file;
    ASSERT_GT(file.dsOpenFile("status", 4356, 6), 0);
    ASSERT_EQ(file.dsWriteFile("new", 3), 3);
    EXPECT_EQ(file.dsWriteFile("er!!", 4), -EFBIG);
    EXPECT_EQ(file.dsWriteFile("er!", 3), -EBADF);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "old");
    ASSERT_GT(file.dsOpenFile("status", 4356, 3), 0);
    ASSERT_EQ(file.dsWriteFile("new", 3), 3);
    EXPECT_EQ(file.dsWriteFile("x", 1), -EFBIG);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "new");
    EXPECT_EQ(files(), 1U);
}

TEST_F(ds_file_test, replaces_a_file_by_an_empty_one) {
    ASSERT_TRUE(write("status", "old"));
    ds_file file;
    ASSERT_GT(file.dsOpenFile("status", 4356, 0), 0);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "old");
    EXPECT_EQ(file.dsWriteFile(nullptr, 0), 0);
    EXPECT_EQ(file.dsWriteFile(nullptr, 0), 0);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "");
}

TEST_F(ds_file_test, does_nothing_without_an_open_file) {
    ds_file file;
    EXPECT_EQ(file.dsWriteFile("x", 1), -EBADF);
    file.dsReleaseFile();
    file.dsReleaseFile();
}

TEST_F(ds_file_test, keeps_every_name_inside_the_folder) {
    for (const std::string& name :
         {std::string("../outside"), std::string("/outside"), std::string(".."), std::string("."),
          std::string("a/../../outside"), std::string("sub/file"), std::string(".hidden"),
          std::string("with\0nul", 8), std::string("line\nfeed"), std::string("100%")}) {
        EXPECT_TRUE(write(name, name)) << name;
        EXPECT_EQ(test::read_file(ds_file_path(name)), name);
        EXPECT_EQ(std::filesystem::path(ds_file_path(name)).parent_path(), folder_.path("store"));
    }
    EXPECT_EQ(files(), 10U) << "each name has its own file";
    EXPECT_FALSE(std::filesystem::exists(folder_.path("outside")));
}

TEST_F(ds_file_path_test, escapes_only_special_bytes) {
    EXPECT_EQ(ds_file_path("status_1-a.LOG"), folder_.path("store/status_1-a.LOG"));
    EXPECT_EQ(ds_file_path("/var/x"), folder_.path("store/%2Fvar%2Fx"));
    EXPECT_EQ(ds_file_path("..a"), folder_.path("store/%2E.a"));
}

TEST_F(ds_file_test, refuses_names_that_are_empty_or_too_long) {
    ds_file file;
    EXPECT_EQ(file.dsOpenFile("", 4356, 1), -EINVAL);
    EXPECT_EQ(file.dsOpenFile(std::string(300, 'x'), 4356, 1), -ENAMETOOLONG);
}

TEST_F(ds_file_test, refuses_other_modes_and_sizes_beyond_int) {
    ds_file file;
    EXPECT_EQ(file.dsOpenFile("status", 0, 1), -EINVAL);
    EXPECT_EQ(file.dsOpenFile("status", 4355, 1), -EINVAL);
    EXPECT_EQ(file.dsOpenFile("status", 4356, 0x80000000U), -EINVAL);
}

TEST_F(ds_file_test, creates_the_folder_when_its_parent_exists) {
    EXPECT_FALSE(std::filesystem::exists(folder_.path("store")));
    EXPECT_TRUE(write("status", "x"));
    const test::environment_variable deep("DP_DS_FOLDER", folder_.path("missing/store"));
    ds_file file;
    EXPECT_EQ(file.dsOpenFile("status", 4356, 1), -ENOENT);
}

TEST_F(ds_file_test, refuses_a_folder_that_is_a_file) {
    test::write_file(folder_.path("store"), "");
    ds_file file;
    EXPECT_EQ(file.dsOpenFile("status", 4356, 1), -ENOTDIR);
}

TEST_F(ds_file_test, replaces_a_symlink_in_the_store_without_following_it) {
    test::write_file(folder_.path("outside"), "untouched");
    ASSERT_TRUE(write("other", ""));
    std::filesystem::create_symlink(folder_.path("outside"), folder_.path("store/status"));
    EXPECT_TRUE(write("status", "new"));
    EXPECT_EQ(test::read_file(folder_.path("outside")), "untouched");
    EXPECT_FALSE(std::filesystem::is_symlink(folder_.path("store/status")));
}

TEST_F(ds_file_test, fails_when_the_new_content_cannot_be_put_in_place) {
    ASSERT_TRUE(write("other", ""));
    std::filesystem::create_directory(folder_.path("store/status"));
    ds_file file;
    ASSERT_GT(file.dsOpenFile("status", 4356, 1), 0);
    EXPECT_LT(file.dsWriteFile("x", 1), 0);
    EXPECT_EQ(files(), 2U) << "no temporary file is left";
}

TEST_F(ds_file_test, keeps_the_old_content_when_the_disk_is_full) {
    ASSERT_TRUE(write("status", "old"));
    ds_file file;
    ASSERT_GT(file.dsOpenFile("status", 4356, 3), 0);
    {
        const test::intercepted_call full(test::libc_call::write, ENOSPC);
        EXPECT_EQ(file.dsWriteFile("new", 3), -ENOSPC);
    }
    EXPECT_EQ(file.dsWriteFile("new", 3), -EBADF);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "old");
    EXPECT_EQ(files(), 1U) << "no temporary file is left";
}

TEST_F(ds_file_test, does_not_mix_the_bytes_of_two_writers) {
    ds_file first;
    ds_file second;
    ASSERT_GT(first.dsOpenFile("status", 4356, 4), 0);
    ASSERT_GT(second.dsOpenFile("status", 4356, 4), 0);
    ASSERT_EQ(first.dsWriteFile("aa", 2), 2);
    ASSERT_EQ(second.dsWriteFile("bbbb", 4), 4);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "bbbb");
    ASSERT_EQ(first.dsWriteFile("aa", 2), 2);
    EXPECT_EQ(test::read_file(ds_file_path("status")), "aaaa");
}

TEST_F(ds_file_test, keeps_the_old_content_when_the_writer_dies) {
    ASSERT_TRUE(write("status", "old"));
    const pid_t child = fork();
    if (child == 0) {
        ds_file file;
        if (file.dsOpenFile("status", 4356, 6) > 0 && file.dsWriteFile("new", 3) == 3) {
            raise(SIGKILL);
        }
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(test::read_file(ds_file_path("status")), "old");
    EXPECT_TRUE(write("status", "new"));
    EXPECT_EQ(test::read_file(ds_file_path("status")), "new");
}

TEST_F(ds_file_path_test, is_in_the_boards_folder_without_the_variable) {
    unsetenv("DP_DS_FOLDER");
    EXPECT_EQ(ds_file_path("status"), "/var/dp/ds/status");
    variable_.set("");
    EXPECT_EQ(ds_file_path("status"), "/var/dp/ds/status");
}

}  // namespace
