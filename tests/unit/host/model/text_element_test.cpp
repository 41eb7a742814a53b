#include "host/model/text_element.hpp"

#include <gtest/gtest.h>

#include "host/model/make_template_element.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::make_template_element;

TEST(text_element, length_bounds_are_inclusive) {
    const auto element = make_template_element(test::text("A", "B", "abc", 2, 4, ""));
    EXPECT_EQ(element->validate("ab"), 0);
    EXPECT_EQ(element->validate("abcd"), 0);
    EXPECT_EQ(element->validate("a"), dp_service::service_status::too_short);
    EXPECT_EQ(element->validate("abcde"), dp_service::service_status::too_long);
}

TEST(text_element, a_greatest_length_of_0_is_no_bound) {
    const auto element = make_template_element(test::text("A", "B", "", 0, 0, ""));
    EXPECT_EQ(element->validate(std::string(5000, 'x')), 0);
}

TEST(text_element, lengths_are_counted_in_characters) {
    const auto element = make_template_element(test::text("A", "B", "", 0, 3, ""));
    EXPECT_EQ(element->validate("\xC3\xA4\xC3\xB6\xC3\xBC"), 0);
    EXPECT_EQ(element->validate("\xC3\xA4\xC3\xB6\xC3\xBC!"), dp_service::service_status::too_long);
}

TEST(text_element, texts_that_are_not_utf_8_are_counted_in_bytes) {
    const auto element = make_template_element(test::text("A", "B", "", 0, 2, ""));
    EXPECT_EQ(element->validate("a\xC3\xA4"), 0);
    for (const char* text : {"\xFF\xC3\xA4", "\xC3\xA4\xC3", "\xE0\x80\x80", "\xED\xA0\x80",
                             "\xF4\x90\x80\x80", "\xE2\x28\xA1"}) {
        EXPECT_EQ(element->validate(text), dp_service::service_status::too_long) << text;
    }
}

TEST(text_element, the_length_is_checked_before_the_pattern) {
    const auto element = make_template_element(test::text("A", "B", "a1", 1, 4, "^[a-z][0-9]*$"));
    EXPECT_EQ(element->validate("b22"), 0);
    EXPECT_EQ(element->validate("22"), dp_service::service_status::pattern_mismatch);
    EXPECT_EQ(element->validate("b2222"), dp_service::service_status::too_long);
}

TEST(text_element, an_invalid_pattern_is_logged_and_accepts_only_the_default) {
    test::recording_log log(sysipc::event_log::log_level::error);
    const auto element = make_template_element(test::text("A", "B", "x", 0, 0, "([a-z"));
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].level, "ERR");
    EXPECT_EQ(log.lines[0].text.rfind(" ***ERROR*** the pattern of A.B is not valid: ", 0), 0U);
    EXPECT_EQ(element->validate("x"), 0);
    EXPECT_EQ(element->validate("y"), dp_service::service_status::pattern_mismatch);
}

TEST(text_element, a_value_that_needs_too_much_work_to_match_is_refused_and_logged) {
    test::recording_log log(sysipc::event_log::log_level::error);
    const auto element = make_template_element(test::text("A", "B", "", 0, 0, "^(a+)+$"));
    EXPECT_EQ(element->validate(std::string(60, 'a') + "b"),
              dp_service::service_status::pattern_mismatch);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].text,
              " ***ERROR*** a value needs too much work to match it with its pattern");
    EXPECT_EQ(element->validate("aaa"), 0);
    EXPECT_EQ(element->validate("b"), dp_service::service_status::pattern_mismatch);
    EXPECT_EQ(log.lines.size(), 1U);
}

}  // namespace
