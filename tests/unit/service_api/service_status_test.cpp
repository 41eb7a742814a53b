#include "service_api/service_status.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "transactions/command_status.hpp"

namespace {

namespace service_status = dp_service::service_status;
using service_status::explanation;

TEST(explanation_test, says_why_a_command_failed) {
    EXPECT_EQ(explanation(service_status::read_only), "it is read-only");
    EXPECT_EQ(explanation(dp::command_status::success), "done");
    EXPECT_EQ(explanation(dp::command_status::unresolved),
              "the settings service knows no setting of that name");
}

TEST(explanation_test, begins_with_the_value_where_it_is_about_the_value) {
    EXPECT_EQ(explanation(service_status::out_of_range), "the value is out of range");
    EXPECT_EQ(explanation(service_status::out_of_range, "\"9\""), "\"9\" is out of range");
    EXPECT_TRUE(service_status::is_about_value(service_status::out_of_range));
    EXPECT_TRUE(service_status::is_about_value(dp::command_status::value_not_mapped));
    EXPECT_FALSE(service_status::is_about_value(service_status::read_only));
}

TEST(explanation_test, differs_for_every_status) {
    std::set<std::string> texts;
    std::size_t count = 0;
    for (const std::int32_t status : {0,  16, 17, 18, 19, 21, 32, 224, 226, 255, 48,
                                      49, 50, 51, 52, 53, 54, 55, 56,  57,  58,  59}) {
        texts.insert(explanation(status));
        ++count;
    }
    EXPECT_EQ(texts.size(), count);
    EXPECT_FALSE(texts.contains(""));
}

TEST(explanation_test, is_empty_for_an_unknown_status) {
    EXPECT_EQ(explanation(99), "");
    EXPECT_EQ(explanation(-1), "");
    EXPECT_FALSE(service_status::is_about_value(99));
}

}  // namespace
