#include <gtest/gtest.h>

#include "host/model/make_template_element.hpp"
#include "service_api/choice_list.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::make_template_element;

TEST(choice_element, accepts_its_choices_byte_by_byte) {
    const auto element = make_template_element(test::choice("A", "B", "On", "On,Off,Auto Mode"));
    EXPECT_EQ(element->validate("Off"), 0);
    EXPECT_EQ(element->validate("Auto Mode"), 0);
    for (const char* other : {"off", "Off ", " Off", "", "Of", "On,Off", "Auto"}) {
        EXPECT_EQ(element->validate(other), dp_service::service_status::not_a_choice) << other;
    }
}

TEST(choice_element, choices_with_commas_and_backslashes_are_unescaped) {
    const std::string odd = "a,b\\c";
    const auto element = make_template_element(
        test::choice("A", "B", "x", dp_service::choice_list::join({"x", odd})));
    EXPECT_EQ(element->validate(odd), 0);
    EXPECT_EQ(element->validate("a"), dp_service::service_status::not_a_choice);
}

TEST(choice_element, without_choices_only_the_default_is_accepted) {
    const auto element = make_template_element(test::choice("A", "B", "x", ""));
    EXPECT_EQ(element->validate("x"), 0);
    EXPECT_EQ(element->validate(""), dp_service::service_status::not_a_choice);
}

}  // namespace
