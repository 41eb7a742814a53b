#include "tools/dpctl/status/status_reason.hpp"

#include <gmock/gmock.h>

#include <set>

#include "service_api/service_status.hpp"
#include "tests/support/sample_attribute.hpp"

namespace dpctl {
namespace {

namespace service_status = dp_service::service_status;
using testing::HasSubstr;

TEST(explain_status, names_the_choices_of_an_enumeration) {
    const dp_attribute mode = test::sample_choices("Mode", "Legacy,UEFI");
    EXPECT_EQ(explain_status(service_status::not_a_choice, &mode, "Foo"),
              "\"Foo\" is not one of Legacy, UEFI");
}

TEST(explain_status, suggests_a_similar_choice) {
    const dp_attribute mode = test::sample_choices("Mode", "Legacy,UEFI");
    EXPECT_EQ(explain_status(service_status::not_a_choice, &mode, "uefi"),
              "\"uefi\" is not one of Legacy, UEFI; did you mean UEFI?");
}

TEST(explain_status, names_the_range_of_a_number) {
    const dp_attribute delay = test::sample_number("Delay", 0, 100, 5);
    EXPECT_EQ(explain_status(service_status::not_a_number, &delay, "soon"),
              "\"soon\" is not a decimal number (allowed: 0 to 100 in steps of 5)");
    EXPECT_EQ(explain_status(service_status::out_of_range, &delay, "105"),
              "\"105\" is out of range (allowed: 0 to 100 in steps of 5)");
    EXPECT_EQ(explain_status(service_status::not_a_step, &delay, "7"),
              "\"7\" is not on a step (allowed: 0 to 100 in steps of 5)");
}

TEST(explain_status, names_the_restrictions_of_a_string) {
    const dp_attribute tag = test::sample_string("Tag", 4, 16, "^[A-Z]+$");
    const std::string allowed = " (allowed: 4 to 16 characters that match ^[A-Z]+$)";
    EXPECT_EQ(explain_status(service_status::too_short, &tag, ""), "\"\" is too short" + allowed);
    EXPECT_EQ(explain_status(service_status::too_long, &tag, "X"), "\"X\" is too long" + allowed);
    EXPECT_EQ(explain_status(service_status::pattern_mismatch, &tag, "abcd"),
              "\"abcd\" does not match the pattern" + allowed);
}

TEST(explain_status, works_without_the_attribute) {
    EXPECT_EQ(explain_status(service_status::not_a_choice, nullptr, "Foo"),
              "\"Foo\" is not one of its possible values");
    EXPECT_EQ(explain_status(service_status::out_of_range, nullptr, "1"), "\"1\" is out of range");
}

TEST(explain_status, works_without_the_value) {
    EXPECT_EQ(explain_status(service_status::not_a_choice),
              "the value is not one of its possible values");
    EXPECT_EQ(explain_status(service_status::out_of_range), "the value is out of range");
    EXPECT_EQ(explain_status(service_status::read_only), "it is read-only");
    EXPECT_EQ(explain_status(1234), "the reason is not known to dpctl");
    EXPECT_EQ(explain_status(-1), "the reason is not known to dpctl");
}

TEST(explain_status, has_a_different_reason_for_every_known_status) {
    std::set<std::string> reasons;
    std::size_t count = 0;
    for (const std::uint32_t status : {0U,  16U, 17U, 18U, 19U, 21U, 32U, 224U, 226U, 255U, 48U,
                                       49U, 50U, 51U, 52U, 53U, 54U, 55U, 56U,  57U,  58U,  59U}) {
        const std::string reason = explain_status(status, nullptr, "x");
        EXPECT_THAT(reason, testing::Not(HasSubstr("with status"))) << status;
        reasons.insert(reason);
        ++count;
    }
    // 224 and 58 differ too: an unknown operation, and a known one that is not supported.
    EXPECT_EQ(reasons.size(), count);
}

TEST(explain_status, names_the_number_of_an_unknown_status) {
    EXPECT_THAT(explain_status(99, nullptr, "x"), HasSubstr("status 99"));
    EXPECT_THAT(explain_status(4294967295U, nullptr, "x"), HasSubstr("status 4294967295"));
}

TEST(explain_status, shows_no_raw_control_bytes_of_the_value) {
    EXPECT_EQ(explain_status(service_status::too_long, nullptr, "\x1b[0m"),
              "\"\\x1b[0m\" is too long");
}

TEST(why_not_encodable, allows_everything_but_a_newline_in_values) {
    for (const char* const text :
         {"UEFI", "", "Rack 7, Größe", "a\"b", "a\\b", "\ta\r", "\x1b\xff"}) {
        EXPECT_EQ(why_not_encodable(text, text_part::value), "") << text;
    }
    EXPECT_EQ(why_not_encodable("a\nb", text_part::value),
              "contains a newline, which a request to the settings service cannot contain");
}

TEST(why_not_encodable, allows_no_white_space_in_names) {
    EXPECT_EQ(why_not_encodable("Boot.A\"\\\x1b", text_part::name), "");
    EXPECT_THAT(why_not_encodable("a b", text_part::name), HasSubstr("a space"));
    for (const char* const text : {"a\tb", "a\vb", "a\fb", "a\rb"}) {
        EXPECT_THAT(why_not_encodable(text, text_part::name), HasSubstr("white space")) << text;
    }
}

}  // namespace
}  // namespace dpctl
