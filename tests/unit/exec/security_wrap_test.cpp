#include "exec/security_wrap.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <future>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/log.hpp"
#include "tests/support/closed_standard_input.hpp"
#include "tests/support/intercepted_call.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/exec/command_line_model.hpp"

namespace {

using dp::security_wrap;
using testing::ElementsAre;
using testing::IsEmpty;

using redirection = test::command_line_outcome::redirection;

// The result of `parse_commandline` for one line.
struct parsed_line {
    bool accepted = false;
    std::string refusal;  // as logged, without the prefix of every refusal
    unsigned flag = 0;
    std::vector<std::string> params;
    std::vector<redirection> redirections;
};

const std::string refusal_prefix = " ***ERROR*** ERROR: security_wrap::exec: ";

parsed_line parse(const std::string& line) {
    test::recording_log log(dp::log_level::error);
    parsed_line result;
    std::vector<security_wrap::redirection> redirections;
    result.accepted =
        security_wrap::parse_commandline(line.c_str(), result.params, redirections, result.flag);
    for (const auto& r : redirections) {
        result.redirections.emplace_back(r.source, r.target, r.operation);
    }
    EXPECT_EQ(log.lines.size(), result.accepted ? 0U : 1U) << line;
    for (const auto& logged : log.lines) {
        EXPECT_EQ(logged.level, "ERR");
        EXPECT_EQ(logged.text.substr(0, refusal_prefix.size()), refusal_prefix);
        result.refusal = logged.text.substr(refusal_prefix.size());
    }
    return result;
}

std::vector<std::string> params_of(const std::string& line) {
    const parsed_line v = parse(line);
    EXPECT_TRUE(v.accepted) << line << ": " << v.refusal;
    return v.params;
}

std::string refusal_of(const std::string& line) {
    const parsed_line v = parse(line);
    EXPECT_FALSE(v.accepted) << line;
    return v.refusal;
}

int chomp(const char* text, unsigned& flag) {
    const char* command = text;
    const int length = security_wrap::chomp_cmd(&command, flag);
    EXPECT_EQ(command, text) << "the command is not changed";
    return length;
}

int chomp(const char* text) {
    unsigned flag = 0;
    return chomp(text, flag);
}

int flag_of(const std::vector<security_wrap::redirection>& redirections) {
    security_wrap::redirection_file out;
    security_wrap::redirection_file err;
    return security_wrap::parse_redirection(redirections, out, err);
}

int flag_of_line(const std::string& line) {
    std::vector<std::string> params;
    std::vector<security_wrap::redirection> redirections;
    unsigned flag = 0;
    EXPECT_TRUE(security_wrap::parse_commandline(line.c_str(), params, redirections, flag)) << line;
    return flag_of(redirections);
}

std::string scratch(const std::string& name) {
    return test::root() + "/tmp/" + name;
}

class security_wrap_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static int run(const std::string& line) { return security_wrap::system(line.c_str()); }
    static bool exists(const std::string& path) { return std::filesystem::exists(path); }
};

using redirect_2_file = security_wrap_test;
using security_wrap_system = security_wrap_test;

// ---- chomp_cmd

TEST(chomp_cmd, fails_without_changing_the_flag_when_nothing_is_left) {
    for (const char* text : {"", " ", "     ", "&", " &", "& ", "  &  "}) {
        unsigned flag = 7;
        EXPECT_EQ(chomp(text, flag), -1) << '[' << text << ']';
        EXPECT_EQ(flag, 7U) << '[' << text << ']';
    }
}

TEST(chomp_cmd, fails_for_a_null_pointer) {
    unsigned flag = 7;
    EXPECT_EQ(chomp(nullptr, flag), -1);
    EXPECT_EQ(security_wrap::chomp_cmd(nullptr, flag), -1);
    EXPECT_EQ(flag, 7U);
}

TEST(chomp_cmd, counts_from_the_first_to_the_last_character_that_is_not_a_space) {
    EXPECT_EQ(chomp("ls"), 2);
    EXPECT_EQ(chomp("  ls  "), 2);
    EXPECT_EQ(chomp(" ls -l "), 5);
    EXPECT_EQ(chomp("x"), 1);
}

TEST(chomp_cmd, sets_the_flag_to_1) {
    unsigned flag = 7;
    EXPECT_EQ(chomp("ls", flag), 2);
    EXPECT_EQ(flag, 1U);
}

TEST(chomp_cmd, removes_one_trailing_ampersand_and_the_spaces_around_it) {
    EXPECT_EQ(chomp("ls &"), 2);
    EXPECT_EQ(chomp("ls&"), 2);
    EXPECT_EQ(chomp("ls  &  "), 2);
}

