#include "service_api/registry_value.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/support/registry_values.hpp"

namespace {

using dp_service::registry_condition;
using dp_service::registry_value;
using test::number_value;
using test::text_value;

bool check(const char* condition, const registry_value& left, const registry_value& right) {
    return dp_service::holds(*dp_service::registry_condition_named(condition), left, right);
}

TEST(registry_condition, is_found_by_its_name) {
    EXPECT_EQ(dp_service::registry_condition_named("GEQ"), registry_condition::greater_or_equal);
    EXPECT_EQ(dp_service::registry_condition_named("BITOR"), registry_condition::any_bits);
    EXPECT_FALSE(dp_service::registry_condition_named("equ"));
    EXPECT_FALSE(dp_service::registry_condition_named(""));
}

TEST(registry_condition, orders_numbers_by_value) {
    for (const auto& [name, less, same, more] :
         std::vector<std::tuple<const char*, bool, bool, bool>>{{"EQU", false, true, false},
                                                                {"NEQ", true, false, true},
                                                                {"GTR", false, false, true},
                                                                {"GEQ", false, true, true},
                                                                {"LSS", true, false, false},
                                                                {"LEQ", true, true, false}}) {
        EXPECT_EQ(check(name, number_value(-2), number_value(10)), less) << name;
        EXPECT_EQ(check(name, number_value(10), number_value(10)), same) << name;
        EXPECT_EQ(check(name, number_value(11), number_value(10)), more) << name;
        EXPECT_EQ(check(name, 9.5, number_value(10)), less) << name;
        EXPECT_EQ(check(name, 10.0, number_value(10)), same) << name;
        EXPECT_EQ(check(name, text_value("9"), number_value(10)), less) << name;
        EXPECT_EQ(check(name, text_value("010"), number_value(10)), same) << name;
        EXPECT_EQ(check(name, false, true), less) << name;
        EXPECT_EQ(check(name, text_value("TRUE"), true), same) << name;
    }
    EXPECT_TRUE(check("LSS", text_value("9"), text_value("10")));
    EXPECT_TRUE(check("GTR", text_value("b"), text_value("abc")));
    EXPECT_TRUE(check("EQU", number_value(9223372036854775807), text_value("9223372036854775807")));
    EXPECT_FALSE(
        check("EQU", number_value(9223372036854775806), number_value(9223372036854775807)));
}

TEST(registry_condition, compares_texts_byte_by_byte) {
    EXPECT_TRUE(check("EQU", text_value("Custom"), text_value("Custom")));
    EXPECT_FALSE(check("EQU", text_value("Custom"), text_value("custom")));
    EXPECT_FALSE(check("EQU", text_value("1"), text_value("01")));
    EXPECT_TRUE(check("NEQ", text_value("True"), text_value("true")));
}

TEST(registry_condition, does_not_order_values_of_kinds_that_cannot_be_compared) {
    const registry_value null;
    for (const registry_value& other :
         {registry_value(true), number_value(0), text_value(""), text_value("x")}) {
        EXPECT_FALSE(check("EQU", null, other));
        EXPECT_TRUE(check("NEQ", null, other));
        for (const char* order : {"GTR", "GEQ", "LSS", "LEQ"}) {
            EXPECT_FALSE(check(order, null, other)) << order;
            EXPECT_FALSE(check(order, other, null)) << order;
        }
    }
    EXPECT_TRUE(check("EQU", null, null));
    EXPECT_FALSE(check("LSS", text_value("x"), number_value(3)));
    EXPECT_FALSE(check("GEQ", text_value("x"), true));
    EXPECT_FALSE(check("EQU", number_value(1), true));
}

TEST(registry_condition, tests_bits_of_whole_numbers) {
    EXPECT_TRUE(check("BITAND", number_value(6), number_value(2)));
    EXPECT_FALSE(check("BITAND", number_value(6), number_value(1)));
    EXPECT_TRUE(check("BITAND", text_value("6"), number_value(4)));
    EXPECT_TRUE(check("BITOR", number_value(0), number_value(1)));
    EXPECT_FALSE(check("BITOR", number_value(0), number_value(0)));
    EXPECT_TRUE(check("BITAND", 18446744073709549568.0, number_value(4096)));
    EXPECT_FALSE(check("BITAND", 6.5, number_value(2)));
    EXPECT_FALSE(check("BITOR", text_value("x"), number_value(2)));
    EXPECT_FALSE(check("BITOR", registry_value(), number_value(2)));
    EXPECT_FALSE(check("BITAND", true, number_value(1)));
}

TEST(setting_text, is_the_text_of_a_settings_file) {
    EXPECT_EQ(dp_service::setting_text(true), "True");
    EXPECT_EQ(dp_service::setting_text(false), "False");
    EXPECT_EQ(dp_service::setting_text(number_value(-12)), "-12");
    EXPECT_EQ(dp_service::setting_text(1.5), "1.5");
    EXPECT_EQ(dp_service::setting_text(text_value("x y")), "x y");
    EXPECT_EQ(dp_service::setting_text(registry_value()), "");
}

}  // namespace
