#include "tools/dpctl/system/denied_access.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/support/child_process.hpp"
#include "tests/support/process.hpp"
#include "tests/support/scratch_files.hpp"

namespace dpctl {
namespace {

constexpr gid_t operators_group = 4711;

class explain_denied_access_test : public testing::Test {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "needs root, to become a user without rights";
        }
        test::clean_root();
        std::filesystem::permissions(test::root(), std::filesystem::perms(0755));
        std::filesystem::create_directory(folder_);
        test::write_file(file_, "");
    }
    void TearDown() override {
        std::filesystem::permissions(folder_, std::filesystem::perms(0700));
    }

    static void set(const std::string& path, mode_t mode, gid_t group) {
        ASSERT_EQ(chown(path.c_str(), 0, group), 0);
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
    }

    // What an ordinary user gets.
    [[nodiscard]] std::string explained() const {
        return as_ordinary_user([&] { return explain_denied_access(file_, EACCES); });
    }
    [[nodiscard]] std::string explained_connection() const {
        return as_ordinary_user([&] { return why_connection_denied(file_); });
    }

    static std::string as_ordinary_user(const std::function<std::string()>& explain) {
        std::string text;
        test::child_process user([&](const test::child_process::parent_channel& parent) {
            if (!test::drop_privileges()) {
                return 1;
            }
            for (const char c : explain()) {
                parent.send(c);
            }
            parent.send('\n');
            return 0;
        });
        for (char c = user.receive(); c != '\n'; c = user.receive()) {
            text += c;
        }
        EXPECT_EQ(user.wait(), 0);
        return text;
    }

    const std::string folder_ = test::root() + "/folder";
    const std::string file_ = folder_ + "/file";
};

TEST_F(explain_denied_access_test, names_the_group_of_the_folder) {
    set(folder_, 0750, operators_group);
    EXPECT_EQ(explained(), "permission denied: run as root or join the group 4711");
    set(folder_, 0710, operators_group);
    EXPECT_EQ(explained(), "permission denied: run as root or join the group 4711");
}

TEST_F(explain_denied_access_test, names_the_group_of_the_file) {
    set(folder_, 0755, 0);
    set(file_, 0640, operators_group);
    EXPECT_EQ(explained(), "permission denied: run as root or join the group 4711");
}

TEST_F(explain_denied_access_test, names_no_group_without_access) {
    set(folder_, 0700, operators_group);
    EXPECT_EQ(explained(), "permission denied: run as root");
    set(folder_, 0755, operators_group);
    set(file_, 0600, operators_group);
    EXPECT_EQ(explained(), "permission denied: run as root");
    set(folder_, 0750, 0);
    EXPECT_EQ(explained(), "permission denied: run as root") << "nobody joins root's group";
}

TEST_F(explain_denied_access_test, names_the_group_that_may_connect_to_a_socket) {
    std::filesystem::remove(file_);
    ASSERT_EQ(mknod(file_.c_str(), S_IFSOCK | 0600, 0), 0);
    set(folder_, 0755, 0);
    set(file_, 0660, operators_group);
    EXPECT_EQ(explained_connection(), "permission denied: run as root or join the group 4711");
    set(file_, 0640, operators_group);
    EXPECT_EQ(explained_connection(), "permission denied: run as root");
    set(file_, 0666, 0);
    EXPECT_EQ(explained_connection(), "");
    set(folder_, 0750, operators_group);
    EXPECT_EQ(explained_connection(), "permission denied: run as root or join the group 4711");
    set(folder_, 0755, 0);
    std::filesystem::remove(file_);
    EXPECT_EQ(explained_connection(), "") << "there is no service";
}

TEST_F(explain_denied_access_test, is_the_text_of_the_system_for_other_reasons) {
    EXPECT_EQ(explain_denied_access(file_, ENOTDIR), "Not a directory");
    EXPECT_EQ(explain_denied_access(file_, EACCES), "Permission denied") << "for root";
}

}  // namespace
}  // namespace dpctl
