#include "redfish/protocol/request_body.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <variant>

namespace {

using dp_redfish::answer;
using dp_redfish::http_request;
using dp_redfish::read_request_body;

http_request with_body(std::string body, const char* type = "application/json") {
    http_request request;
    request.method = "PATCH";
    request.body = std::move(body);
    if (*type != '\0') {
        request.headers["content-type"] = type;
    }
    return request;
}

// The status and the first message; 0 if the body is good.
std::pair<unsigned, std::string> verdict(const http_request& request) {
    const auto result = read_request_body(request);
    const auto* const error = std::get_if<answer>(&result);
    if (error == nullptr) {
        return {0, ""};
    }
    const auto& first = error->body.find("error")->find("@Message.ExtendedInfo")->items.front();
    const std::string id = first.find("MessageId")->text;
    return {error->status, id.substr(id.rfind('.') + 1)};
}

TEST(read_request_body, accepts_an_object) {
    EXPECT_EQ(verdict(with_body("{\"a\": {\"b\": [1, {}]}}")).first, 0U);
    EXPECT_EQ(verdict(with_body("{}", "Application/JSON ; charset=utf-8")).first, 0U);
    EXPECT_EQ(verdict(with_body("{}", "")).first, 0U);
}

TEST(read_request_body, refuses_another_media_type) {
    EXPECT_EQ(verdict(with_body("{}", "text/plain")).first, 415U);
    EXPECT_EQ(verdict(with_body("{}", "application/json;charset=latin1")).first, 415U);
    EXPECT_EQ(verdict(with_body("a=b", "application/x-www-form-urlencoded")).first, 415U);
}

TEST(read_request_body, refuses_what_is_not_json) {
    const std::pair malformed(400U, std::string("MalformedJSON"));
    for (const std::string text :
         {"", "{", "{\"a\":1,}", "{'a':1}", "{\"a\":1} x", "{\"a\": \"\xff\"}", "{\"a\": NaN}"}) {
        EXPECT_EQ(verdict(with_body(text)), malformed) << text;
    }
    EXPECT_EQ(verdict(with_body("{\"a\":" + std::string(100'000, '['))), malformed);
}

TEST(read_request_body, refuses_what_is_not_an_object) {
    for (const char* const text : {"[]", "1", "\"a\"", "null"}) {
        EXPECT_EQ(verdict(with_body(text)).second, "UnrecognizedRequestBody") << text;
    }
}

TEST(read_request_body, reports_every_repeated_member_with_its_place) {
    const auto result =
        read_request_body(with_body("{\"a\": 1, \"x\": [{\"b/c\": 1, \"b/c\": 2}], \"a\": 2}"));
    const auto* const error = std::get_if<answer>(&result);
    ASSERT_NE(error, nullptr);
    const auto& list = error->body.find("error")->find("@Message.ExtendedInfo")->items;
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].find("RelatedProperties")->items.front().text, "/a");
    EXPECT_EQ(list[1].find("RelatedProperties")->items.front().text, "/x/0/b~1c");
}

TEST(read_request_body, takes_a_missing_body_of_an_action_as_empty) {
    auto request = with_body("", "");
    request.method = "POST";
    EXPECT_EQ(verdict(request).first, 0U);
}

}  // namespace