TEST(chomp_cmd, keeps_a_second_ampersand) {
    EXPECT_EQ(chomp("ls &&"), 4);
    EXPECT_EQ(chomp("ls & &"), 4);
    EXPECT_EQ(chomp("&&"), 1);
}

TEST(chomp_cmd, does_not_treat_a_tab_as_a_space) {
    EXPECT_EQ(chomp("\t"), 1);
    EXPECT_EQ(chomp("ls\t"), 3);
}

// ---- parse_commandline: words

TEST(parse_commandline, splits_at_spaces_and_drops_the_trailing_ampersand) {
    const parsed_line v = parse("ls -l &");
    EXPECT_TRUE(v.accepted);
    EXPECT_EQ(v.flag, 1U);
    EXPECT_THAT(v.params, ElementsAre("ls", "-l"));
    EXPECT_THAT(v.redirections, IsEmpty());
}

TEST(parse_commandline, keeps_a_second_ampersand_as_a_parameter) {
    EXPECT_THAT(params_of("ls &&"), ElementsAre("ls", "&"));
}

TEST(parse_commandline, treats_other_shell_operators_as_ordinary_characters) {
    EXPECT_THAT(params_of("a & b"), ElementsAre("a", "&", "b"));
    EXPECT_THAT(params_of("a;b&&c $(x) `y` *"), ElementsAre("a;b&&c", "$(x)", "`y`", "*"));
}

TEST(parse_commandline, makes_no_empty_parameters_of_several_spaces) {
    EXPECT_THAT(params_of("a   b    c   "), ElementsAre("a", "b", "c"));
}

TEST(parse_commandline, keeps_other_white_space_in_the_word) {
    EXPECT_THAT(params_of("a\tb\nc"), ElementsAre("a\tb\nc"));
}

TEST(parse_commandline, refuses_an_empty_line) {
    for (const char* line : {"", "   ", "&", " & "}) {
        EXPECT_EQ(refusal_of(line), "chomp command line failed") << '[' << line << ']';
    }
}

TEST(parse_commandline, refuses_a_null_pointer) {
    std::vector<std::string> params;
    std::vector<security_wrap::redirection> redirections;
    unsigned flag = 0;
    EXPECT_FALSE(security_wrap::parse_commandline(nullptr, params, redirections, flag));
    EXPECT_EQ(security_wrap::system(nullptr), -1);
}

TEST(parse_commandline, clears_the_lists_first) {
    std::vector<std::string> params{"2"};
    std::vector<security_wrap::redirection> redirections(3);
    unsigned flag = 0;
    EXPECT_TRUE(security_wrap::parse_commandline("a", params, redirections, flag));
    EXPECT_THAT(params, ElementsAre("a"));
    EXPECT_THAT(redirections, IsEmpty());
}

TEST(parse_commandline, cuts_off_as_many_characters_as_there_are_leading_spaces) {
    EXPECT_THAT(params_of("  ab"), IsEmpty());
    EXPECT_THAT(params_of(" abc"), ElementsAre("ab"));
    EXPECT_THAT(params_of("   abcdef ghi"), ElementsAre("abcdef"));
    EXPECT_THAT(params_of("  abc &"), ElementsAre("a"));
}

TEST(parse_commandline, does_not_examine_the_characters_cut_off_for_leading_spaces) {
    EXPECT_THAT(params_of("  abc |"), ElementsAre("abc"));
    // The second '>' and the second half of an escape are cut off.
    const parsed_line v = parse(" a>>");
    EXPECT_TRUE(v.accepted);
    EXPECT_THAT(v.params, ElementsAre("a"));
    EXPECT_EQ(refusal_of(" \"a\\\""), "unknown escape character");
}

TEST(parse_commandline, accepts_parameters_of_up_to_127_characters) {
    const std::string longest(127, 'x');
    EXPECT_THAT(params_of(longest), ElementsAre(longest));
    EXPECT_THAT(params_of("a " + longest + " b"), ElementsAre("a", longest, "b"));
    EXPECT_EQ(refusal_of(longest + "x"), "parameter is too long");
    EXPECT_EQ(refusal_of("a " + longest + "x b"), "parameter is too long");
}

