#include "settings/configuration_reference_list.hpp"

#include <gtest/gtest.h>

#include "tests/support/settings_model.hpp"

namespace {

class configuration_reference_list : public testing::Test {
  protected:
    test::registrar reg;
    test::configuration a{"a"};
    test::configuration b{"b"};
    dp::configuration_reference_list list;
};

}  // namespace

TEST_F(configuration_reference_list, is_not_stale_while_empty) {
    EXPECT_FALSE(list.is_stale());
    EXPECT_FALSE(list.has_reference(reg, &a));
}

TEST_F(configuration_reference_list, is_stale_after_an_addition_until_versions_are_updated) {
    list.add_reference(reg, &a);
    EXPECT_TRUE(list.is_stale());
    EXPECT_TRUE(list.has_reference(reg, &a));
    EXPECT_FALSE(list.has_reference(reg, &b));
    list.update_versions(reg);
    EXPECT_FALSE(list.is_stale());
}

TEST_F(configuration_reference_list, is_stale_after_a_removal_even_of_nothing) {
    list.remove_reference(reg, &a);
    EXPECT_TRUE(list.is_stale());
    list.update_versions(reg);
    EXPECT_FALSE(list.is_stale());
}

TEST_F(configuration_reference_list, removes_every_reference_to_a_configuration) {
    list.add_reference(reg, &a);
    list.add_reference(reg, &b);
    list.add_reference(reg, &a);
    list.remove_reference(reg, &a);
    EXPECT_FALSE(list.has_reference(reg, &a));
    EXPECT_TRUE(list.has_reference(reg, &b));
    list.update_versions(reg);
    a.version = 7;
    EXPECT_FALSE(list.is_stale());
    b.version = 7;
    EXPECT_TRUE(list.is_stale());
}

TEST_F(configuration_reference_list, keeps_duplicates) {
    list.add_reference(reg, &a);
    list.add_reference(reg, &a);
    list.update_versions(reg);
    EXPECT_FALSE(list.is_stale());
    a.version = 1;
    EXPECT_TRUE(list.is_stale());
    list.update_versions(reg);
    EXPECT_FALSE(list.is_stale());
}

TEST_F(configuration_reference_list, becomes_stale_when_any_version_changes) {
    list.add_reference(reg, &a);
    list.add_reference(reg, &b);
    list.update_versions(reg);
    b.count_change();
    EXPECT_TRUE(list.is_stale());
    list.update_versions(reg);
    EXPECT_FALSE(list.is_stale());
    b.version -= 1;
    EXPECT_TRUE(list.is_stale());
}

TEST_F(configuration_reference_list, ignores_a_version_difference_of_exactly_bit_28) {
    a.version = 5;
    list.add_reference(reg, &a);
    list.update_versions(reg);
    a.version = 5 + 0x10000000;
    EXPECT_FALSE(list.is_stale());
    for (const std::uint32_t moved : {0x10000001U, 0x0FFFFFFFU, 0x20000000U, 0x30000000U,
                                      0xF0000000U, 1U, 0xFFFFFFFFU, 0x80000000U}) {
        a.version = 5 + moved;
        EXPECT_TRUE(list.is_stale()) << moved;
    }
}

TEST_F(configuration_reference_list, compares_versions_modulo_2_to_the_32) {
    a.version = 0xF8000000;
    list.add_reference(reg, &a);
    list.update_versions(reg);
    a.version = 0x08000000;  // 0x10000000 more
    EXPECT_FALSE(list.is_stale());
    a.version = 0x08000001;
    EXPECT_TRUE(list.is_stale());
}

TEST_F(configuration_reference_list, becomes_stale_when_a_version_goes_back_to_0) {
    a.version = 0x10000000;
    list.add_reference(reg, &a);
    EXPECT_TRUE(list.is_stale()) << "because of the addition";
    list.update_versions(reg);
    a.version = 0;
    EXPECT_TRUE(list.is_stale());
}
