#include "service_api/request_protocol.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using dp_service::request_protocol::message;
using dp_service::request_protocol::request_header;

TEST(request_header, survives_being_written_and_parsed) {
    const request_header plain{"restart", 0, ""};
    EXPECT_EQ(plain.line(), "dp1 restart 0");
    const request_header planned{"batch", 12, "0123abcd"};
    EXPECT_EQ(planned.line(), "dp1 batch 12 pending=0123abcd");
    const request_header for_eve{"restart", 0, "", "eve"};
    EXPECT_EQ(for_eve.line(), "dp1 restart 0 for=eve");
    const request_header both{"batch", 12, "0123abcd", std::string(64, '~')};
    EXPECT_EQ(both.line(), "dp1 batch 12 pending=0123abcd for=" + std::string(64, '~'));
    for (const auto& header : {plain, planned, for_eve, both}) {
        const auto parsed = request_header::parse(header.line());
        ASSERT_TRUE(parsed);
        EXPECT_EQ(parsed->kind, header.kind);
        EXPECT_EQ(parsed->length, header.length);
        EXPECT_EQ(parsed->planned_on, header.planned_on);
        EXPECT_EQ(parsed->on_behalf_of, header.on_behalf_of);
    }
}

TEST(request_header, is_nothing_else) {
    for (const char* line : {"",
                             "dp1",
                             "dp1 batch",
                             "dp1 batch ",
                             "dp1  12",
                             "dp2 batch 12",
                             "dp1 batch x",
                             "dp1 batch -1",
                             "dp1 batch 99999999999",
                             "dp1 batch 12 ",
                             "dp1 batch 12 pending=",
                             "dp1 batch 12 pending=a b",
                             "dp1 batch 12 other=a",
                             "dp1 ba\tch 12",
                             " dp1 batch 12",
                             "dp1 batch 12x",
                             "dp1 batch 12 for=",
                             "dp1 batch 12 for=a ",
                             "dp1 batch 12 for=a,b",
                             "dp1 batch 12 for=a\tb",
                             "dp1 batch 12 for=a for=b",
                             "dp1 batch 12 pending=a pending=b"}) {
        EXPECT_FALSE(request_header::parse(line)) << line;
    }
    EXPECT_FALSE(request_header::parse("dp1 batch 1 pending=" + std::string(300, 'a')));
    EXPECT_FALSE(request_header::parse("dp1 batch 1 for=" + std::string(65, 'a')));
}

TEST(is_person, accepts_one_short_word) {
    using dp_service::request_protocol::is_person;
    for (const char* name : {"eve", "e", "eve@example.org", "<eve>", "d\\eve"}) {
        EXPECT_TRUE(is_person(name)) << name;
    }
    EXPECT_TRUE(is_person(std::string(64, 'a')));
    for (const char* name : {"", "a b", "a,b", "a\n", "\x7F", "\xC3\xA9"}) {
        EXPECT_FALSE(is_person(name)) << name;
    }
    EXPECT_FALSE(is_person(std::string(65, 'a')));
}

TEST(message, survives_being_written_and_parsed) {
    const message messages[] = {
        {message::kinds::waiting, 3, 0},         {message::kinds::ready, 0, 0},
        {message::kinds::progress, 1, 400},      {message::kinds::dependent, 2, 180},
        {message::kinds::answer, 0, 4294967295}, {message::kinds::refused, 57, 2}};
    for (const message& each : messages) {
        const auto parsed = message::parse(each.line());
        ASSERT_TRUE(parsed) << each.line();
        EXPECT_EQ(parsed->kind, each.kind);
        EXPECT_EQ(parsed->first, each.first);
        EXPECT_EQ(parsed->second, each.second);
    }
    EXPECT_EQ(messages[2].line(), "progress 1 400");
}

TEST(message, is_nothing_else) {
    for (const char* line : {"", "ready 1", "ready ", "waiting", "waiting x", "waiting 1 2",
                             "progress 1", "answer 0 4294967296", "answer 0 1 ", "Ready"}) {
        EXPECT_FALSE(message::parse(line)) << line;
    }
}

}  // namespace
