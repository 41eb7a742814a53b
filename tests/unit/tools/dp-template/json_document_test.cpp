#include "tools/dp-template/json_document.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using dp_tools::json_kind;
using dp_tools::parse_json;

std::string place_of(const std::string& text, std::size_t offset) {
    const auto place = dp_tools::text_places(text).of(offset);
    return std::to_string(place.line) + ":" + std::to_string(place.column);
}

TEST(parse_json, keeps_kinds_texts_and_numbers) {
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

TEST(parse_json, numbers_beyond_signed_64_bits_are_real_numbers_with_their_digits) {
    const auto document = parse_json("[9223372036854775807, 9223372036854775808]");
    EXPECT_EQ(document.root.items[0].kind, json_kind::integer);
    EXPECT_EQ(document.root.items[1].kind, json_kind::real);
    EXPECT_EQ(document.root.items[1].text, "9223372036854775808");
}

TEST(parse_json, every_value_knows_its_place) {
    const std::string text =
        "\xEF\xBB\xBF{\n"
        "  \"first\" : 12,\n"
        "  \"list\":[3,-4.5 ,\"five\",true,\n"
        "null],\"last\":{\"inner\":0}}";
    const auto document = parse_json(text);
    ASSERT_EQ(document.error, "");
    const auto& root = document.root;
    EXPECT_EQ(text.substr(root.offset, 1), "{");
    EXPECT_EQ(place_of(text, root.find("first")->offset), "2:13");
    const auto& list = *root.find("list");
    EXPECT_EQ(place_of(text, list.offset), "3:10");
    EXPECT_EQ(text.substr(list.items[0].offset, 1), "3");
    EXPECT_EQ(text.substr(list.items[1].offset, 4), "-4.5");
    EXPECT_EQ(text.substr(list.items[2].offset, 6), "\"five\"");
    EXPECT_EQ(text.substr(list.items[3].offset, 4), "true");
    EXPECT_EQ(place_of(text, list.items[4].offset), "4:1");
    EXPECT_EQ(text.substr(root.find("last")->offset, 2), "{\"");
    EXPECT_EQ(text.substr(root.find("last")->find("inner")->offset, 1), "0");
}

TEST(parse_json, a_repeated_member_is_told_and_the_last_one_counts) {
    const auto document = parse_json(R"({"b":1,"a":1,"b":2,"b":3})");
    EXPECT_EQ(document.root.find("b")->integer, 3);
    const auto repeated = document.root.repeated_members();
    ASSERT_EQ(repeated.size(), 2U);
    EXPECT_EQ(repeated[0]->integer, 2);
    EXPECT_EQ(repeated[1]->integer, 3);
}

TEST(parse_json, tells_where_a_text_stops_being_json) {
    const std::string text = "{\n \"a\": tru\n}";
    const auto document = parse_json(text);
    EXPECT_NE(document.error, "");
    EXPECT_EQ(place_of(text, document.error_offset).substr(0, 2), "2:");
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
    EXPECT_EQ(parse_json(nested(dp_tools::json_depth_limit)).error, "");
    EXPECT_NE(parse_json(nested(dp_tools::json_depth_limit + 1)).error, "");
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
    for (std::size_t i = 0; i < dp_tools::json_value_limit; ++i) {
        text += ",0";
    }
    text += ']';
    EXPECT_NE(parse_json(text).error.find("values"), std::string::npos);
}

TEST(text_places, counts_lines_and_bytes_from_one) {
    const std::string text = "ab\n\ncd";
    EXPECT_EQ(place_of(text, 0), "1:1");
    EXPECT_EQ(place_of(text, 2), "1:3");
    EXPECT_EQ(place_of(text, 3), "2:1");
    EXPECT_EQ(place_of(text, 5), "3:2");
    EXPECT_EQ(place_of(text, 6), "3:3");
    EXPECT_EQ(place_of("", 0), "1:1");
}

}  // namespace
