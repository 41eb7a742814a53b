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

TEST(is_value, accepts_the_same_text) {
    EXPECT_TRUE(is_value(known("a b"), "a b", tag));
    EXPECT_FALSE(is_value(known("a b"), "A b", tag));
    EXPECT_TRUE(is_value(known(""), "", tag));
    EXPECT_FALSE(is_value(reading{}, "", tag));
}

TEST(is_value, accepts_the_same_number) {
    EXPECT_TRUE(is_value(known("10"), "010", delay));
    EXPECT_TRUE(is_value(known("0"), "000", delay));
    EXPECT_FALSE(is_value(known("10"), "100", delay));
    EXPECT_FALSE(is_value(known(""), "0", delay));
    EXPECT_FALSE(is_value(known("x"), "y", delay));
    EXPECT_FALSE(is_value(known("10"), "010", tag));
}

TEST(is_value, ignores_the_case_of_an_enumeration) {
    EXPECT_TRUE(is_value(known("UEFI"), "uefi", mode));
    EXPECT_FALSE(is_value(known("UEFI"), "uefi2", mode));
}

TEST(is_value, compares_the_part_of_a_cut_value_that_was_read) {
    const std::string start(79, 'x');
    EXPECT_TRUE(is_value(cut(start), start + "tail", tag));
    EXPECT_FALSE(is_value(cut(start), start, tag));
    EXPECT_FALSE(is_value(cut(start), 'y' + start, tag));
}

TEST(judge_change, reports_that_there_was_no_answer) {
    EXPECT_EQ(judge(-1, 255, known("Legacy"), known("Legacy"), "UEFI"), change_outcome::no_answer);
}

TEST(judge_change, reports_a_refusal) {
    EXPECT_EQ(
        judge(1, dp_service::service_status::not_a_choice, known("Legacy"), known("Legacy"), "Foo"),
        change_outcome::refused);
}

TEST(judge_change, believes_the_settings_file_when_another_change_was_refused) {
    EXPECT_EQ(judge(1, session::unanswered, known("Legacy"), known("UEFI"), "UEFI"),
              change_outcome::changed);
}

TEST(judge_change, accepts_another_spelling_by_the_service) {
    EXPECT_EQ(judge(0, session::unanswered, known("5"), known("10"), "010", delay),
              change_outcome::changed);
    EXPECT_EQ(judge(0, session::unanswered, known("a"), known("b,c"), "[full form]", tag),
              change_outcome::changed);
    EXPECT_EQ(judge(0, session::unanswered, known("UEFI"), known("UEFI"), "uefi"),
              change_outcome::changed);
}

TEST(judge_change, does_not_confirm_a_change_without_an_answer) {
    // An empty result file has no failures, and a partial one does not change the request's status.
    for (const int result : {0, 1, 3}) {
        EXPECT_EQ(judge(result, session::unanswered, known("Legacy"), known("Legacy"), "UEFI"),
                  change_outcome::unconfirmed);
    }
}

TEST(judge_change, confirms_a_first_value) {
    EXPECT_EQ(judge(0, session::unanswered, reading{}, known("UEFI"), "UEFI"),
              change_outcome::changed);
    EXPECT_EQ(judge(0, session::unanswered, reading{}, reading{}, "UEFI"),
              change_outcome::unconfirmed);
}

TEST(outcome_word, names_every_outcome) {
    EXPECT_STREQ(outcome_word(change_outcome::already), "already");
    EXPECT_STREQ(outcome_word(change_outcome::changed), "changed");
    EXPECT_STREQ(outcome_word(change_outcome::refused), "refused");
    EXPECT_STREQ(outcome_word(change_outcome::no_answer), "no_answer");
    EXPECT_STREQ(outcome_word(change_outcome::unconfirmed), "unconfirmed");
}

}  // namespace
}  // namespace dpctl
