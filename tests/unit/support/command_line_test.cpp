#include "support/command_line.hpp"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace dp_support {
namespace {

using kinds = parse_end::kinds;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class sample_command_line : public testing::Test {
  protected:
    sample_command_line() {
        program_.add_version("1.2");
        command_line& list = program_.add_subcommand("list", "List everything");
        list.add_flag("--json", json_, "Print a document");
        list.add_option("--match", match_, "Only these", {.value_name = "PATTERN"});
        list.set_footer("A first\nparagraph.\n\nExamples:\n  prog list\n");
        command_line& check = program_.add_subcommand("check", "Check");
        check.add_option("--wait", seconds_, "How long", {.least = 1, .greatest = 9});
        check.on_selected([this] {
            if (seconds_ == 4) {
                throw usage_error("4 does not fit");
            }
        });
        program_.add_subcommand("secret", "Not for people").hide();
        program_.add_help_command();
    }

    std::optional<parse_end> parse(std::vector<const char*> words) {
        words.insert(words.begin(), "prog");
        return program_.try_parse(static_cast<int>(words.size()), words.data());
    }

    command_line program_{"A program.", "prog"};
    bool json_ = false;
    std::string match_;
    unsigned seconds_ = 5;
};

TEST_F(sample_command_line, continues_after_correct_words) {
    EXPECT_FALSE(parse({"list", "--json", "--match", "a*"}));
    EXPECT_TRUE(json_);
    EXPECT_EQ(match_, "a*");
}

TEST_F(sample_command_line, suggests_a_subcommand) {
    const auto end = parse({"lsit"});
    ASSERT_TRUE(end);
    EXPECT_EQ(end->kind, kinds::wrong_usage);
    EXPECT_EQ(end->text, "The following argument was not expected: lsit");
    EXPECT_THAT(end->hints,
                ElementsAre("did you mean list?", "Run with --help for more information."));
}

TEST_F(sample_command_line, suggests_no_hidden_subcommand) {
    EXPECT_THAT(parse({"secrte"})->hints, Not(Contains(HasSubstr("secret"))));
}

TEST_F(sample_command_line, suggests_an_option_of_the_subcommand) {
    EXPECT_THAT(parse({"list", "--jsno"})->hints, Contains("did you mean --json?"));
    EXPECT_THAT(parse({"list", "--mach=x"})->hints, Contains("did you mean --match?"));
}

TEST_F(sample_command_line, names_the_subcommands_that_have_an_option) {
    EXPECT_THAT(parse({"list", "--wait", "5"})->hints, Contains("--wait is an option of check"));
    EXPECT_THAT(parse({"--wait=5"})->hints, Contains("--wait is an option of check"));
    EXPECT_EQ(parse({"--wait=5"})->text, "A subcommand is required");
    EXPECT_EQ(parse({"--nix"})->text, "The following argument was not expected: --nix");
}

TEST_F(sample_command_line, reports_wrong_values_and_missing_words) {
    EXPECT_THAT(parse({"check", "--wait", "10"})->text, HasSubstr("--wait"));
    EXPECT_EQ(parse({})->text, "A subcommand is required");
    EXPECT_THAT(parse({})->hints, ElementsAre("\"prog help\" lists the subcommands."));
    EXPECT_EQ(parse({"check", "--wait", "4"})->text, "4 does not fit");
}

TEST_F(sample_command_line, returns_help_and_version) {
    const auto version = parse({"--version"});
    EXPECT_EQ(version->kind, kinds::version);
    EXPECT_EQ(version->text, "1.2");
    const auto help = parse({"--help"});
    EXPECT_EQ(help->kind, kinds::help);
    EXPECT_THAT(help->text, HasSubstr("list"));
    EXPECT_THAT(help->text, Not(HasSubstr("secret")));
}

TEST_F(sample_command_line, has_a_help_subcommand) {
    EXPECT_EQ(parse({"help"})->text, parse({"--help"})->text);
    const auto end = parse({"help", "list"});
    EXPECT_EQ(end->kind, kinds::help);
    EXPECT_EQ(end->text, parse({"list", "--help"})->text);
    EXPECT_THAT(end->text, HasSubstr("Usage: prog list"));
    EXPECT_THAT(end->text, HasSubstr("A first\nparagraph.\n\nExamples:\n  prog list\n"));
}

TEST_F(sample_command_line, suggests_a_topic_of_the_help) {
    const auto end = parse({"help", "chek"});
    EXPECT_EQ(end->kind, kinds::wrong_usage);
    EXPECT_EQ(end->text, "There is no subcommand chek");
    EXPECT_THAT(end->hints, Contains("did you mean check?"));
}

TEST_F(sample_command_line, lists_subcommands_and_options) {
    EXPECT_THAT(program_.subcommand_names(), ElementsAre("list", "check", "help"));
    EXPECT_THAT(program_.find_subcommand("list")->option_names(),
                ElementsAre("--help", "--json", "--match="));
    EXPECT_EQ(program_.find_subcommand("nothing"), nullptr);
}

}  // namespace
}  // namespace dp_support
