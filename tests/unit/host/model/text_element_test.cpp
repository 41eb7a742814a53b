#include "host/model/text_element.hpp"

#include <gtest/gtest.h>

#include "host/model/template_element.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::character_count;
using dp_host::template_element;

TEST(text_element, lengths_are_inclusive) {
    const auto element = template_element::make(test::text("A", "B", "abc", 2, 4, ""));
    EXPECT_EQ(element->validate("ab"), 0);
    EXPECT_EQ(element->validate("abcd"), 0);
    EXPECT_EQ(element->validate("a"), dp_service::service_status::too_short);
    EXPECT_EQ(element->validate("abcde"), dp_service::service_status::too_long);
}

TEST(text_element, a_greatest_length_of_0_does_not_bound) {
    const auto element = template_element::make(test::text("A", "B", "", 0, 0, ""));
    EXPECT_EQ(element->validate(std::string(5000, 'x')), 0);
}

TEST(text_element, lengths_are_counted_in_characters) {
    const auto element = template_element::make(test::text("A", "B", "", 0, 3, ""));
    EXPECT_EQ(element->validate("\xC3\xA4\xC3\xB6\xC3\xBC"), 0);
    EXPECT_EQ(element->validate("\xC3\xA4\xC3\xB6\xC3\xBC!"), dp_service::service_status::too_long);
}

TEST(text_element, what_is_not_utf_8_is_counted_in_bytes) {
    EXPECT_EQ(character_count(""), 0U);
    EXPECT_EQ(character_count("a\xE2\x82\xAC\xF0\x9F\x98\x80"), 3U);
    EXPECT_EQ(character_count("\xF4\x8F\xBF\xBF"), 1U);
    EXPECT_EQ(character_count("\xFF\xC3\xA4"), 3U);      // no lead byte
    EXPECT_EQ(character_count("\xC3\xA4\xC3"), 3U);      // cut
    EXPECT_EQ(character_count("\xC0\x80"), 2U);          // over-long
    EXPECT_EQ(character_count("\xE0\x80\x80"), 3U);      // over-long
    EXPECT_EQ(character_count("\xED\xA0\x80"), 3U);      // surrogate
    EXPECT_EQ(character_count("\xF0\x80\x80\x80"), 4U);  // over-long
    EXPECT_EQ(character_count("\xF4\x90\x80\x80"), 4U);  // beyond the last character
    EXPECT_EQ(character_count("\xE2\x28\xA1"), 3U);      // no continuation
}

TEST(text_element, the_pattern_decides_after_the_length) {
    const auto element = template_element::make(test::text("A", "B", "a1", 1, 4, "^[a-z][0-9]*$"));
    EXPECT_EQ(element->validate("b22"), 0);
    EXPECT_EQ(element->validate("22"), dp_service::service_status::pattern_mismatch);
    EXPECT_EQ(element->validate("b2222"), dp_service::service_status::too_long);
}

TEST(text_element, a_pattern_that_is_not_understood_is_logged_and_lets_only_the_default_pass) {
    test::recording_log log(sysipc::event_log::log_level::error);
    const auto element = template_element::make(test::text("A", "B", "x", 0, 0, "([a-z"));
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].level, "ERR");
    EXPECT_EQ(log.lines[0].text.rfind(" ***ERROR*** the pattern of A.B is not understood: ", 0),
              0U);
    EXPECT_EQ(element->validate("x"), 0);
    EXPECT_EQ(element->validate("y"), dp_service::service_status::pattern_mismatch);
}

TEST(text_element, a_value_that_takes_too_much_work_to_match_is_refused_and_logged) {
    test::recording_log log(sysipc::event_log::log_level::error);
    const auto element = template_element::make(test::text("A", "B", "", 0, 0, "^(a+)+$"));
    EXPECT_EQ(element->validate(std::string(60, 'a') + "b"),
              dp_service::service_status::pattern_mismatch);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].text,
              " ***ERROR*** a value could not be held against its pattern: it takes too much work");
    EXPECT_EQ(element->validate("aaa"), 0);
    EXPECT_EQ(element->validate("b"), dp_service::service_status::pattern_mismatch);
    EXPECT_EQ(log.lines.size(), 1U);
}

}  // namespace