TEST(parse_commandline, accepts_quoted_parameters_of_up_to_127_characters) {
    const std::string longest(127, ' ');
    EXPECT_THAT(params_of("a \"" + longest + "\""), ElementsAre("a", longest));
    EXPECT_EQ(refusal_of("a \"" + longest + " \""), "parameter is too long");
    EXPECT_EQ(refusal_of("a \"" + longest + "\\\"\""), "parameter is too long");
    EXPECT_THAT(params_of("a \"" + longest.substr(1) + "\\\"\""),
                ElementsAre("a", longest.substr(1) + '"'));
}

TEST(parse_commandline, accepts_redirection_targets_of_up_to_127_characters) {
    const std::string longest(127, 'x');
    EXPECT_THAT(parse("a >" + longest).redirections, ElementsAre(redirection("1", longest, 1)));
    EXPECT_EQ(refusal_of("a >" + longest + "x"), "parameter is too long");
}

TEST(parse_commandline, accepts_a_long_line_of_many_words) {
    std::string line = "w";
    for (int i = 0; i < 20000; ++i) {
        line += " w";
    }
    EXPECT_EQ(params_of(line).size(), 20001U);
}

// ---- parse_commandline: quotes and escapes

TEST(parse_commandline, keeps_spaces_inside_quotes) {
    EXPECT_THAT(params_of("echo \"a b\""), ElementsAre("echo", "a b"));
    EXPECT_THAT(params_of("\" \""), ElementsAre(" "));
}

TEST(parse_commandline, refuses_a_quote_in_the_middle_of_a_word) {
    EXPECT_EQ(refusal_of("echo a\"b\""), "quotes appears in the middle of parameter");
}

TEST(parse_commandline, starts_a_new_word_directly_after_a_closing_quote) {
    EXPECT_THAT(params_of("\"a\"b"), ElementsAre("a", "b"));
    EXPECT_THAT(params_of("\"a\"\"b\""), ElementsAre("a", "b"));
}

TEST(parse_commandline, refuses_an_empty_quoted_parameter) {
    EXPECT_EQ(refusal_of("echo \"\""), "no parameter between quotes");
}

TEST(parse_commandline, refuses_an_escape_outside_quotes) {
    EXPECT_EQ(refusal_of("echo a\\b"), "escape char appear out of quotes");
    EXPECT_EQ(refusal_of("echo \\\"a"), "escape char appear out of quotes");
    EXPECT_EQ(refusal_of("\\"), "escape char appear out of quotes");
}

TEST(parse_commandline, takes_an_escaped_quote_or_backslash_inside_quotes_literally) {
    EXPECT_THAT(params_of("echo \"a\\\"b\""), ElementsAre("echo", "a\"b"));
    EXPECT_THAT(params_of("echo \"a\\\\b\""), ElementsAre("echo", "a\\b"));
    EXPECT_THAT(params_of("\"\\\"\""), ElementsAre("\""));
}

TEST(parse_commandline, refuses_any_other_escape_inside_quotes) {
    EXPECT_EQ(refusal_of("echo \"a\\n\""), "unknown escape character");
    EXPECT_EQ(refusal_of("echo \"a\\"), "unknown escape character");
    EXPECT_EQ(refusal_of("echo \"a\\ &"), "unknown escape character");
}

TEST(parse_commandline, treats_shell_characters_inside_quotes_as_ordinary) {
    EXPECT_THAT(params_of("echo \"a<b|c>d>>e\""), ElementsAre("echo", "a<b|c>d>>e"));
}

TEST(parse_commandline, drops_an_unclosed_quote) {
    EXPECT_THAT(params_of("echo \"a b"), ElementsAre("echo"));
    EXPECT_THAT(params_of("echo \""), ElementsAre("echo"));
    EXPECT_THAT(params_of("echo \"" + std::string(127, 'x')), ElementsAre("echo"));
    EXPECT_EQ(refusal_of("echo \"" + std::string(128, 'x')), "parameter is too long");
}

// ---- parse_commandline: redirections

TEST(parse_commandline, refuses_pipes_and_input_redirection) {
    EXPECT_EQ(refusal_of("cmd < in"), "redirect input is not supported");
    EXPECT_EQ(refusal_of("cmd<in"), "redirect input is not supported");
    EXPECT_EQ(refusal_of("a | b"), "pipe is not supported");
    EXPECT_EQ(refusal_of("a||b"), "pipe is not supported");
}

