#include "tools/dpctl/values/setting_values.hpp"

#include <gtest/gtest.h>

namespace dpctl {
namespace {

using dp_support::json_layout;
using dp_support::json_value;

std::string written(const json_value& value) {
    return to_text(value, json_layout::one_line);
}

reading known_value(const std::string& text) {
    return {true, false, text};
}

TEST(combine, marks_settings_whose_values_differ) {
    const auto values = combine({known_value("a"), known_value("b"), known_value("c"), reading{}},
                                {known_value("a"), known_value("x"), reading{}, known_value("d")});
    ASSERT_EQ(values.size(), 4U);
    EXPECT_FALSE(values[0].waits_for_restart);
    EXPECT_TRUE(values[1].waits_for_restart);
    EXPECT_TRUE(values[2].waits_for_restart);
    EXPECT_TRUE(values[3].waits_for_restart);
    EXPECT_EQ(values[1].pending, known_value("b"));
    EXPECT_EQ(values[1].current, known_value("x"));
}

TEST(combine, marks_nothing_without_any_current_value) {
    for (const auto& value :
         combine({known_value("a"), known_value("b")}, {reading{}, reading{}})) {
        EXPECT_FALSE(value.waits_for_restart);
    }
    EXPECT_TRUE(combine({}, {}).empty());
}

TEST(value_text, distinguishes_missing_empty_and_cut_values) {
    EXPECT_EQ(value_text(reading{}), "-");
    EXPECT_EQ(value_text(known_value("")), "\"\"");
    EXPECT_EQ(value_text(known_value("UEFI")), "UEFI");
    EXPECT_EQ(value_text({true, true, "long"}), "long…(cut)");
}

TEST(value_json, distinguishes_missing_and_empty_values) {
    EXPECT_EQ(written(value_json(reading{})), "null");
    EXPECT_EQ(written(value_json(known_value(""))), R"("")");
    EXPECT_EQ(written(value_json({true, true, "long"})), R"("long")");
}

TEST(add_values, marks_cut_values) {
    auto object = json_value::object();
    add_values(object, {known_value("a"), {true, true, "b"}, true});
    EXPECT_EQ(written(object),
              R"({"pending":"a","current":"b","truncated":true,"pending_restart":true})");
    add_values(object, {known_value("a"), reading{}, false});
    EXPECT_EQ(written(object),
              R"({"pending":"a","current":null,"truncated":false,"pending_restart":false})");
}

}  // namespace
}  // namespace dpctl
