#include <gtest/gtest.h>

#include "host/model/template_element.hpp"
#include "service_api/choice_list.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::template_element;

TEST(choice_element, takes_its_choices_letter_by_letter) {
    const auto element = template_element::make(test::choice("A", "B", "On", "On,Off,Auto Mode"));
    EXPECT_EQ(element->validate("Off"), 0);
    EXPECT_EQ(element->validate("Auto Mode"), 0);
    for (const char* other : {"off", "Off ", " Off", "", "Of", "On,Off", "Auto"}) {
        EXPECT_EQ(element->validate(other), dp_service::service_status::not_a_choice) << other;
    }
}

TEST(choice_element, choices_with_commas_and_backslashes_are_unescaped) {
    const std::string odd = "a,b\\c";
    const auto element = template_element::make(
        test::choice("A", "B", "x", dp_service::choice_list::join({"x", odd})));
    EXPECT_EQ(element->validate(odd), 0);
    EXPECT_EQ(element->validate("a"), dp_service::service_status::not_a_choice);
}

TEST(choice_element, without_choices_only_the_default_passes) {
    const auto element = template_element::make(test::choice("A", "B", "x", ""));
    EXPECT_EQ(element->validate("x"), 0);
    EXPECT_EQ(element->validate(""), dp_service::service_status::not_a_choice);
}

}  // namespace