TEST(parse_commandline, accepts_five_forms_of_output_redirection) {
    struct form {
        const char* line;
        redirection expected;
    };
    for (const auto& [line, expected] :
         {form{"cmd>f", {"1", "f", 1}}, form{"cmd > f", {"1", "f", 1}},
          form{"cmd 2>f", {"2", "f", 1}}, form{"cmd 2 >> f", {"2", "f", 2}},
          form{"cmd 2>&1", {"2", "&1", 1}}}) {
        const parsed_line v = parse(line);
        EXPECT_TRUE(v.accepted) << line;
        EXPECT_THAT(v.params, ElementsAre("cmd")) << line;
        EXPECT_THAT(v.redirections, ElementsAre(expected)) << line;
    }
}

TEST(parse_commandline, takes_a_word_directly_before_the_arrow_as_a_parameter) {
    const parsed_line v = parse("cmd a>>f b");
    EXPECT_THAT(v.params, ElementsAre("cmd", "a", "b"));
    EXPECT_THAT(v.redirections, ElementsAre(redirection("1", "f", 2)));
}

TEST(parse_commandline, takes_a_number_directly_before_the_arrow_as_the_source) {
    for (const char* number : {"1", "2", "3", "0", "12", "007"}) {
        const parsed_line v = parse(std::string("cmd ") + number + ">f");
        EXPECT_THAT(v.params, ElementsAre("cmd")) << number;
        EXPECT_THAT(v.redirections, ElementsAre(redirection(number, "f", 1)));
    }
}

TEST(parse_commandline, takes_only_1_and_2_as_sources_with_a_space_before_the_arrow) {
    EXPECT_THAT(parse("cmd 1 > f").params, ElementsAre("cmd"));
    EXPECT_THAT(parse("cmd 2 > f").redirections, ElementsAre(redirection("2", "f", 1)));
    const parsed_line v = parse("cmd 3 > f");
    EXPECT_THAT(v.params, ElementsAre("cmd", "3"));
    EXPECT_THAT(v.redirections, ElementsAre(redirection("1", "f", 1)));
}

TEST(parse_commandline, takes_only_the_last_parameter_as_the_source) {
    EXPECT_THAT(parse("cmd 2 1 > f").params, ElementsAre("cmd", "2"));
    EXPECT_THAT(parse("cmd 2 2>f").params, ElementsAre("cmd", "2"));
    // A quoted number is already a parameter when the arrow follows.
    const parsed_line v = parse("cmd \"2\">f");
    EXPECT_THAT(v.params, ElementsAre("cmd"));
    EXPECT_THAT(v.redirections, ElementsAre(redirection("2", "f", 1)));
}

TEST(parse_commandline, redirects_standard_output_for_an_arrow_at_the_start) {
    const parsed_line v = parse(">f");
    EXPECT_THAT(v.params, IsEmpty());
    EXPECT_THAT(v.redirections, ElementsAre(redirection("1", "f", 1)));
    EXPECT_EQ(security_wrap::system(">f"), -1) << "no parameter";
    EXPECT_EQ(security_wrap::system("2>f"), -1) << "no parameter";
}

TEST(parse_commandline, accepts_a_quoted_target) {
    EXPECT_THAT(parse("cmd >\"a b\"").redirections, ElementsAre(redirection("1", "a b", 1)));
    EXPECT_THAT(parse("cmd >> \"a>b\" c").params, ElementsAre("cmd", "c"));
}

TEST(parse_commandline, refuses_a_second_arrow_before_the_target) {
    for (const char* line : {"cmd > > f", "cmd >>> f", "cmd >a>b", "cmd >>a>b", "cmd > 2>f"}) {
        EXPECT_EQ(refusal_of(line), "redirection parse error") << line;
    }
}

TEST(parse_commandline, drops_a_redirection_without_target) {
    for (const char* line : {"cmd >", "cmd >>", "cmd 2>", "cmd > &", "cmd > \"f"}) {
        const parsed_line v = parse(line);
        EXPECT_TRUE(v.accepted) << line;
        EXPECT_THAT(v.params, ElementsAre("cmd")) << line;
        EXPECT_THAT(v.redirections, IsEmpty()) << line;
    }
}

TEST(parse_commandline, keeps_the_order_of_several_redirections) {
    EXPECT_THAT(parse("cmd >a 2>&1 >>b 1>&2").redirections,
                ElementsAre(redirection("1", "a", 1), redirection("2", "&1", 1),
                            redirection("1", "b", 2), redirection("1", "&2", 1)));
}

TEST(parse_commandline, logs_a_refusal_only_when_errors_are_logged) {
    test::recording_log log(~dp::log_level::error);
    std::vector<std::string> params;
    std::vector<security_wrap::redirection> redirections;
    unsigned flag = 0;
    EXPECT_FALSE(security_wrap::parse_commandline("a|b", params, redirections, flag));
    EXPECT_THAT(log.lines, IsEmpty());
}

