#include "batch/batch_list_info.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/cpu_time.hpp"

namespace {

using selection = std::map<std::string, std::string>;

selection parsed(const std::string& text) {
    dp::batch_list_info info;
    selection sel{{"old", "1"}};
    info.parse_selections(text, sel);
    return sel;
}

std::string full(selection sel) {
    return dp::batch_list_info().get_string(sel);
}

std::string terse(selection sel) {
    return dp::batch_list_info().get_string_terse(sel);
}

const std::string two_in_full = "[value='B',order='2'],[value='A',order='1']";

}  // namespace

TEST(batch_list_info, reads_the_full_form) {
    EXPECT_EQ(parsed(two_in_full), (selection{{"A", "1"}, {"B", "2"}}));
    EXPECT_EQ(parsed("[value='A',order='1']"), (selection{{"A", "1"}}));
    EXPECT_EQ(parsed("[value='a b, [c',order='x']"), (selection{{"a b, [c", "x"}}));
}

TEST(batch_list_info, reads_the_terse_form_in_order) {
    EXPECT_EQ(parsed("X,Y,Z"), (selection{{"X", "1"}, {"Y", "2"}, {"Z", "3"}}));
    EXPECT_EQ(parsed("B,A"), (selection{{"A", "2"}, {"B", "1"}}));
    EXPECT_EQ(parsed("X"), (selection{{"X", "1"}}));
    EXPECT_EQ(parsed(" X , Y"), (selection{{" X ", "1"}, {" Y", "2"}}));
}

TEST(batch_list_info, keeps_empty_items_of_the_terse_form) {
    EXPECT_EQ(parsed("A,B,"), (selection{{"A", "1"}, {"B", "2"}, {"", "3"}}));
    EXPECT_EQ(parsed(","), (selection{{"", "2"}}));
    EXPECT_EQ(parsed(",A"), (selection{{"", "1"}, {"A", "2"}}));
    EXPECT_EQ(parsed(""), selection{});
}

TEST(batch_list_info, keeps_the_last_number_of_a_repeated_value) {
    EXPECT_EQ(parsed("A,B,A"), (selection{{"A", "3"}, {"B", "2"}}));
    EXPECT_EQ(parsed("[value='A',order='1'],[value='A',order='9']"), (selection{{"A", "9"}}));
}

TEST(batch_list_info, reads_the_terse_form_without_both_marks_of_the_full_form) {
    EXPECT_EQ(parsed("[a],b"), (selection{{"[a]", "1"}, {"b", "2"}}));
    EXPECT_EQ(parsed(" [value='A',order='1']"),
              (selection{{" [value='A'", "1"}, {"order='1']", "2"}}));
    EXPECT_EQ(parsed("value=,x"), (selection{{"value=", "1"}, {"x", "2"}}));
    EXPECT_EQ(parsed("[VALUE='A']"), (selection{{"[VALUE='A']", "1"}}));
    EXPECT_TRUE(dp::batch_list_info::is_full_form("[value="));
    EXPECT_TRUE(dp::batch_list_info::is_full_form("[x,value="));
    EXPECT_FALSE(dp::batch_list_info::is_full_form(""));
    EXPECT_FALSE(dp::batch_list_info::is_full_form("x[value="));
}

TEST(batch_list_info, ignores_items_of_the_full_form_without_a_value) {
    EXPECT_EQ(parsed("[value='',order='1'],[value='A',order='2']"), (selection{{"A", "2"}}));
    EXPECT_EQ(parsed("[value=]"), selection{});
    EXPECT_EQ(parsed("[]]]value="), selection{});
    EXPECT_EQ(parsed("[value='A',order='1']]]]"), (selection{{"A", "1"}}));
}

TEST(batch_list_info, reads_damaged_items_of_the_full_form_by_their_quotes) {
    EXPECT_EQ(parsed("[value='A'"), (selection{{"A", ""}}));
    EXPECT_EQ(parsed("[value='A"), (selection{{"A", ""}}));
    EXPECT_EQ(parsed("[value='A',order='1"), (selection{{"A", "1"}}));
    EXPECT_EQ(parsed("[value='A',order=1]"), (selection{{"A", ""}}));
    EXPECT_EQ(parsed("[order='1',value='A']"), (selection{{"1", "A"}}));
    EXPECT_EQ(parsed("[value='A'x'1'y'2']"), (selection{{"A", "1"}}));
}

