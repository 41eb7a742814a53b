#include "redfish/protocol/selection.hpp"

#include <gtest/gtest.h>

#include <string>

#include "support/json.hpp"

namespace {

std::string selected(const std::string& text, const std::vector<std::string>& names) {
    auto value = dp_support::parse_json(text).root;
    dp_redfish::select_members(value, names);
    return to_text(value, dp_support::json_layout::one_line);
}

TEST(select_members, keeps_what_identifies_the_resource) {
    EXPECT_EQ(selected(R"({"@odata.id":"/a","@odata.type":"#A","Id":"1","Name":"n"})", {"Name"}),
              R"({"@odata.id":"/a","@odata.type":"#A","Name":"n"})");
    EXPECT_EQ(selected(R"({"Id":"1"})", {"Other"}), "{}");
}

TEST(select_members, keeps_the_annotations_of_a_member) {
    EXPECT_EQ(selected(R"({"Members@odata.count":0,"Members":[],"B@x.y":1})", {"Members"}),
              R"({"Members@odata.count":0,"Members":[]})");
}

TEST(select_members, selects_within_objects_and_lists) {
    EXPECT_EQ(selected(R"({"Status":{"State":"on","Health":"ok"},"L":[{"a":1,"b":2},{"b":3}]})",
                       {"Status/Health", "L/a"}),
              R"({"Status":{"Health":"ok"},"L":[{"a":1},{}]})");
    EXPECT_EQ(selected(R"({"Status":{"State":"on"}})", {"Status/State", "Status"}),
              R"({"Status":{"State":"on"}})");
}

}  // namespace