// ---- parse_redirection

TEST(parse_redirection, returns_0_without_redirections) {
    EXPECT_EQ(flag_of({}), 0);
}

TEST(parse_redirection, sets_one_bit_for_each_target) {
    EXPECT_EQ(flag_of({{"1", "/dev/null", 1}}), 0x01);
    EXPECT_EQ(flag_of({{"2", "/dev/null", 2}}), 0x02);
    EXPECT_EQ(flag_of({{"1", "file", 1}}), 0x04);
    EXPECT_EQ(flag_of({{"2", "file", 2}}), 0x08);
    EXPECT_EQ(flag_of({{"2", "&1", 1}}), 0x10);
    EXPECT_EQ(flag_of({{"1", "&2", 1}}), 0x20);
    EXPECT_EQ(flag_of({{"1", "/dev/null", 1},
                       {"2", "/dev/null", 1},
                       {"1", "a", 1},
                       {"2", "b", 1},
                       {"2", "&1", 1},
                       {"1", "&2", 1}}),
              0x3f);
}

TEST(parse_redirection, compares_whole_targets_and_sources) {
    using std::string;
    EXPECT_EQ(flag_of({{"1", "/dev/null ", 1}}), 0x04);
    EXPECT_EQ(flag_of({{"1", "/dev/nul", 1}}), 0x04);
    EXPECT_EQ(flag_of({{"1", "", 1}}), 0x04);
    EXPECT_EQ(flag_of({{"1", "&1", 1}}), 0x04) << "standard output to itself is a file";
    EXPECT_EQ(flag_of({{"2", "&2", 1}}), 0x08);
    EXPECT_EQ(flag_of({{"2", string("&1\0", 3), 1}}), 0x08);
    EXPECT_EQ(flag_of({{string("1\0", 2), "f", 1}}), -1);
}

TEST(parse_redirection, fills_the_records_of_streams_that_go_to_files) {
    security_wrap::redirection_file out;
    security_wrap::redirection_file err;
    const std::vector<security_wrap::redirection> both{{"2", "e", 2}, {"1", "o", 1}};
    EXPECT_EQ(security_wrap::parse_redirection(both, out, err), 0x0c);
    EXPECT_EQ(out.name, "o");
    EXPECT_EQ(out.operation, 1);
    EXPECT_EQ(err.name, "e");
    EXPECT_EQ(err.operation, 2);
}

TEST(parse_redirection, refuses_a_second_file_of_the_same_stream_without_a_log_line) {
    test::recording_log log(0xFFFFFFFF);
    EXPECT_EQ(flag_of({{"1", "a", 1}, {"1", "a", 1}}), -1);
    EXPECT_EQ(flag_of({{"2", "a", 1}, {"2", "b", 1}}), -1);
    EXPECT_THAT(log.lines, IsEmpty());
    EXPECT_EQ(flag_of({{"1", "/dev/null", 1}, {"1", "a", 1}, {"1", "/dev/null", 1}}), 0x05);
}

TEST(parse_redirection, refuses_an_unknown_operation) {
    for (const std::int32_t operation : {0, 3, -1}) {
        test::recording_log log(dp::log_level::error);
        EXPECT_EQ(flag_of({{"7", "f", operation}}), -1);
        EXPECT_THAT(log.lines, ElementsAre(test::recording_log::line{
                                   "ERR",
                                   " ***ERROR*** ERROR: security_wrap::exec: unsupported "
                                   "redirection operation"}));
    }
}

TEST(parse_redirection, refuses_an_unknown_source) {
    for (const char* source : {"3", "", "0", "11", " 1"}) {
        test::recording_log log(dp::log_level::error);
        EXPECT_EQ(flag_of({{source, "f", 1}}), -1) << source;
        EXPECT_THAT(
            log.lines,
            ElementsAre(test::recording_log::line{
                "ERR", " ***ERROR*** ERROR: security_wrap::exec: unknown redirection input"}));
    }
}

TEST(parse_redirection, returns_the_flags_of_whole_lines) {
    EXPECT_EQ(flag_of_line("cmd > /tmp/x 2>&1"), 0x14);
    EXPECT_EQ(flag_of_line("cmd 2> /tmp/e"), 0x08);
    EXPECT_EQ(flag_of_line("cmd >/dev/null 2>/dev/null"), 0x03);
    EXPECT_EQ(flag_of_line("cmd 3>f"), -1);
    EXPECT_EQ(flag_of_line("cmd 3 > f"), 0x04);
}

