#include "redfish/protocol/route_table.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using dp_redfish::privileges;
using dp_redfish::route_table;
using testing::ElementsAre;
using testing::IsEmpty;

route_table table_of_three() {
    route_table routes;
    routes.add("GET", "/redfish/v1", privileges::none, {});
    routes.add("GET", "/redfish/v1/Systems/{}/Bios", privileges::login, {});
    routes.add("PATCH", "/redfish/v1/Systems/{}/Bios", privileges::configure_components, {});
    return routes;
}

TEST(route_table, finds_the_operation_and_the_open_segments) {
    const route_table routes = table_of_three();
    const auto match = routes.find("PATCH", "/redfish/v1/Systems/one/Bios");
    ASSERT_NE(match.found, nullptr);
    EXPECT_EQ(match.found->needed, privileges::configure_components);
    EXPECT_THAT(match.parameters, ElementsAre("one"));
}

TEST(route_table, ignores_a_slash_at_the_end) {
    const route_table routes = table_of_three();
    EXPECT_NE(routes.find("GET", "/redfish/v1/").found, nullptr);
    EXPECT_EQ(routes.find("GET", "/redfish/v1//").found, nullptr);
    EXPECT_EQ(routes.find("GET", "/").found, nullptr);
}

TEST(route_table, answers_head_as_get) {
    const route_table routes = table_of_three();
    EXPECT_EQ(routes.find("HEAD", "/redfish/v1").found, routes.find("GET", "/redfish/v1").found);
}

TEST(route_table, lists_the_methods_of_a_path) {
    const route_table routes = table_of_three();
    const auto match = routes.find("DELETE", "/redfish/v1/Systems/one/Bios");
    EXPECT_EQ(match.found, nullptr);
    EXPECT_THAT(match.allowed, ElementsAre("GET", "HEAD", "PATCH"));
    EXPECT_THAT(routes.find("GET", "/redfish/v1/Systems").allowed, IsEmpty());
}

TEST(route_table, needs_a_text_in_an_open_segment) {
    const route_table routes = table_of_three();
    EXPECT_THAT(routes.find("GET", "/redfish/v1/Systems//Bios").allowed, IsEmpty());
    EXPECT_THAT(routes.find("GET", "/redfish/v1/Systems/a/b/Bios").allowed, IsEmpty());
    EXPECT_THAT(routes.find("GET", "/redfish/v1/Systems/a/Bios/c").allowed, IsEmpty());
    EXPECT_THAT(routes.find("GET", "/redfish/v1x").allowed, IsEmpty());
}

}  // namespace
