#include "tools/dpctl/changes/change_outcome.hpp"

#include <gtest/gtest.h>

#include "service_api/service_status.hpp"
#include "tests/support/sample_attribute.hpp"

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

change_outcome judge(std::int32_t status, const reading& replaced, const reading& stored,
                     const reading& pending) {
    setting_change change;
    change.status = status;
    change.replaced = replaced;
    change.stored = stored;
    return judge_change(change, pending);
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

TEST(is_stored_value, compares_texts_and_absence) {
    EXPECT_TRUE(is_stored_value(known("a"), known("a")));
    EXPECT_FALSE(is_stored_value(known("a"), known("A")));
    EXPECT_TRUE(is_stored_value(reading{}, reading{}));
    EXPECT_FALSE(is_stored_value(known(""), reading{}));
    EXPECT_FALSE(is_stored_value(reading{}, known("")));
}

TEST(is_stored_value, knows_how_the_library_changes_values) {
    const std::string start(79, 'x');
    EXPECT_TRUE(is_stored_value(cut(start), known(start + "tail")));
    EXPECT_FALSE(is_stored_value(cut(start), known(start)));
    EXPECT_FALSE(is_stored_value(known(start), known(start + "tail")));
    EXPECT_TRUE(
        is_stored_value(known("a,b"), known("[value='b',order='2'],[value='a',order='1']")));
}

TEST(judge_change, reports_a_refusal) {
    EXPECT_EQ(judge(dp_service::service_status::not_a_choice, known("Legacy"), reading{},
                    known("Legacy")),
              change_outcome::refused);
}

TEST(judge_change, confirms_what_the_settings_file_has) {
    EXPECT_EQ(judge(0, known("Legacy"), known("UEFI"), known("UEFI")), change_outcome::changed);
    EXPECT_EQ(judge(0, reading{}, known("UEFI"), known("UEFI")), change_outcome::changed);
    EXPECT_EQ(judge(0, known("UEFI"), reading{}, reading{}), change_outcome::changed);
}

TEST(judge_change, reports_a_value_that_was_there_already) {
    EXPECT_EQ(judge(0, known("UEFI"), known("UEFI"), known("UEFI")), change_outcome::already);
}

TEST(judge_change, accepts_that_another_client_changed_the_setting_again) {
    EXPECT_EQ(judge(0, known("Legacy"), known("UEFI"), known("Other")), change_outcome::changed);
}

TEST(judge_change, does_not_confirm_a_change_that_the_settings_file_does_not_have) {
    EXPECT_EQ(judge(0, known("Legacy"), known("UEFI"), known("Legacy")),
              change_outcome::unconfirmed);
    EXPECT_EQ(judge(0, reading{}, known("UEFI"), reading{}), change_outcome::unconfirmed);
}

TEST(outcome_word, names_every_outcome) {
    EXPECT_STREQ(outcome_word(change_outcome::already), "already");
    EXPECT_STREQ(outcome_word(change_outcome::changed), "changed");
    EXPECT_STREQ(outcome_word(change_outcome::refused), "refused");
    EXPECT_STREQ(outcome_word(change_outcome::no_answer), "no_answer");
    EXPECT_STREQ(outcome_word(change_outcome::not_requested), "not_requested");
    EXPECT_STREQ(outcome_word(change_outcome::unconfirmed), "unconfirmed");
}

}  // namespace
}  // namespace dpctl