// ---- redirect_2_file

TEST_F(redirect_2_file, replaces_or_appends) {
    security_wrap::redirection_file file{scratch("out"), security_wrap::truncate};
    std::vector<unsigned char> data{'a', 0, 0xff};
    EXPECT_EQ(security_wrap::redirect_2_file(data, file), 0);
    EXPECT_EQ(security_wrap::redirect_2_file(data, file), 0);
    EXPECT_EQ(test::read_file(file.name), std::string("a\0\xff", 3));
    file.operation = security_wrap::append;
    EXPECT_EQ(security_wrap::redirect_2_file(data, file), 0);
    EXPECT_EQ(test::read_file(file.name), std::string("a\0\xff"
                                                      "a\0\xff",
                                                      6));
    data.clear();
    EXPECT_EQ(security_wrap::redirect_2_file(data, file), 0);
    EXPECT_EQ(test::read_file(file.name).size(), 6U);
}

TEST_F(redirect_2_file, creates_the_file_for_both_operations) {
    std::vector<unsigned char> nothing;
    for (const std::int32_t operation : {1, 2}) {
        security_wrap::redirection_file file{scratch("new" + std::to_string(operation)), operation};
        EXPECT_EQ(security_wrap::redirect_2_file(nothing, file), 0);
        EXPECT_TRUE(exists(file.name));
    }
}

