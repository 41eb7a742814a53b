#include "tools/dpctl/changes/setting_values.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace dpctl {
namespace {

reading known_value(const std::string& text) {
    return {true, false, text};
}

TEST(pair_up, marks_settings_whose_values_differ) {
    const auto values = pair_up({known_value("a"), known_value("b"), known_value("c"), reading{}},
                                {known_value("a"), known_value("x"), reading{}, known_value("d")});
    ASSERT_EQ(values.size(), 4U);
    EXPECT_FALSE(values[0].waits_for_restart);
    EXPECT_TRUE(values[1].waits_for_restart);
    EXPECT_TRUE(values[2].waits_for_restart);
    EXPECT_TRUE(values[3].waits_for_restart);
    EXPECT_EQ(values[1].pending, known_value("b"));
    EXPECT_EQ(values[1].current, known_value("x"));
}

TEST(pair_up, marks_nothing_without_any_current_value) {
    for (const auto& value :
         pair_up({known_value("a"), known_value("b")}, {reading{}, reading{}})) {
        EXPECT_FALSE(value.waits_for_restart);
    }
    EXPECT_TRUE(pair_up({}, {}).empty());
}

TEST(value_text, tells_no_value_an_empty_one_and_a_cut_one_apart) {
    EXPECT_EQ(value_text(reading{}), "-");
    EXPECT_EQ(value_text(known_value("")), "\"\"");
    EXPECT_EQ(value_text(known_value("UEFI")), "UEFI");
    EXPECT_EQ(value_text({true, true, "long"}), "long…(cut)");
}

TEST(value_json, tells_no_value_and_an_empty_one_apart) {
    EXPECT_EQ(value_json(reading{}).dump(), "null");
    EXPECT_EQ(value_json(known_value("")).dump(), R"("")");
    EXPECT_EQ(value_json({true, true, "long"}).dump(), R"("long")");
}

TEST(add_values, says_when_a_value_was_cut) {
    nlohmann::ordered_json object;
    add_values(object, {known_value("a"), {true, true, "b"}, true});
    EXPECT_EQ(object.dump(),
              R"({"pending":"a","current":"b","truncated":true,"pending_restart":true})");
    add_values(object, {known_value("a"), reading{}, false});
    EXPECT_EQ(object.dump(),
              R"({"pending":"a","current":null,"truncated":false,"pending_restart":false})");
}

}  // namespace
}  // namespace dpctl
