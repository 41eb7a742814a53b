#include "service_api/server_answer.hpp"

#include <gtest/gtest.h>

namespace {

using dp_service::server_answer;

TEST(server_answer_test, the_text_of_a_failure_is_its_reason) {
    EXPECT_EQ((server_answer{56, "the disk is full", {"kept 1 value"}}.text()), "the disk is full");
}

TEST(server_answer_test, the_text_of_success_is_its_report) {
    EXPECT_EQ(server_answer{}.text(), "");
    EXPECT_EQ((server_answer{0, "", {"one", "two"}}.text()), "one\ntwo");
}

}  // namespace
