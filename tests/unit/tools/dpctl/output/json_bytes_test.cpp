#include "tools/dpctl/output/json_bytes.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace dpctl {
namespace {

using dp_support::json_layout;
using dp_support::json_value;

std::string with_bytes(json_value document) {
    add_bytes(document);
    return to_text(document, json_layout::one_line);
}

TEST(add_bytes, changes_no_document_of_utf8) {
    EXPECT_EQ(with_bytes(json_value::object({{"name", "Größe\x1b"}, {"value", nullptr}})),
              R"({"name":"Größe\u001b","value":null})");
}

TEST(add_bytes, adds_the_bytes_of_texts) {
    EXPECT_EQ(with_bytes(json_value::object({{"value", "a\xff"}, {"next", 1}})),
              "{\"value\":\"a\ufffd\",\"next\":1,\"value_bytes\":\"61ff\"}");
}

TEST(add_bytes, adds_a_list_for_the_texts_of_a_list) {
    EXPECT_EQ(with_bytes(json_value::object({{"choices", std::vector<std::string>{"a", "\x80"}}})),
              "{\"choices\":[\"a\",\"\ufffd\"],\"choices_bytes\":[null,\"80\"]}");
}

TEST(add_bytes, reaches_objects_in_lists) {
    json_value list = json_value::array();
    list.push_back(json_value::object({{"value", "\xff"}}));
    EXPECT_EQ(with_bytes(json_value::object({{"settings", std::move(list)}})),
              "{\"settings\":[{\"value\":\"\ufffd\",\"value_bytes\":\"ff\"}]}");
}

}  // namespace
}  // namespace dpctl
