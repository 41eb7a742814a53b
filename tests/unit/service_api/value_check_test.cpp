#include "service_api/value_check.hpp"

#include <gtest/gtest.h>

#include <string>

#include "service_api/service_status.hpp"
#include "service_api/template_flags.hpp"
#include "tests/support/sample_attribute.hpp"

namespace dp_service {
namespace {

std::int32_t check(const dp_attribute& attribute, const std::string& value) {
    return check_value(attribute, "", value);
}

TEST(check_value, accepts_only_the_choices_of_an_enumeration) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_ENUMERATION);
    attribute.chc = "Legacy,UEFI,A\\,B";
    attribute.dft = "Legacy";
    for (const char* const value : {"Legacy", "UEFI", "A,B"}) {
        EXPECT_EQ(check(attribute, value), 0) << value;
    }
    for (const char* const value : {"", "uefi", "UEF", "UEFI,Other"}) {
        EXPECT_EQ(check(attribute, value), service_status::not_a_choice) << value;
    }
    attribute.chc = "";
    EXPECT_EQ(check(attribute, "anything"), 0) << "the choices are not known";
}

TEST(check_value, leaves_the_order_of_a_selection_to_the_service) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_ENUMERATION);
    attribute.chc = "Disk,Net,Usb";
    attribute.dft = "Disk,Net";
    for (const char* const value :
         {"Net,Disk", "Usb", "[value='Net',order='1'],[value='Disk',order='2']"}) {
        EXPECT_EQ(check(attribute, value), 0) << value;
    }
    for (const char* const value : {"Net,Tape", "[value='Tape',order='1']"}) {
        EXPECT_EQ(check(attribute, value), service_status::not_a_choice) << value;
    }
}

TEST(check_value, does_not_measure_a_selection_as_a_text) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_STRING);
    attribute.dft = "Disk,Net";
    attribute.maxc = 8;
    EXPECT_EQ(check(attribute, "[value='Net',order='1'],[value='Disk',order='2']"), 0);
    EXPECT_EQ(check(attribute, "Net,Disk,Usb"), 0);
}

TEST(check_value, checks_range_and_step_of_a_number) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_NUMERIC);
    attribute.min = 10;
    attribute.max = 30;
    attribute.stp = 5;
    attribute.dft = "99";
    EXPECT_EQ(check(attribute, "15"), 0);
    EXPECT_EQ(check(attribute, "31"), service_status::out_of_range);
    EXPECT_EQ(check(attribute, "16"), service_status::not_a_step);
    EXPECT_EQ(check(attribute, "ten"), service_status::not_a_number);
    EXPECT_EQ(check(attribute, "099"), 0) << "the default is accepted outside its own limits";
}

TEST(check_value, checks_length_and_pattern_of_a_text) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_STRING);
    attribute.minc = 2;
    attribute.maxc = 4;
    attribute.reg = "^[A-Zä]*$";
    attribute.dft = "";
    EXPECT_EQ(check(attribute, "ABCD"), 0);
    EXPECT_EQ(check(attribute, "ääää"), 0) << "characters, not bytes";
    EXPECT_EQ(check(attribute, "A"), service_status::too_short);
    EXPECT_EQ(check(attribute, "ABCDE"), service_status::too_long);
    EXPECT_EQ(check(attribute, "abc"), service_status::pattern_mismatch);
    EXPECT_EQ(check(attribute, ""), 0) << "the default";
}

TEST(check_value, leaves_a_pattern_that_needs_too_much_work_to_the_service) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_STRING);
    attribute.reg = "^(a+)+$";
    attribute.dft = "-";
    EXPECT_EQ(check(attribute, std::string(40, 'a') + 'b'), 0);
}

TEST(check_value, refuses_every_value_of_a_read_only_attribute) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_NO_RANGE);
    EXPECT_EQ(check(attribute, "anything"), 0);
    attribute.flg = dp_service::template_flags::read_only;
    EXPECT_EQ(check(attribute, "anything"), service_status::read_only);
}

TEST(check_value, accepts_only_instances_that_the_attribute_can_have) {
    dp_attribute attribute = test::sample_attribute("A", DP_TYPE_NO_RANGE);
    EXPECT_EQ(check_value(attribute, "", "v"), 0);
    EXPECT_EQ(check_value(attribute, "1", "v"), service_status::bad_instance);
    attribute.mni = 1;
    attribute.mxi = 12;
    for (const char* const instance : {"1", "12"}) {
        EXPECT_EQ(check_value(attribute, instance, "v"), 0) << instance;
    }
    for (const char* const instance : {"", "0", "13", "01", "1x", "-1"}) {
        EXPECT_EQ(check_value(attribute, instance, "v"), service_status::bad_instance) << instance;
    }
    attribute.mni = 0;
    EXPECT_EQ(check_value(attribute, "0", "v"), 0);
}

}  // namespace
}  // namespace dp_service
