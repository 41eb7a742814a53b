#include "tools/dpctl/values/canonical_value.hpp"

#include <gtest/gtest.h>

#include "tests/support/sample_attribute.hpp"

namespace dpctl {
namespace {

TEST(canonical_value, is_the_one_choice_that_differs_in_case) {
    const dp_attribute attribute = test::sample_choices("A", "UEFI,Legacy,x1,X1");
    EXPECT_EQ(canonical_value(attribute, "uefi"), "UEFI");
    EXPECT_EQ(canonical_value(attribute, "LEGACY"), "Legacy");
    EXPECT_EQ(canonical_value(attribute, "X1"), "X1");
    EXPECT_EQ(canonical_value(test::sample_choices("A", "xY,Xy"), "xy"), "xy") << "two fit";
    EXPECT_EQ(canonical_value(attribute, "other"), "other");
}

TEST(canonical_value, has_no_leading_zeros) {
    const dp_attribute number = test::sample_number("A", 0, 100, 1);
    EXPECT_EQ(canonical_value(number, "005"), "5");
    EXPECT_EQ(canonical_value(number, "000"), "0");
    EXPECT_EQ(canonical_value(number, "-5"), "-5");
    EXPECT_EQ(canonical_value(number, ""), "");
    EXPECT_EQ(canonical_value(test::sample_string("A", 0, 9, ""), "005"), "005");
}

TEST(choice_for, finds_the_choices_of_a_pair) {
    EXPECT_EQ(choice_for(test::sample_choices("A", "False,True"), true), "True");
    EXPECT_EQ(choice_for(test::sample_choices("A", "Enabled,Disabled"), false), "Disabled");
    EXPECT_EQ(choice_for(test::sample_choices("A", "ON,OFF"), true), "ON");
}

TEST(choice_for, is_empty_where_it_is_not_certain) {
    EXPECT_EQ(choice_for(test::sample_choices("A", "Enabled,Disabled,Auto"), true), "");
    EXPECT_EQ(choice_for(test::sample_choices("A", "Enabled,Off"), true), "");
    EXPECT_EQ(choice_for(test::sample_choices("A", "UEFI,Legacy"), true), "");
}

}  // namespace
}  // namespace dpctl
