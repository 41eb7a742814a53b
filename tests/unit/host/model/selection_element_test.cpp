#include <gtest/gtest.h>

#include "host/model/make_template_element.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::make_template_element;
using dp_host::template_element;

template_info order(const std::string& chc) {
    auto info = test::attribute_of_type("A", "B", DP_TYPE_ENUMERATION,
                                        "[value='HDD',order='1'],[value='PXE',order='2']");
    info.chc = chc;
    return info;
}

std::string mapped_selection(template_element& element, std::string value) {
    EXPECT_TRUE(element.map_value(&value)) << value;
    return value;
}

TEST(selection_element, both_forms_are_stored_in_the_terse_form) {
    const auto element = make_template_element(order("HDD,PXE,USB"));
    EXPECT_EQ(element->default_value(), "HDD,PXE");
    EXPECT_EQ(mapped_selection(*element, "[value='PXE',order='2'],[value='USB',order='1']"),
              "USB,PXE");
    EXPECT_EQ(mapped_selection(*element, "PXE,HDD"), "PXE,HDD");
}

TEST(selection_element, an_item_with_a_comma_keeps_the_full_form) {
    const auto element = make_template_element(order(""));
    EXPECT_EQ(mapped_selection(*element, "[value='b,c',order='1'],[value='a',order='2']"),
              "[value='a',order='2'],[value='b,c',order='1']");
}

TEST(selection_element, a_full_form_without_distinct_orders_cannot_be_mapped) {
    const auto element = make_template_element(order("HDD,PXE"));
    std::string same = "[value='PXE',order='1'],[value='HDD',order='1']";
    EXPECT_FALSE(element->map_value(&same));
    std::string none = "[value='PXE',order=''],[value='HDD',order='1']";
    EXPECT_FALSE(element->map_value(&none));
}

TEST(selection_element, items_must_be_choices_and_not_be_repeated) {
    const auto element = make_template_element(order("HDD,PXE,USB"));
    EXPECT_EQ(element->validate("USB"), 0);
    EXPECT_EQ(element->validate(""), 0);
    EXPECT_EQ(element->validate("USB,HDD,PXE"), 0);
    EXPECT_EQ(element->validate("USB,CD"), dp_service::service_status::not_a_choice);
    EXPECT_EQ(element->validate("USB,USB"), dp_service::service_status::not_a_choice);
    EXPECT_EQ(element->validate("USB,"), dp_service::service_status::not_a_choice);
}

TEST(selection_element, without_choices_every_item_is_valid) {
    const auto element = make_template_element(order(""));
    EXPECT_EQ(element->validate("one,other"), 0);
    EXPECT_EQ(element->validate("one,one"), dp_service::service_status::not_a_choice);
}

}  // namespace
