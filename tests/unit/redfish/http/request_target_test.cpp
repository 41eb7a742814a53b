#include "redfish/http/request_target.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using dp_redfish::request_target;
using members = std::vector<std::pair<std::string, std::string>>;

std::string path_of(const std::string& text) {
    const auto target = request_target::parse(text);
    return target ? target->path : "(" + target.reason() + ")";
}

TEST(request_target, has_a_path_and_no_query_as_most_requests) {
    const auto target = request_target::parse("/redfish/v1/Systems");
    ASSERT_TRUE(target);
    EXPECT_EQ(target->path, "/redfish/v1/Systems");
    EXPECT_TRUE(target->query.empty());
    EXPECT_EQ(target->authority, "");
}

TEST(request_target, decodes_the_path) {
    EXPECT_EQ(path_of("/a%20b/%C3%a9%7Ec+d"), "/a b/\xC3\xA9~c+d");
    EXPECT_EQ(path_of("/"), "/");
    EXPECT_EQ(path_of("/a//b/"), "/a//b/");
}

TEST(request_target, decodes_the_query_in_its_order) {
    const auto target =
        request_target::parse("/a?$select=Name,Id&b+c=%26%3D+%2B&&flag&x==y&$select=2");
    ASSERT_TRUE(target);
    EXPECT_EQ(
        target->query,
        (members{
            {"$select", "Name,Id"}, {"b c", "&= +"}, {"flag", ""}, {"x", "=y"}, {"$select", "2"}}));
}

TEST(request_target, may_have_a_scheme_and_a_host) {
    const auto target = request_target::parse("HTTPS://host:8443/a?b=c");
    ASSERT_TRUE(target);
    EXPECT_EQ(target->authority, "host:8443");
    EXPECT_EQ(target->path, "/a");
    EXPECT_EQ(target->query, (members{{"b", "c"}}));
    EXPECT_EQ(path_of("http://host"), "/");
    EXPECT_EQ(path_of("http://host?a"), "/");
}

TEST(request_target, refuses_every_way_out_of_a_folder) {
    for (const char* const text :
         {"/..", "/../a", "/a/..", "/a/../b", "/.", "/./a", "/a/.", "/%2e%2e/a", "/a/%2E", "/.%2e/",
          "/a%2fb", "/a%2Fb", "/a%5cb", "/a\\..\\b", "http://host/../a"}) {
        EXPECT_FALSE(request_target::parse(text)) << text;
    }
    EXPECT_EQ(path_of("/..a/b..c/...//"), "/..a/b..c/...//");
}

TEST(request_target, refuses_what_is_no_target) {
    for (const char* const text : {"", "*", "a", "host:443", "ftp://host/a", "http://", "http:///a",
                                   "://host/", "/a#b", "/a b", "/a\x80", "/a\x7f"}) {
        EXPECT_FALSE(request_target::parse(text)) << text;
    }
}

TEST(request_target, refuses_wrong_encodings) {
    for (const char* const text :
         {"/%", "/%4", "/%4g", "/%g4", "/a?%", "/a?b=%zz", "/%00", "/a?b=%00", "/%0a",
          "/a?%0d%0a=b", "/%7f", "/%ff", "/a?b=%c3", "/%c0%af", "/%ed%a0%80"}) {
        EXPECT_FALSE(request_target::parse(text)) << text;
    }
}

}  // namespace
