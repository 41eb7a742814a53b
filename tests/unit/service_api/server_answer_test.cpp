#include "service_api/server_answer.hpp"

#include <gtest/gtest.h>

namespace {

using dp_service::server_answer;

TEST(server_answer_test, the_line_of_success_is_a_zero) {
    EXPECT_EQ((server_answer{0, ""}.line()), "0");
    EXPECT_EQ((server_answer{56, "the disk is full"}.line()), "56 the disk is full");
}

TEST(server_answer_test, parse_gives_back_status_and_reason) {
    for (const server_answer& answer :
         {server_answer{0, ""}, server_answer{57, "two  spaces "}, server_answer{57, ""}}) {
        const auto parsed = server_answer::parse(answer.line());
        ASSERT_TRUE(parsed);
        EXPECT_EQ(parsed->status, answer.status);
        EXPECT_EQ(parsed->reason, answer.reason);
    }
    EXPECT_EQ(server_answer::parse("57")->status, 57);
}

TEST(server_answer_test, parse_rejects_lines_without_a_status) {
    for (const char* line : {"", " ", "x", "x 1", " 1", "1x", "99999999999 too long"}) {
        EXPECT_FALSE(server_answer::parse(line)) << line;
    }
}

}  // namespace
