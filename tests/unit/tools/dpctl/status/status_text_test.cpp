#include "tools/dpctl/status/status_text.hpp"

#include <gmock/gmock.h>

#include <set>

#include "service_api/service_status.hpp"
#include "tests/unit/tools/dpctl/sample_attribute.hpp"

namespace dpctl {
namespace {

using testing::HasSubstr;

TEST(explain_status, says_what_an_enumeration_allows) {
    const dp_attribute mode = test::sample_choices("Mode", "Legacy,UEFI");
    EXPECT_EQ(explain_status(dp_service::service_status::not_a_choice, &mode, "Foo"),
              "\"Foo\" is not one of Legacy, UEFI");
}

TEST(explain_status, asks_for_a_near_choice) {
    const dp_attribute mode = test::sample_choices("Mode", "Legacy,UEFI");
    EXPECT_EQ(explain_status(dp_service::service_status::not_a_choice, &mode, "uefi"),
              "\"uefi\" is not one of Legacy, UEFI; did you mean UEFI?");
}

TEST(explain_status, says_what_a_number_allows) {
    const dp_attribute delay = test::sample_number("Delay", 0, 100, 5);
    EXPECT_EQ(explain_status(dp_service::service_status::not_a_number, &delay, "soon"),
              "\"soon\" is not a decimal number (allowed: 0 to 100 in steps of 5)");
    EXPECT_EQ(explain_status(dp_service::service_status::out_of_range, &delay, "105"),
              "\"105\" is out of range (allowed: 0 to 100 in steps of 5)");
    EXPECT_EQ(explain_status(dp_service::service_status::not_a_step, &delay, "7"),
              "\"7\" is not on a step (allowed: 0 to 100 in steps of 5)");
}

TEST(explain_status, says_what_a_string_allows) {
    const dp_attribute tag = test::sample_string("Tag", 4, 16, "^[A-Z]+$");
    const std::string allowed = " (allowed: 4 to 16 characters that match ^[A-Z]+$)";
    EXPECT_EQ(explain_status(dp_service::service_status::too_short, &tag, ""),
              "\"\" is too short" + allowed);
    EXPECT_EQ(explain_status(dp_service::service_status::too_long, &tag, "X"),
              "\"X\" is too long" + allowed);
    EXPECT_EQ(explain_status(dp_service::service_status::pattern_mismatch, &tag, "abcd"),
              "\"abcd\" does not match the pattern" + allowed);
}

TEST(explain_status, does_without_the_attribute) {
    EXPECT_EQ(explain_status(dp_service::service_status::not_a_choice, nullptr, "Foo"),
              "\"Foo\" is not one of its possible values");
    EXPECT_EQ(explain_status(dp_service::service_status::out_of_range, nullptr, "1"),
              "\"1\" is out of range");
}

TEST(explain_status, does_without_the_value) {
    EXPECT_EQ(explain_status(dp_service::service_status::not_a_choice),
              "the value is not one of its possible values");
    EXPECT_EQ(explain_status(dp_service::service_status::out_of_range),
              "the value is out of range");
    EXPECT_EQ(explain_status(dp_service::service_status::read_only), "it is read-only");
    EXPECT_EQ(explain_status(1234), "for a reason that dpctl does not know");
    EXPECT_EQ(explain_status(-1), "for a reason that dpctl does not know");
}

TEST(explain_status, has_a_reason_of_its_own_for_every_known_status) {
    std::set<std::string> reasons;
    std::size_t count = 0;
    for (const std::uint32_t status : {0U,  16U, 17U, 18U, 19U, 21U, 32U, 224U, 226U, 255U, 48U,
                                       49U, 50U, 51U, 52U, 53U, 54U, 55U, 56U,  57U,  58U,  59U}) {
        const std::string reason = explain_status(status, nullptr, "x");
        EXPECT_THAT(reason, testing::Not(HasSubstr("with status"))) << status;
        reasons.insert(reason);
        ++count;
    }
    // 224 and 58 differ too: one service does not know the operation, the other does not do it.
    EXPECT_EQ(reasons.size(), count);
}

TEST(explain_status, names_a_status_that_it_does_not_know) {
    EXPECT_THAT(explain_status(99, nullptr, "x"), HasSubstr("status 99"));
    EXPECT_THAT(explain_status(4294967295U, nullptr, "x"), HasSubstr("status 4294967295"));
}

TEST(explain_status, shows_no_raw_control_bytes_of_the_value) {
    EXPECT_EQ(explain_status(dp_service::service_status::too_long, nullptr, "\x1b[0m"),
              "\"\\x1b[0m\" is too long");
}

TEST(why_not_carried, names_the_character) {
    EXPECT_EQ(why_not_carried("UEFI", true), "");
    EXPECT_EQ(why_not_carried("", true), "");
    EXPECT_EQ(why_not_carried("Rack 7, Größe", true), "");
    EXPECT_THAT(why_not_carried("a\"b", true), HasSubstr("double quote"));
    EXPECT_THAT(why_not_carried("a\\b", true), HasSubstr("backslash"));
    for (const char* const text : {"a\nb", "a\tb", "a\rb", "\x1b", "\x7f"}) {
        EXPECT_THAT(why_not_carried(text, true), HasSubstr("control character")) << text;
    }
}

TEST(why_not_carried, allows_blanks_in_values_only) {
    EXPECT_EQ(why_not_carried("a b", true), "");
    EXPECT_THAT(why_not_carried("a b", false), HasSubstr("blank"));
}

}  // namespace
}  // namespace dpctl