TEST(batch_list_info, parse_instance_adds_one_item) {
    dp::batch_list_info info;
    selection sel{{"A", "1"}};
    info.parse_instance(",[value='B',order='2'", sel);
    info.parse_instance("'A'anything'7'", sel);
    info.parse_instance("", sel);
    info.parse_instance("no quotes", sel);
    EXPECT_EQ(sel, (selection{{"A", "7"}, {"B", "2"}}));
}

TEST(batch_list_info, writes_the_full_form_by_value) {
    EXPECT_EQ(full(parsed("X,Y,Z")),
              "[value='X',order='1'],[value='Y',order='2'],[value='Z',order='3']");
    EXPECT_EQ(full(parsed(two_in_full)), "[value='A',order='1'],[value='B',order='2']");
    EXPECT_EQ(full({}), "");
    EXPECT_EQ(full({{"", ""}}), "[value='',order='']");
}

TEST(batch_list_info, writes_the_terse_form_by_order) {
    EXPECT_EQ(terse(parsed("B,A,C")), "B,A,C");
    EXPECT_EQ(terse({}), "");
    EXPECT_EQ(terse({{"", "1"}}), "");
    EXPECT_EQ(terse({{"", "1"}, {"A", "2"}}), ",A");
}

TEST(batch_list_info, compares_orders_as_text) {
    EXPECT_EQ(terse(parsed("a,b,c,d,e,f,g,h,i,j,k")), "a,j,k,b,c,d,e,f,g,h,i");
}

TEST(batch_list_info, keeps_one_of_several_values_with_the_same_order) {
    EXPECT_EQ(terse({{"A", "1"}, {"B", "1"}, {"C", "2"}}), "B,C");
}

TEST(batch_list_info, has_a_current_selection) {
    dp::batch_list_info info;
    EXPECT_EQ(info.get_current(), "");
    EXPECT_EQ(info.get_current_terse(), "");
    EXPECT_TRUE(info.set_current("B,A"));
    EXPECT_EQ(info.get_current(), "[value='A',order='2'],[value='B',order='1']");
    EXPECT_EQ(info.get_current_terse(), "B,A");
    EXPECT_TRUE(info.set_current(two_in_full));
    EXPECT_EQ(info.get_current_terse(), "A,B");
    EXPECT_TRUE(info.set_current(""));
    EXPECT_EQ(info.get_current(), "");
}

TEST(batch_list_info, tersify_leaves_the_current_selection_unchanged) {
    dp::batch_list_info info;
    info.set_current("X");
    EXPECT_EQ(info.tersify(two_in_full), "A,B");
    EXPECT_EQ(info.tersify("B,A"), "B,A");
    EXPECT_EQ(info.tersify(""), "");
    EXPECT_EQ(info.get_current_terse(), "X");
}

TEST(batch_list_info, handles_selections_of_100_000_values) {
    constexpr int many = 100'000;
    std::string terse_text;
    std::string full_text;
    for (int i = 0; i < many; ++i) {
        const std::string comma = i == 0 ? "" : ",";
        const std::string value = "v" + std::to_string(i);
        terse_text += comma + value;
        full_text += comma;
        full_text += "[value='" + value + "',order='" + std::to_string(i + 1) + "']";
    }
    const double bound = 100 * test::cost_of_100_000_calls();
    const test::cpu_time used;
    const selection from_terse = parsed(terse_text);
    const selection from_full = parsed(full_text);
    EXPECT_EQ(from_terse.size(), std::size_t{many});
    EXPECT_EQ(from_terse, from_full);
    EXPECT_EQ(parsed(full(from_full)), from_full);
    EXPECT_EQ(terse(from_full).size(), terse_text.size());
    EXPECT_LT(used.seconds(), bound);
}

TEST(batch_list_info, handles_texts_of_separators_only) {
    const double bound = 100 * test::cost_of_100_000_calls();
    const test::cpu_time used;
    EXPECT_EQ(parsed(std::string(1'000'000, ',')), (selection{{"", "1000001"}}));
    EXPECT_EQ(parsed("[value=" + std::string(1'000'000, ']')), selection{});
    EXPECT_EQ(parsed("[value=" + std::string(1'000'000, '\'')), selection{});
    EXPECT_LT(used.seconds(), bound);
}
