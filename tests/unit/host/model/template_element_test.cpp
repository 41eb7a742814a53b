#include "host/model/make_template_element.hpp"

#include <gtest/gtest.h>

#include "service_api/service_status.hpp"
#include "settings/instance_number.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::make_template_element;

TEST(template_element, an_attribute_without_a_greatest_instance_is_single_valued) {
    const auto element = make_template_element(test::choice("A", "B", "x", "x,y"));
    EXPECT_TRUE(element->is_single_valued());
    EXPECT_EQ(element->max_instance, dp::no_instance);
    std::uint32_t instance = 0;
    EXPECT_TRUE(element->parse_instance("", instance));
    EXPECT_EQ(instance, dp::no_instance);
    EXPECT_FALSE(element->parse_instance("1", instance));
}

TEST(template_element, every_instance_has_one_name) {
    const auto element =
        make_template_element(test::with_instances(test::choice("A", "B", "x", "x"), 1, 12));
    std::uint32_t instance = 0;
    EXPECT_TRUE(element->parse_instance("1", instance));
    EXPECT_TRUE(element->parse_instance("12", instance));
    EXPECT_EQ(instance, 12U);
    for (const char* other : {"", "0", "13", "01", "+1", "-1", " 1", "1 ", "1x", "x", "4294967297",
                              "99999999999999999999"}) {
        EXPECT_FALSE(element->parse_instance(other, instance)) << other;
    }
}

TEST(template_element, instance_0_is_named_by_one_zero) {
    const auto element =
        make_template_element(test::with_instances(test::choice("A", "B", "x", "x"), 0, 3));
    std::uint32_t instance = 7;
    EXPECT_TRUE(element->parse_instance("0", instance));
    EXPECT_EQ(instance, 0U);
    EXPECT_FALSE(element->parse_instance("00", instance));
}

TEST(template_element, has_the_flags_and_the_record_of_the_template) {
    const auto info = test::with_flags(
        test::in_record(test::with_instances(test::choice("A", "B", "x", "x"), 1, 2), "row"),
        1U << 21);
    const auto element = make_template_element(info);
    EXPECT_EQ(element->record_name, "row");
    EXPECT_NE(element->flags & dp::setting_element::record_key_flag, 0U);
    EXPECT_EQ(element->flags & dp::setting_element::deletable_flag, 0U);
    EXPECT_EQ(element->min_instance, 1U);
    EXPECT_EQ(element->max_instance, 2U);
}

TEST(template_element, an_attribute_that_is_removed_by_default_may_be_deleted) {
    auto info = test::choice("A", "B", "x", "x");
    info.dfa = "remove";
    EXPECT_NE(make_template_element(info)->flags & dp::setting_element::deletable_flag, 0U);
    info.dfa = "Remove";
    EXPECT_EQ(make_template_element(info)->flags & dp::setting_element::deletable_flag, 0U);
}

TEST(template_element, a_read_only_attribute_refuses_all_but_its_default) {
    const auto element = make_template_element(test::with_flags(
        test::choice("A", "B", "x", "x,y"), dp_service::template_flags::read_only));
    EXPECT_TRUE(element->is_read_only());
    EXPECT_EQ(element->validate("y"), dp_service::service_status::read_only);
    EXPECT_EQ(element->validate("z"), dp_service::service_status::read_only);
    EXPECT_EQ(element->validate("x"), 0);
}

TEST(template_element, is_valid_ignores_that_an_attribute_is_read_only) {
    const auto element = make_template_element(test::with_flags(
        test::choice("A", "B", "x", "x,y"), dp_service::template_flags::read_only));
    EXPECT_TRUE(element->is_valid("y"));
    EXPECT_FALSE(element->is_valid("z"));
}

TEST(template_element, a_default_outside_its_own_limits_is_accepted) {
    EXPECT_EQ(make_template_element(test::choice("A", "B", "odd", "x,y"))->validate("odd"), 0);
    EXPECT_EQ(make_template_element(test::number("A", "B", "7", 10, 20, 1))->validate("7"), 0);
    EXPECT_EQ(make_template_element(test::text("A", "B", "", 3, 5, ""))->validate(""), 0);
}

TEST(template_element, the_type_without_range_data_accepts_every_value) {
    const auto element =
        make_template_element(test::attribute_of_type("A", "B", template_info::type_no_range, "x"));
    EXPECT_EQ(element->validate(std::string("\0\xFF anything", 11)), 0);
}

}  // namespace
