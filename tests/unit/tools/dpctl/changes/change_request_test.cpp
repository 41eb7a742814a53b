#include "tools/dpctl/changes/change_request.hpp"

#include <gmock/gmock.h>

#include <string>

namespace dpctl {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using states = dp_service::settings_client::states;

std::string why(const std::string& name, const std::string& value) {
    setting_change change;
    change.name = name;
    change.value = value;
    return why_not_requestable(change);
}

TEST(why_not_requestable, names_the_part_and_the_character) {
    EXPECT_EQ(why("Boot.Mode", "\"a\\b\"\t"), "");
    EXPECT_THAT(why("Boot.A B", "v"), StartsWith("the name contains a space"));
    EXPECT_THAT(why("Boot.Mode", std::string("a\0b", 3)), HasSubstr("contains a null character"));
    EXPECT_THAT(why("Boot.Mode", "a\nb"), StartsWith("the value \"a\\x0ab\" contains a newline"));
}

TEST(why_not_requestable, refuses_a_value_that_does_not_fit_a_line) {
    EXPECT_EQ(why("Boot.Mode", std::string(60'000, 'x')), "");
    EXPECT_THAT(why("Boot.Mode", std::string(65'000, 'x')), HasSubstr("is longer than"));
    EXPECT_THAT(why("Boot.Mode", std::string(40'000, '"')), HasSubstr("is longer than"))
        << "each quote needs two bytes";
}

request_end ended(states state) {
    return {state, 0};
}

TEST(request_end, is_dropped_unless_it_was_answered_or_may_have_been_executed) {
    EXPECT_FALSE(ended(states::answered).is_dropped());
    EXPECT_FALSE(ended(states::unanswered).is_dropped());
    EXPECT_TRUE(ended(states::refused).is_dropped());
    EXPECT_TRUE(ended(states::withdrawn).is_dropped());
    EXPECT_TRUE(ended(states::no_service).is_dropped());
}

TEST(request_end, has_a_word_for_every_state) {
    EXPECT_STREQ(ended(states::answered).word(), "answered");
    EXPECT_STREQ(ended(states::refused).word(), "refused");
    EXPECT_STREQ(ended(states::withdrawn).word(), "withdrawn");
    EXPECT_STREQ(ended(states::no_service).word(), "no_service");
    EXPECT_STREQ(ended(states::unanswered).word(), "unanswered");
}

}  // namespace
}  // namespace dpctl
