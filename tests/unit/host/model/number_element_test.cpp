#include <gtest/gtest.h>

#include "host/model/make_template_element.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/sample_template.hpp"

namespace {

using dp_host::make_template_element;
using dp_host::template_element;

std::string mapped_number(template_element& element, std::string value) {
    EXPECT_TRUE(element.map_value(&value));
    return value;
}

TEST(number_element, bounds_are_inclusive) {
    const auto element = make_template_element(test::number("A", "B", "15", 10, 20, 0));
    EXPECT_EQ(element->validate("10"), 0);
    EXPECT_EQ(element->validate("20"), 0);
    EXPECT_EQ(element->validate("9"), dp_service::service_status::out_of_range);
    EXPECT_EQ(element->validate("21"), dp_service::service_status::out_of_range);
}

TEST(number_element, only_plain_digits_are_a_number) {
    const auto element = make_template_element(test::number("A", "B", "1", 0, 100, 1));
    for (const char* other : {"", " 1", "1 ", "+1", "-1", "0x10", "1.0", "1e1", "ten", "1\t"}) {
        EXPECT_EQ(element->validate(other), dp_service::service_status::not_a_number) << other;
    }
    EXPECT_EQ(element->validate(std::string("1\0", 2)), dp_service::service_status::not_a_number);
}

TEST(number_element, numbers_too_big_for_32_bits_are_out_of_range) {
    const auto element = make_template_element(test::number("A", "B", "1", 0, 0xFFFFFFFF, 1));
    EXPECT_EQ(element->validate("4294967295"), 0);
    EXPECT_EQ(element->validate("4294967296"), dp_service::service_status::out_of_range);
    EXPECT_EQ(element->validate("99999999999999999999999"),
              dp_service::service_status::out_of_range);
}

TEST(number_element, steps_count_from_the_lower_bound) {
    const auto element = make_template_element(test::number("A", "B", "3", 3, 33, 10));
    EXPECT_EQ(element->validate("13"), 0);
    EXPECT_EQ(element->validate("33"), 0);
    EXPECT_EQ(element->validate("10"), dp_service::service_status::not_a_step);
}

TEST(number_element, a_step_of_0_or_1_accepts_every_number) {
    for (const std::uint32_t step : {0U, 1U}) {
        const auto element = make_template_element(test::number("A", "B", "3", 3, 33, step));
        EXPECT_EQ(element->validate("4"), 0);
    }
}

TEST(number_element, bounds_of_0_and_0_are_no_bounds) {
    const auto element = make_template_element(test::number("A", "B", "", 0, 0, 0));
    EXPECT_EQ(element->validate("4294967295"), 0);
    EXPECT_EQ(element->validate("4294967296"), dp_service::service_status::out_of_range);
}

TEST(number_element, leading_zeros_are_removed) {
    const auto element = make_template_element(test::number("A", "B", "005", 0, 100, 1));
    EXPECT_EQ(mapped_number(*element, "007"), "7");
    EXPECT_EQ(mapped_number(*element, "000"), "0");
    EXPECT_EQ(mapped_number(*element, "0"), "0");
    EXPECT_EQ(mapped_number(*element, "100"), "100");
    EXPECT_EQ(mapped_number(*element, "0x0"), "0x0");
    EXPECT_EQ(mapped_number(*element, ""), "");
    EXPECT_EQ(element->default_value(), "5");
}

}  // namespace
