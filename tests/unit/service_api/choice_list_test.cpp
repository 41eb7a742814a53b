#include "service_api/choice_list.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

namespace choice_list = dp_service::choice_list;
using choices = std::vector<std::string>;

TEST(choice_list_test, commas_separate_choices) {
    EXPECT_EQ(choice_list::split("a,b c,"), (choices{"a", "b c", ""}));
    EXPECT_EQ(choice_list::split(""), choices());
}

TEST(choice_list_test, split_gives_back_what_was_joined) {
    for (const choices& list : {choices{"a", "b"}, choices{"a,b", "c\\", "\\,"}, choices{"", ""}}) {
        EXPECT_EQ(choice_list::split(choice_list::join(list)), list);
    }
    EXPECT_EQ(choice_list::join({"a,b", "c\\d"}), "a\\,b,c\\\\d");
}

TEST(choice_list_test, a_backslash_at_the_end_is_kept) {
    EXPECT_EQ(choice_list::split("a\\"), (choices{"a\\"}));
}

}  // namespace