TEST_F(redirect_2_file, lets_the_process_decide_who_may_use_a_new_file) {
    std::vector<unsigned char> nothing;
    for (const mode_t mask : {0000U, 0022U}) {
        security_wrap::redirection_file file{scratch("mask" + std::to_string(mask)),
                                             security_wrap::append};
        const mode_t before = umask(mask);
        EXPECT_EQ(security_wrap::redirect_2_file(nothing, file), 0);
        umask(before);
        struct stat info {};
        ASSERT_EQ(stat(file.name.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777U, 0666U & ~mask);
    }
}

TEST_F(redirect_2_file, writes_at_the_start_of_a_file_that_it_truncated) {
    // Also when another process extends the file in between; what it appends to goes to the end.
    for (const auto& [operation, expected] :
         {std::pair(security_wrap::truncate, "ab34"), std::pair(security_wrap::append, "1234ab")}) {
        security_wrap::redirection_file file{scratch("out"), operation};
        std::vector<unsigned char> data{'a', 'b'};
        {
            const test::intercepted_call extended(test::libc_call::write, [&] {
                test::write_file(file.name, "1234");
                return 0;
            });
            EXPECT_EQ(security_wrap::redirect_2_file(data, file), 0);
        }
        EXPECT_EQ(test::read_file(file.name), expected);
    }
}

TEST_F(redirect_2_file, writes_without_standard_input) {
    security_wrap::redirection_file file{scratch("out"), security_wrap::truncate};
    std::vector<unsigned char> data{'a'};
    const test::closed_standard_input closed;
    EXPECT_EQ(security_wrap::redirect_2_file(data, file), 0);
    EXPECT_TRUE(test::closed_standard_input::is_closed());
    EXPECT_EQ(test::read_file(file.name), "a");
}

TEST_F(redirect_2_file, refuses_other_operations) {
    std::vector<unsigned char> data{'a'};
    for (const std::int32_t operation : {0, 3, -1}) {
        security_wrap::redirection_file file{scratch("out"), operation};
        EXPECT_EQ(security_wrap::redirect_2_file(data, file), -1);
        EXPECT_FALSE(exists(file.name));
    }
}

TEST_F(redirect_2_file, fails_when_the_file_cannot_be_opened) {
    std::vector<unsigned char> data{'a'};
    for (const std::string& name : {scratch("absent/out"), scratch(""), std::string()}) {
        security_wrap::redirection_file file{name, security_wrap::truncate};
        EXPECT_EQ(security_wrap::redirect_2_file(data, file), -1) << name;
    }
}

TEST_F(redirect_2_file, writes_all_to_a_slow_reader) {
    const std::string pipe = scratch("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // More than the capacity of a pipe.
    std::vector<unsigned char> data(300'000);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<unsigned char>(i % 251);
    }
    for (const std::int32_t operation : {1, 2}) {
        const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(reader, 0);
        auto result = std::async(std::launch::async, [&] {
            security_wrap::redirection_file file{pipe, operation};
            return security_wrap::redirect_2_file(data, file);
        });
        std::vector<unsigned char> got;
        std::array<unsigned char, 4096> chunk{};
        pollfd waiting{reader, POLLIN, 0};
        while (poll(&waiting, 1, 10'000) == 1) {
            const ssize_t count = read(reader, chunk.data(), chunk.size());
            if (count <= 0) {
                break;
            }
            got.insert(got.end(), chunk.begin(), chunk.begin() + count);
        }
        close(reader);
        EXPECT_EQ(result.get(), 0);
        EXPECT_EQ(got, data);
    }
}

TEST_F(redirect_2_file, never_waits_for_a_reader) {
    const std::string pipe = scratch("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::vector<unsigned char> data{'a'};
    for (const std::int32_t operation : {1, 2}) {
        security_wrap::redirection_file file{pipe, operation};
        EXPECT_EQ(security_wrap::redirect_2_file(data, file), -1);
    }
    EXPECT_EQ(run("cmd > " + pipe), 1);
    EXPECT_EQ(run("cmd >> " + pipe + " 2>&1"), 1);
}

// ---- system

TEST_F(security_wrap_system, truncates_the_standard_output_file) {
    test::write_file(scratch("x"), "old");
    EXPECT_EQ(run("cmd > " + scratch("x") + " 2>&1"), 1);
    EXPECT_EQ(test::read_file(scratch("x")), "");
    test::write_file(scratch("x"), "old");
    EXPECT_EQ(run("cmd>" + scratch("x")), 1);
    EXPECT_EQ(test::read_file(scratch("x")), "");
}

TEST_F(security_wrap_system, keeps_the_content_of_a_file_it_appends_to) {
    test::write_file(scratch("x"), "old");
    EXPECT_EQ(run("cmd >> " + scratch("x")), 1);
    EXPECT_EQ(test::read_file(scratch("x")), "old");
    EXPECT_EQ(run("cmd >> " + scratch("fresh")), 1);
    EXPECT_TRUE(exists(scratch("fresh")));
}

TEST_F(security_wrap_system, never_touches_the_standard_error_file) {
    test::write_file(scratch("e"), "old");
    EXPECT_EQ(run("cmd 2> " + scratch("e")), 1);
    EXPECT_EQ(test::read_file(scratch("e")), "old");
    EXPECT_EQ(run("cmd 2> " + scratch("absent")), 1);
    EXPECT_FALSE(exists(scratch("absent")));
    EXPECT_EQ(run("cmd 2> " + scratch("absent") + " 1>&2"), 1);
    EXPECT_FALSE(exists(scratch("absent")));
}

TEST_F(security_wrap_system, writes_only_the_standard_output_file_when_both_streams_have_one) {
    test::write_file(scratch("o"), "old");
    test::write_file(scratch("e"), "old");
    EXPECT_EQ(run("cmd >" + scratch("o") + " 2>" + scratch("e") + " 1>&2"), 1);
    EXPECT_EQ(test::read_file(scratch("o")), "");
    EXPECT_EQ(test::read_file(scratch("e")), "old");
}

TEST_F(security_wrap_system, accepts_the_null_device) {
    EXPECT_EQ(run("cmd > /dev/null 2>/dev/null"), 1);
}

TEST_F(security_wrap_system, ignores_a_file_that_cannot_be_opened) {
    EXPECT_EQ(run("cmd > " + scratch("absent/x")), 1);
}

TEST_F(security_wrap_system, does_not_touch_the_files_of_a_refused_line) {
    test::write_file(scratch("x"), "old");
    for (const char* tail : {" < in", " | b", " > > f", " 3>f", " >a", " \"\"", " a\\b"}) {
        EXPECT_EQ(run("cmd > " + scratch("x") + tail), -1) << tail;
        EXPECT_EQ(test::read_file(scratch("x")), "old") << tail;
    }
}

TEST_F(security_wrap_system, refuses_an_unknown_source_and_logs_the_reason) {
    test::recording_log log(dp::log_level::error);
    EXPECT_EQ(run("cmd 3>" + scratch("f")), -1);
    EXPECT_FALSE(exists(scratch("f")));
    EXPECT_THAT(log.lines,
                ElementsAre(test::recording_log::line{
                    "ERR", " ***ERROR*** ERROR: security_wrap::exec: unknown redirection input"}));
}

TEST_F(security_wrap_system, fails_for_a_line_without_parameters) {
    EXPECT_EQ(run("  ab"), -1);
    EXPECT_EQ(run("\"a"), -1);
    EXPECT_EQ(run(""), -1);
}

TEST_F(security_wrap_system, logs_parameters_and_flag_at_debug_level) {
    test::recording_log log(dp::log_level::trace_2);
    EXPECT_EQ(run("cmd \"a b\" > " + scratch("x") + " 2>&1"), 1);
    EXPECT_EQ(run("only"), 1);
    EXPECT_EQ(run("bad 3>f"), -1);
    using line = test::recording_log::line;
    EXPECT_THAT(
        log.lines,
        ElementsAre(line{"DBG", " INFO: security_wrap::system: parsed paramter -->cmd\n"},
                    line{"DBG", " INFO: security_wrap::system: parsed paramter -->a b\n"},
                    line{"DBG", " INFO: security_wrap::system: parsed redirection flag -->20\n"},
                    line{"DBG", " INFO: security_wrap::system: parsed paramter -->only\n"},
                    line{"DBG", " INFO: security_wrap::system: parsed paramter -->bad\n"},
                    line{"DBG", " INFO: security_wrap::system: parsed redirection flag -->-1\n"}));
    log.lines.clear();
    log.mask_value = ~dp::log_level::trace_2;
    EXPECT_EQ(run("cmd > " + scratch("x")), 1);
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(security_wrap_system, never_starts_a_process) {
    const std::string made = scratch("made");
    for (const std::string& line :
         {"/bin/touch " + made, "/bin/sh -c \"/bin/touch " + made + "\"",
          "/bin/touch " + made + " > " + scratch("x"), "/bin/touch " + made + " &"}) {
        EXPECT_EQ(run(line), 1) << line;
        EXPECT_FALSE(exists(made)) << line;
        errno = 0;
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD) << "there is no child";
    }
}

// ---- parse_commandline: comparison with the model

void expect_same_as_model(const std::string& line) {
    const parsed_line got = parse(line);
    const test::command_line_outcome expected = test::model_command_line(line);
    ASSERT_EQ(got.accepted, expected.refusal.empty()) << '[' << line << "] " << got.refusal;
    ASSERT_EQ(got.refusal, expected.refusal) << '[' << line << ']';
    if (got.accepted) {
        ASSERT_EQ(got.params, expected.params) << '[' << line << ']';
        ASSERT_EQ(got.redirections, expected.redirections) << '[' << line << ']';
    }
}

TEST(parse_commandline, agrees_with_the_model_on_every_short_line) {
    const std::string alphabet = R"(a2 >"\&<|)";
    std::vector<std::string> lines{""};
    std::size_t begin = 0;
    for (int length = 1; length <= 5; ++length) {
        const std::size_t end = lines.size();
        for (std::size_t i = begin; i < end; ++i) {
            for (const char c : alphabet) {
                lines.push_back(lines[i] + c);
            }
        }
        begin = end;
    }
    ASSERT_EQ(lines.size(), 66430U);
    for (const std::string& line : lines) {
        ASSERT_NO_FATAL_FAILURE(expect_same_as_model(line));
    }
}

TEST(parse_commandline, agrees_with_the_model_on_generated_lines) {
    // Words and separators are so frequent that about half of the lines are accepted.
    const std::vector<std::string> pieces{"cmd",
                                          " ",
                                          " ",
                                          "  ",
                                          "-x",
                                          " ",
                                          "a=b",
                                          "1",
                                          "2",
                                          "3",
                                          "12",
                                          ">",
                                          ">>",
                                          " > ",
                                          "2>",
                                          "&1",
                                          "/dev/null",
                                          "&2",
                                          "\"",
                                          "\"a b\"",
                                          "&",
                                          "\\\"",
                                          "\\",
                                          "\\\\",
                                          "<",
                                          "|",
                                          "\t",
                                          "\"x>y\"",
                                          " 2>&1 ",
                                          " \"q\\\"r\" ",
                                          std::string(126, 'w'),
                                          std::string(127, 'l'),
                                          std::string(128, 'v')};
    std::mt19937 random(20240607);
    std::map<std::string, int> refusals;
    constexpr int count = 40000;
    for (int i = 0; i < count; ++i) {
        std::string line;
        for (std::size_t n = random() % 9 + 1; n > 0; --n) {
            line += pieces[random() % pieces.size()];
        }
        ASSERT_NO_FATAL_FAILURE(expect_same_as_model(line));
        ++refusals[test::model_command_line(line).refusal];
    }
    // The lines cover every refusal but the step limit, and many are accepted.
    EXPECT_GT(refusals[""], count / 10);
    EXPECT_EQ(refusals.size(), 10U);
    for (const auto& [refusal, times] : refusals) {
        EXPECT_GT(times, 20) << refusal;
    }
}

}  // namespace
