#include "host/model/template_element.hpp"

#include <gtest/gtest.h>

#include "service_api/service_status.hpp"
#include "settings/instance_number.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::template_element;

TEST(template_element, an_attribute_without_greatest_instance_is_single_valued) {
    const auto element = template_element::make(test::choice("A", "B", "x", "x,y"));
    EXPECT_TRUE(element->is_single_valued());
    EXPECT_EQ(element->max_instance, dp::no_instance);
    std::uint32_t instance = 0;
    EXPECT_TRUE(element->names_instance("", instance));
    EXPECT_EQ(instance, dp::no_instance);
    EXPECT_FALSE(element->names_instance("1", instance));
}

TEST(template_element, instances_have_one_name_each) {
    const auto element =
        template_element::make(test::with_instances(test::choice("A", "B", "x", "x"), 1, 12));
    std::uint32_t instance = 0;
    EXPECT_TRUE(element->names_instance("1", instance));
    EXPECT_TRUE(element->names_instance("12", instance));
    EXPECT_EQ(instance, 12U);
    for (const char* other : {"", "0", "13", "01", "+1", "-1", " 1", "1 ", "1x", "x", "4294967297",
                              "99999999999999999999"}) {
        EXPECT_FALSE(element->names_instance(other, instance)) << other;
    }
}

TEST(template_element, instance_zero_is_named_by_one_zero) {
    const auto element =
        template_element::make(test::with_instances(test::choice("A", "B", "x", "x"), 0, 3));
    std::uint32_t instance = 7;
    EXPECT_TRUE(element->names_instance("0", instance));
    EXPECT_EQ(instance, 0U);
    EXPECT_FALSE(element->names_instance("00", instance));
}

TEST(template_element, flags_and_record_are_the_templates) {
    const auto info = test::with_flags(
        test::in_record(test::with_instances(test::choice("A", "B", "x", "x"), 1, 2), "row"),
        1U << 21);
    const auto element = template_element::make(info);
    EXPECT_EQ(element->record_name, "row");
    EXPECT_NE(element->flags & dp::setting_element::record_key_flag, 0U);
    EXPECT_EQ(element->flags & dp::setting_element::deletable_flag, 0U);
    EXPECT_EQ(element->min_instance, 1U);
    EXPECT_EQ(element->max_instance, 2U);
}

TEST(template_element, an_attribute_that_defaults_to_being_removed_may_be_deleted) {
    auto info = test::choice("A", "B", "x", "x");
    info.dfa = "remove";
    EXPECT_NE(template_element::make(info)->flags & dp::setting_element::deletable_flag, 0U);
    info.dfa = "Remove";
    EXPECT_EQ(template_element::make(info)->flags & dp::setting_element::deletable_flag, 0U);
}

TEST(template_element, read_only_attributes_refuse_all_but_their_default) {
    const auto element = template_element::make(test::with_flags(
        test::choice("A", "B", "x", "x,y"), dp_service::template_flags::read_only));
    EXPECT_TRUE(element->is_read_only());
    EXPECT_EQ(element->validate("y"), dp_service::service_status::read_only);
    EXPECT_EQ(element->validate("z"), dp_service::service_status::read_only);
    EXPECT_EQ(element->validate("x"), 0);
}

TEST(template_element, read_only_attributes_may_still_have_any_valid_value) {
    const auto element = template_element::make(test::with_flags(
        test::choice("A", "B", "x", "x,y"), dp_service::template_flags::read_only));
    EXPECT_TRUE(element->may_have("y"));
    EXPECT_FALSE(element->may_have("z"));
}

TEST(template_element, a_default_outside_its_own_limits_passes) {
    EXPECT_EQ(template_element::make(test::choice("A", "B", "odd", "x,y"))->validate("odd"), 0);
    EXPECT_EQ(template_element::make(test::number("A", "B", "7", 10, 20, 1))->validate("7"), 0);
    EXPECT_EQ(template_element::make(test::text("A", "B", "", 3, 5, ""))->validate(""), 0);
}

TEST(template_element, the_type_without_range_data_takes_any_value) {
    const auto element = template_element::make(
        test::attribute_of_type("A", "B", template_info::type_no_range, "x"));
    EXPECT_EQ(element->validate(std::string("\0\xFF anything", 11)), 0);
}

}  // namespace
