#include "tools/dpctl/changes/change_outcome.hpp"

#include <gtest/gtest.h>

#include "service_api/service_status.hpp"
#include "tests/unit/tools/dpctl/sample_attribute.hpp"

namespace dpctl {
namespace {

const dp_attribute mode = test::sample_choices("Mode", "Legacy,UEFI");
const dp_attribute delay = test::sample_number("Delay", 0, 100, 5);
const dp_attribute tag = test::sample_string("Tag", 0, 200, "");

reading known(const std::string& text) {
    return {true, false, text};
}

reading cut(const std::string& text) {
    return {true, true, text};
}

change_outcome judge(int result, std::uint32_t status, const reading& before, const reading& after,
                     std::string_view requested, const dp_attribute& attribute = mode) {
    return judge_change(result, status, before, after, requested, attribute);
}

TEST(is_value, takes_the_same_text) {
    EXPECT_TRUE(is_value(known("a b"), "a b", tag));
    EXPECT_FALSE(is_value(known("a b"), "A b", tag));
    EXPECT_TRUE(is_value(known(""), "", tag));
    EXPECT_FALSE(is_value(reading{}, "", tag));
}

TEST(is_value, takes_the_same_number) {
    EXPECT_TRUE(is_value(known("10"), "010", delay));
    EXPECT_TRUE(is_value(known("0"), "000", delay));
    EXPECT_FALSE(is_value(known("10"), "100", delay));
    EXPECT_FALSE(is_value(known(""), "0", delay));
    EXPECT_FALSE(is_value(known("x"), "y", delay));
    EXPECT_FALSE(is_value(known("10"), "010", tag));
}

TEST(is_value, takes_the_same_letters_of_an_enumeration) {
    EXPECT_TRUE(is_value(known("UEFI"), "uefi", mode));
    EXPECT_FALSE(is_value(known("UEFI"), "uefi2", mode));
}

TEST(is_value, compares_what_can_be_read_of_a_cut_value) {
    const std::string start(79, 'x');
    EXPECT_TRUE(is_value(cut(start), start + "tail", tag));
    EXPECT_FALSE(is_value(cut(start), start, tag));
    EXPECT_FALSE(is_value(cut(start), 'y' + start, tag));
}

TEST(judge_change, tells_that_no_answer_came) {
    EXPECT_EQ(judge(-1, 255, known("Legacy"), known("Legacy"), "UEFI"), change_outcome::no_answer);
}

TEST(judge_change, tells_a_refusal) {
    EXPECT_EQ(
        judge(1, dp_service::service_status::not_a_choice, known("Legacy"), known("Legacy"), "Foo"),
        change_outcome::refused);
}

TEST(judge_change, takes_a_value_in_the_settings_file_as_done_beside_a_refused_one) {
    EXPECT_EQ(judge(1, session::unanswered, known("Legacy"), known("UEFI"), "UEFI"),
              change_outcome::changed);
}

TEST(judge_change, takes_another_spelling_by_the_service_as_done) {
    EXPECT_EQ(judge(0, session::unanswered, known("5"), known("10"), "010", delay),
              change_outcome::changed);
    EXPECT_EQ(judge(0, session::unanswered, known("a"), known("b,c"), "[full form]", tag),
              change_outcome::changed);
    EXPECT_EQ(judge(0, session::unanswered, known("UEFI"), known("UEFI"), "uefi"),
              change_outcome::changed);
}

TEST(judge_change, does_not_take_a_missing_answer_as_done) {
    // An empty result file counts no failure, and a partial one leaves the request's status alone.
    for (const int result : {0, 1, 3}) {
        EXPECT_EQ(judge(result, session::unanswered, known("Legacy"), known("Legacy"), "UEFI"),
                  change_outcome::unconfirmed);
    }
}

TEST(judge_change, takes_a_first_value_as_done) {
    EXPECT_EQ(judge(0, session::unanswered, reading{}, known("UEFI"), "UEFI"),
              change_outcome::changed);
    EXPECT_EQ(judge(0, session::unanswered, reading{}, reading{}, "UEFI"),
              change_outcome::unconfirmed);
}

TEST(outcome_word, has_a_word_for_each) {
    EXPECT_STREQ(outcome_word(change_outcome::already), "already");
    EXPECT_STREQ(outcome_word(change_outcome::changed), "changed");
    EXPECT_STREQ(outcome_word(change_outcome::refused), "refused");
    EXPECT_STREQ(outcome_word(change_outcome::no_answer), "no_answer");
    EXPECT_STREQ(outcome_word(change_outcome::unconfirmed), "unconfirmed");
}

}  // namespace
}  // namespace dpctl
