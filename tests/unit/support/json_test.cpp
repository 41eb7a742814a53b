#include "support/json.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

namespace {

using dp_support::json_kind;
using dp_support::json_layout;
using dp_support::json_value;
using dp_support::parse_json;

TEST(parse_json, returns_kinds_texts_and_numbers) {
    const auto document = parse_json(
        R"({"a": null, "b": true, "c": -7, "d": 1.5, "e": "x\ny", "f": [1, [], {}], "g": 18446744073709551616})");
    ASSERT_EQ(document.error, "");
    const auto& root = document.root;
    EXPECT_EQ(root.kind, json_kind::object);
    EXPECT_EQ(root.find("a")->kind, json_kind::null);
    EXPECT_TRUE(root.find("b")->truth);
    EXPECT_EQ(root.find("c")->integer, -7);
    EXPECT_EQ(root.find("c")->text, "-7");
    EXPECT_EQ(root.find("d")->kind, json_kind::real);
    EXPECT_EQ(root.find("d")->text, "1.5");
    EXPECT_EQ(root.find("e")->text, "x\ny");
    ASSERT_EQ(root.find("f")->items.size(), 3U);
    EXPECT_EQ(root.find("f")->items[0].integer, 1);
    EXPECT_EQ(root.find("f")->items[1].kind, json_kind::array);
    EXPECT_EQ(root.find("f")->items[2].kind, json_kind::object);
    EXPECT_EQ(root.find("g")->kind, json_kind::real);
    EXPECT_EQ(root.find("nothing"), nullptr);
}

TEST(parse_json, returns_numbers_beyond_64_bits_as_real_numbers_with_their_digits) {
    const auto document = parse_json("[9223372036854775807, 9223372036854775808]");
    EXPECT_EQ(document.root.items[0].kind, json_kind::integer);
    EXPECT_EQ(document.root.items[1].kind, json_kind::real);
    EXPECT_EQ(document.root.items[1].text, "9223372036854775808");
}

TEST(parse_json, returns_the_offset_of_every_value) {
    const std::string text =
        "\xEF\xBB\xBF{\n"
        "  \"first\" : 12,\n"
        "  \"list\":[3,-4.5 ,\"five\",true,\n"
        "null],\"last\":{\"inner\":0}}";
    const auto document = parse_json(text);
    ASSERT_EQ(document.error, "");
    const auto& root = document.root;
    EXPECT_EQ(text.substr(root.offset, 1), "{");
    EXPECT_EQ(text.substr(root.find("first")->offset, 3), "12,");
    const auto& list = *root.find("list");
    EXPECT_EQ(text.substr(list.offset, 2), "[3");
    EXPECT_EQ(text.substr(list.items[0].offset, 1), "3");
    EXPECT_EQ(text.substr(list.items[1].offset, 4), "-4.5");
    EXPECT_EQ(text.substr(list.items[2].offset, 6), "\"five\"");
    EXPECT_EQ(text.substr(list.items[3].offset, 4), "true");
    EXPECT_EQ(text.substr(list.items[4].offset, 4), "null");
    EXPECT_EQ(text.substr(root.find("last")->offset, 2), "{\"");
    EXPECT_EQ(text.substr(root.find("last")->find("inner")->offset, 1), "0");
}

TEST(parse_json, finds_the_last_of_repeated_members_and_reports_the_others) {
    const auto document = parse_json(R"({"b":1,"a":1,"b":2,"b":3})");
    EXPECT_EQ(document.root.find("b")->integer, 3);
    const auto repeated = document.root.repeated_members();
    ASSERT_EQ(repeated.size(), 2U);
    EXPECT_EQ(repeated[0]->integer, 2);
    EXPECT_EQ(repeated[1]->integer, 3);
}

TEST(parse_json, returns_the_offset_of_an_error) {
    const std::string text = "{\n \"a\": tru\n}";
    const auto document = parse_json(text);
    EXPECT_NE(document.error, "");
    EXPECT_GT(document.error_offset, text.find('\n'));
    EXPECT_LT(document.error_offset, text.rfind('\n') + 1);
    for (const std::string hostile :
         {"", " ", "{", "[1,]", "{\"a\"}", "nul", "\"\xC3(\"", "\"open", "1 2", "{} x", "[1]]",
          "\"\\ud800\"", "\x01", "-", "1e", "\xFF\xFE{\0}\0"}) {
        const auto broken = parse_json(hostile);
        EXPECT_NE(broken.error, "") << hostile;
        EXPECT_LE(broken.error_offset, hostile.size()) << hostile;
    }
}

TEST(parse_json, refuses_nesting_beyond_its_limit) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    EXPECT_EQ(parse_json(nested(dp_support::json_depth_limit)).error, "");
    EXPECT_NE(parse_json(nested(dp_support::json_depth_limit + 1)).error, "");
    const auto bomb = parse_json(std::string(5'000'000, '['));
    EXPECT_NE(bomb.error.find("deeper"), std::string::npos) << bomb.error;
    std::string objects;
    for (int i = 0; i < 100'000; ++i) {
        objects += "{\"a\":";
    }
    EXPECT_NE(parse_json(objects).error, "");
}

