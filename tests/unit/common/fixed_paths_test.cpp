#include "common/fixed_paths.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/test_platform.hpp"

namespace paths = dp::fixed_paths;

TEST(fixed_paths, are_the_boards_own_below_the_root) {
    const std::string root = test::root();
    EXPECT_EQ(paths::uefi_template.str(), root + "/var/dp/uefi_template.efi");
    EXPECT_EQ(paths::uefi_settings.str(), root + "/var/dp/uefi_settings.txt");
    EXPECT_EQ(paths::uefi_current.str(), root + "/var/dp/uefi_current.txt");
    EXPECT_EQ(paths::uefi_configs.str(), root + "/tmp/dp/uefi_configs.txt");
    EXPECT_EQ(paths::uefi_build_id.str(), root + "/tmp/dp/uefi.bld");
    EXPECT_EQ(paths::batch.str(), root + "/tmp/dp/batch");
    EXPECT_EQ(paths::batch_result.str(), root + "/tmp/dp/batch.out");
    EXPECT_EQ(paths::change_history.str(), root + "/tmp/config_change_hisroty.log");
    EXPECT_EQ(paths::event_categories.str(), root + "/tmp/DS/uim_ras_category_mapping.cfg");
    EXPECT_EQ(paths::dpspy.str(), root + "/bin/dpspy");
    EXPECT_EQ(paths::sysvpd.str(), root + "/bin/sysvpd");
}

// The root is read once in a process, so each of these tests runs in its own process.
class fixed_path_root : public testing::Test {
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

using fixed_path_death_test = fixed_path_root;

TEST_F(fixed_path_death_test, refuses_a_root_with_characters_special_to_a_shell) {
    for (const char* bad : {"/tmp/a b", "/tmp/$(id)", "/tmp/a;b", "/tmp/a'b", "/tmp/\xC3\xA4",
                            "/tmp/a\nb", "relative"}) {
        EXPECT_DEATH(
            {
                setenv("DP_ROOT", bad, 1);
                static_cast<void>(paths::batch.str());
            },
            "DP_ROOT must be an absolute path");
    }
}

TEST_F(fixed_path_death_test, has_no_prefix_when_the_variable_is_unset_or_empty) {
    EXPECT_EXIT(
        {
            unsetenv("DP_ROOT");
            std::exit(paths::batch.str() == "/tmp/dp/batch" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            setenv("DP_ROOT", "", 1);
            std::exit(paths::batch.str() == "/tmp/dp/batch" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(fixed_path_death_test, keeps_the_root_of_the_first_use) {
    EXPECT_EXIT(
        {
            setenv("DP_ROOT", "/one-root", 1);
            static_cast<void>(paths::batch.str());
            setenv("DP_ROOT", "/another-root", 1);
            std::exit(paths::batch.str() == "/one-root/tmp/dp/batch" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
