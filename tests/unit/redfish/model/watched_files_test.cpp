#include "redfish/model/watched_files.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "redfish/model/server_model.hpp"
#include "tests/support/shown_server.hpp"

namespace {

constexpr uid_t another_user = 65534;

class check_rights : public testing::Test {
  protected:
    check_rights() { chmod(folder.c_str(), S_IRWXU); }
    ~check_rights() override {
        EXPECT_EQ(seteuid(getuid()), 0);
        chmod(folder.c_str(), S_IRWXU);
    }

    // Root may read everything.
    [[nodiscard]] bool take_rights() const {
        return chmod(folder.c_str(), 0) == 0 && (getuid() != 0 || seteuid(another_user) == 0);
    }

    test::shown_server files{test::sample_template(), {}, {}};
    std::string folder = test::root() + "/var/dp";
};

TEST_F(check_rights, finds_none_missing_where_files_are_readable_or_not_there) {
    EXPECT_TRUE(dp_redfish::check_rights_to_read());
    test::clean_root();
    EXPECT_TRUE(dp_redfish::check_rights_to_read());
}

TEST_F(check_rights, names_a_file_that_cannot_be_read) {
    ASSERT_TRUE(take_rights());
    const auto checked = dp_redfish::check_rights_to_read();
    ASSERT_FALSE(checked);
    EXPECT_NE(checked.reason().find("/var/dp/uefi_template.efi: Permission denied"),
              std::string::npos)
        << checked.reason();
}

TEST_F(check_rights, keep_a_server_from_looking_empty) {
    dp_redfish::server_model model;
    ASSERT_NE(model.read_now(), nullptr);
    ASSERT_TRUE(take_rights());
    EXPECT_EQ(model.read_now(), nullptr);
}

}  // namespace