TEST(parse_json, refuses_more_values_than_its_limit) {
    std::string text = "[0";
    for (std::size_t i = 0; i < dp_support::json_value_limit; ++i) {
        text += ",0";
    }
    text += ']';
    EXPECT_NE(parse_json(text).error.find("values"), std::string::npos);
}

TEST(to_text, writes_every_kind_on_one_line) {
    auto value = json_value::object({{"null", nullptr},
                                     {"boolean", true},
                                     {"integer", -7},
                                     {"real", 0.5},
                                     {"text", "x"},
                                     {"missing", std::optional<int>()},
                                     {"given", std::optional<int>(5)},
                                     {"texts", std::vector<std::string>{"a", "b"}}});
    value.set("array", json_value::array()).push_back(json_value::object());
    EXPECT_EQ(to_text(value, json_layout::one_line),
              R"({"null":null,"boolean":true,"integer":-7,"real":0.5,"text":"x","missing":null,)"
              R"("given":5,"texts":["a","b"],"array":[{}]})");
}

TEST(to_text, indents_by_two_spaces) {
    auto value = json_value::object({{"empty", json_value::array()}});
    value.set("list", json_value::array()).push_back(json_value::object({{"a", 1}, {"b", 2}}));
    EXPECT_EQ(to_text(value, json_layout::indented),
              "{\n  \"empty\": [],\n  \"list\": [\n    {\n      \"a\": 1,\n      \"b\": 2\n    }\n"
              "  ]\n}");
    EXPECT_EQ(to_text(json_value::object(), json_layout::indented), "{}");
}

TEST(to_text, agrees_with_another_writer) {
    const std::string bytes =
        "\"\\/\b\f\n\r\t\x01\x1f\x7f \u00fc\u20ac\U0001f642 \xff\xc3( \xed\xa0\x80";
    for (const double number : {0.0, -0.0, 1.0, 6.000123, 1e-7, 0.1 + 0.2, 1e22, 123456789.125}) {
        const auto value = json_value::object({{bytes, bytes}, {"number", number}});
        const nlohmann::ordered_json expected = {{bytes, bytes}, {"number", number}};
        const auto replace = nlohmann::ordered_json::error_handler_t::replace;
        EXPECT_EQ(to_text(value, json_layout::one_line), expected.dump(-1, ' ', false, replace));
        EXPECT_EQ(to_text(value, json_layout::indented), expected.dump(2, ' ', false, replace));
    }
}

TEST(json_value, keeps_the_order_of_members_when_they_are_set_again) {
    auto value = json_value::object({{"a", 1}, {"b", 2}});
    value.set("a", 3);
    value.merge(json_value::object({{"c", 4}, {"b", 5}}));
    EXPECT_EQ(to_text(value, json_layout::one_line), R"({"a":3,"b":5,"c":4})");
}

TEST(to_text, keeps_the_digits_of_a_real_number_that_was_parsed) {
    const std::string text = "[18446744073709551615,-9223372036854775809,1.10,2.5e-3]";
    EXPECT_EQ(dp_support::to_text(parse_json(text).root, json_layout::one_line), text);
}

}  // namespace
