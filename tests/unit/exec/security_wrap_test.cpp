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
#include <vector>

#include "common/log.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/exec/command_line_model.hpp"

namespace {

using dp::security_wrap;
using testing::ElementsAre;
using testing::IsEmpty;

using redirection = test::command_line_outcome::redirection;

// A line and what the vetter made of it.
struct vetted {
    bool accepted = false;
    std::string refusal;  // as logged, without the texts that every refusal has
    unsigned flag = 0;
    std::vector<std::string> params;
    std::vector<redirection> redirections;
};

const std::string refusal_head = " ***ERROR*** ERROR: security_wrap::exec: ";

vetted vet(const std::string& line) {
    test::recording_log log(dp::log_level::error);
    vetted result;
    std::vector<security_wrap::redirection> redirections;
    result.accepted =
        security_wrap::parse_commandline(line.c_str(), result.params, redirections, result.flag);
    for (const auto& r : redirections) {
        result.redirections.emplace_back(r.source, r.target, r.operation);
    }
    EXPECT_EQ(log.lines.size(), result.accepted ? 0U : 1U) << line;
    for (const auto& logged : log.lines) {
        EXPECT_EQ(logged.level, "ERR");
        EXPECT_EQ(logged.text.substr(0, refusal_head.size()), refusal_head);
        result.refusal = logged.text.substr(refusal_head.size());
    }
    return result;
}

std::vector<std::string> params_of(const std::string& line) {
    const vetted v = vet(line);
    EXPECT_TRUE(v.accepted) << line << ": " << v.refusal;
    return v.params;
}

std::string refusal_of(const std::string& line) {
    const vetted v = vet(line);
    EXPECT_FALSE(v.accepted) << line;
    return v.refusal;
}

int chomp(const char* text, unsigned& flag) {
    const char* command = text;
    const int length = security_wrap::chomp_cmd(&command, flag);
    EXPECT_EQ(command, text) << "the command is not moved";
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

class security_wrap_files : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static int run(const std::string& line) { return security_wrap::system(line.c_str()); }
    static bool exists(const std::string& path) { return std::filesystem::exists(path); }
};

// ---- chomp_cmd

TEST(chomp_cmd, nothing_is_left_of_an_empty_a_blank_or_an_ampersand_line) {
    for (const char* text : {"", " ", "     ", "&", " &", "& ", "  &  "}) {
        unsigned flag = 7;
        EXPECT_EQ(chomp(text, flag), -1) << '[' << text << ']';
        EXPECT_EQ(flag, 7U) << '[' << text << ']';
    }
}

TEST(chomp_cmd, a_missing_text_is_refused) {
    unsigned flag = 7;
    EXPECT_EQ(chomp(nullptr, flag), -1);
    EXPECT_EQ(security_wrap::chomp_cmd(nullptr, flag), -1);
    EXPECT_EQ(flag, 7U);
}

TEST(chomp_cmd, counts_from_the_first_to_the_last_character_that_is_not_a_blank) {
    EXPECT_EQ(chomp("ls"), 2);
    EXPECT_EQ(chomp("  ls  "), 2);
    EXPECT_EQ(chomp(" ls -l "), 5);
    EXPECT_EQ(chomp("x"), 1);
}

TEST(chomp_cmd, sets_the_flag_to_one) {
    unsigned flag = 7;
    EXPECT_EQ(chomp("ls", flag), 2);
    EXPECT_EQ(flag, 1U);
}

TEST(chomp_cmd, steps_over_one_trailing_ampersand_and_the_blanks_on_both_sides) {
    EXPECT_EQ(chomp("ls &"), 2);
    EXPECT_EQ(chomp("ls&"), 2);
    EXPECT_EQ(chomp("ls  &  "), 2);
}

TEST(chomp_cmd, a_second_ampersand_stays) {
    EXPECT_EQ(chomp("ls &&"), 4);
    EXPECT_EQ(chomp("ls & &"), 4);
    EXPECT_EQ(chomp("&&"), 1);
}

TEST(chomp_cmd, a_tab_is_not_a_blank) {
    EXPECT_EQ(chomp("\t"), 1);
    EXPECT_EQ(chomp("ls\t"), 3);
}

// ---- parse_commandline: words

TEST(parse_commandline, splits_at_blanks_and_drops_the_trailing_ampersand) {
    const vetted v = vet("ls -l &");
    EXPECT_TRUE(v.accepted);
    EXPECT_EQ(v.flag, 1U);
    EXPECT_THAT(v.params, ElementsAre("ls", "-l"));
    EXPECT_THAT(v.redirections, IsEmpty());
}

TEST(parse_commandline, a_second_ampersand_is_a_parameter) {
    EXPECT_THAT(params_of("ls &&"), ElementsAre("ls", "&"));
}

TEST(parse_commandline, an_ampersand_inside_the_line_is_an_ordinary_character) {
    EXPECT_THAT(params_of("a & b"), ElementsAre("a", "&", "b"));
    EXPECT_THAT(params_of("a;b&&c $(x) `y` *"), ElementsAre("a;b&&c", "$(x)", "`y`", "*"));
}

TEST(parse_commandline, runs_of_blanks_make_no_empty_parameters) {
    EXPECT_THAT(params_of("a   b    c   "), ElementsAre("a", "b", "c"));
}

TEST(parse_commandline, other_white_space_belongs_to_the_word) {
    EXPECT_THAT(params_of("a\tb\nc"), ElementsAre("a\tb\nc"));
}

TEST(parse_commandline, an_empty_line_is_refused) {
    for (const char* line : {"", "   ", "&", " & "}) {
        EXPECT_EQ(refusal_of(line), "chomp command line failed") << '[' << line << ']';
    }
}

TEST(parse_commandline, a_missing_line_is_refused) {
    std::vector<std::string> params;
    std::vector<security_wrap::redirection> redirections;
    unsigned flag = 0;
    EXPECT_FALSE(security_wrap::parse_commandline(nullptr, params, redirections, flag));
    EXPECT_EQ(security_wrap::system(nullptr), -1);
}

TEST(parse_commandline, empties_the_lists_first) {
    std::vector<std::string> params{"2"};
    std::vector<security_wrap::redirection> redirections(3);
    unsigned flag = 0;
    EXPECT_TRUE(security_wrap::parse_commandline("a", params, redirections, flag));
    EXPECT_THAT(params, ElementsAre("a"));
    EXPECT_THAT(redirections, IsEmpty());
}

TEST(parse_commandline, leading_blanks_cost_the_line_as_many_characters_at_its_end) {
    EXPECT_THAT(params_of("  ab"), IsEmpty());
    EXPECT_THAT(params_of(" abc"), ElementsAre("ab"));
    EXPECT_THAT(params_of("   abcdef ghi"), ElementsAre("abcdef"));
    EXPECT_THAT(params_of("  abc &"), ElementsAre("a"));
}

TEST(parse_commandline, what_leading_blanks_cut_off_is_not_looked_at) {
    EXPECT_THAT(params_of("  abc |"), ElementsAre("abc"));
    // The cut takes the second '>' and the closing half of an escape.
    const vetted v = vet(" a>>");
    EXPECT_TRUE(v.accepted);
    EXPECT_THAT(v.params, ElementsAre("a"));
    EXPECT_EQ(refusal_of(" \"a\\\""), "unknown escape character");
}

TEST(parse_commandline, a_parameter_has_at_most_127_characters) {
    const std::string longest(127, 'x');
    EXPECT_THAT(params_of(longest), ElementsAre(longest));
    EXPECT_THAT(params_of("a " + longest + " b"), ElementsAre("a", longest, "b"));
    EXPECT_EQ(refusal_of(longest + "x"), "parameter is too long");
    EXPECT_EQ(refusal_of("a " + longest + "x b"), "parameter is too long");
}

TEST(parse_commandline, a_quoted_parameter_has_at_most_127_characters) {
    const std::string longest(127, ' ');
    EXPECT_THAT(params_of("a \"" + longest + "\""), ElementsAre("a", longest));
    EXPECT_EQ(refusal_of("a \"" + longest + " \""), "parameter is too long");
    EXPECT_EQ(refusal_of("a \"" + longest + "\\\"\""), "parameter is too long");
    EXPECT_THAT(params_of("a \"" + longest.substr(1) + "\\\"\""),
                ElementsAre("a", longest.substr(1) + '"'));
}

TEST(parse_commandline, a_redirection_target_has_at_most_127_characters) {
    const std::string longest(127, 'x');
    EXPECT_THAT(vet("a >" + longest).redirections, ElementsAre(redirection("1", longest, 1)));
    EXPECT_EQ(refusal_of("a >" + longest + "x"), "parameter is too long");
}

TEST(parse_commandline, a_long_line_of_many_words_is_accepted) {
    std::string line = "w";
    for (int i = 0; i < 20000; ++i) {
        line += " w";
    }
    EXPECT_EQ(params_of(line).size(), 20001U);
}

// ---- parse_commandline: quotes and escapes

TEST(parse_commandline, quotes_keep_blanks_together) {
    EXPECT_THAT(params_of("echo \"a b\""), ElementsAre("echo", "a b"));
    EXPECT_THAT(params_of("\" \""), ElementsAre(" "));
}

TEST(parse_commandline, a_quote_in_the_middle_of_a_word_is_refused) {
    EXPECT_EQ(refusal_of("echo a\"b\""), "quotes appears in the middle of parameter");
}

TEST(parse_commandline, a_word_may_touch_a_closing_quote) {
    EXPECT_THAT(params_of("\"a\"b"), ElementsAre("a", "b"));
    EXPECT_THAT(params_of("\"a\"\"b\""), ElementsAre("a", "b"));
}

TEST(parse_commandline, an_empty_quoted_parameter_is_refused) {
    EXPECT_EQ(refusal_of("echo \"\""), "no parameter between quotes");
}

TEST(parse_commandline, an_escape_outside_quotes_is_refused) {
    EXPECT_EQ(refusal_of("echo a\\b"), "escape char appear out of quotes");
    EXPECT_EQ(refusal_of("echo \\\"a"), "escape char appear out of quotes");
    EXPECT_EQ(refusal_of("\\"), "escape char appear out of quotes");
}

TEST(parse_commandline, an_escape_inside_quotes_takes_the_next_character_as_it_is) {
    EXPECT_THAT(params_of("echo \"a\\\"b\""), ElementsAre("echo", "a\"b"));
    EXPECT_THAT(params_of("echo \"a\\\\b\""), ElementsAre("echo", "a\\b"));
    EXPECT_THAT(params_of("\"\\\"\""), ElementsAre("\""));
}

TEST(parse_commandline, any_other_escape_inside_quotes_is_refused) {
    EXPECT_EQ(refusal_of("echo \"a\\n\""), "unknown escape character");
    EXPECT_EQ(refusal_of("echo \"a\\"), "unknown escape character");
    EXPECT_EQ(refusal_of("echo \"a\\ &"), "unknown escape character");
}

TEST(parse_commandline, shell_characters_inside_quotes_are_ordinary) {
    EXPECT_THAT(params_of("echo \"a<b|c>d>>e\""), ElementsAre("echo", "a<b|c>d>>e"));
}

TEST(parse_commandline, a_quote_that_is_not_closed_is_dropped) {
    EXPECT_THAT(params_of("echo \"a b"), ElementsAre("echo"));
    EXPECT_THAT(params_of("echo \""), ElementsAre("echo"));
    EXPECT_THAT(params_of("echo \"" + std::string(127, 'x')), ElementsAre("echo"));
    EXPECT_EQ(refusal_of("echo \"" + std::string(128, 'x')), "parameter is too long");
}

// ---- parse_commandline: redirections

TEST(parse_commandline, pipes_and_input_redirection_are_refused) {
    EXPECT_EQ(refusal_of("cmd < in"), "redirect input is not supported");
    EXPECT_EQ(refusal_of("cmd<in"), "redirect input is not supported");
    EXPECT_EQ(refusal_of("a | b"), "pipe is not supported");
    EXPECT_EQ(refusal_of("a||b"), "pipe is not supported");
}

TEST(parse_commandline, output_redirection_has_five_forms) {
    struct form {
        const char* line;
        redirection expected;
    };
    for (const auto& [line, expected] :
         {form{"cmd>f", {"1", "f", 1}}, form{"cmd > f", {"1", "f", 1}},
          form{"cmd 2>f", {"2", "f", 1}}, form{"cmd 2 >> f", {"2", "f", 2}},
          form{"cmd 2>&1", {"2", "&1", 1}}}) {
        const vetted v = vet(line);
        EXPECT_TRUE(v.accepted) << line;
        EXPECT_THAT(v.params, ElementsAre("cmd")) << line;
        EXPECT_THAT(v.redirections, ElementsAre(expected)) << line;
    }
}

TEST(parse_commandline, a_word_that_touches_the_arrow_is_a_parameter) {
    const vetted v = vet("cmd a>>f b");
    EXPECT_THAT(v.params, ElementsAre("cmd", "a", "b"));
    EXPECT_THAT(v.redirections, ElementsAre(redirection("1", "f", 2)));
}

TEST(parse_commandline, a_number_that_touches_the_arrow_is_the_source) {
    for (const char* number : {"1", "2", "3", "0", "12", "007"}) {
        const vetted v = vet(std::string("cmd ") + number + ">f");
        EXPECT_THAT(v.params, ElementsAre("cmd")) << number;
        EXPECT_THAT(v.redirections, ElementsAre(redirection(number, "f", 1)));
    }
}

TEST(parse_commandline, only_one_and_two_are_sources_apart_from_the_arrow) {
    EXPECT_THAT(vet("cmd 1 > f").params, ElementsAre("cmd"));
    EXPECT_THAT(vet("cmd 2 > f").redirections, ElementsAre(redirection("2", "f", 1)));
    const vetted v = vet("cmd 3 > f");
    EXPECT_THAT(v.params, ElementsAre("cmd", "3"));
    EXPECT_THAT(v.redirections, ElementsAre(redirection("1", "f", 1)));
}

TEST(parse_commandline, only_the_last_parameter_can_become_the_source) {
    EXPECT_THAT(vet("cmd 2 1 > f").params, ElementsAre("cmd", "2"));
    EXPECT_THAT(vet("cmd 2 2>f").params, ElementsAre("cmd", "2"));
    // A quoted number ends as a parameter before the arrow is seen.
    const vetted v = vet("cmd \"2\">f");
    EXPECT_THAT(v.params, ElementsAre("cmd"));
    EXPECT_THAT(v.redirections, ElementsAre(redirection("2", "f", 1)));
}

TEST(parse_commandline, an_arrow_without_anything_in_front_redirects_standard_output) {
    const vetted v = vet(">f");
    EXPECT_THAT(v.params, IsEmpty());
    EXPECT_THAT(v.redirections, ElementsAre(redirection("1", "f", 1)));
    EXPECT_EQ(security_wrap::system(">f"), -1) << "no parameter";
    EXPECT_EQ(security_wrap::system("2>f"), -1) << "no parameter";
}

TEST(parse_commandline, a_target_may_be_quoted) {
    EXPECT_THAT(vet("cmd >\"a b\"").redirections, ElementsAre(redirection("1", "a b", 1)));
    EXPECT_THAT(vet("cmd >> \"a>b\" c").params, ElementsAre("cmd", "c"));
}

TEST(parse_commandline, a_second_arrow_before_the_target_is_refused) {
    for (const char* line : {"cmd > > f", "cmd >>> f", "cmd >a>b", "cmd >>a>b", "cmd > 2>f"}) {
        EXPECT_EQ(refusal_of(line), "redirection parse error") << line;
    }
}

TEST(parse_commandline, a_redirection_without_target_is_dropped) {
    for (const char* line : {"cmd >", "cmd >>", "cmd 2>", "cmd > &", "cmd > \"f"}) {
        const vetted v = vet(line);
        EXPECT_TRUE(v.accepted) << line;
        EXPECT_THAT(v.params, ElementsAre("cmd")) << line;
        EXPECT_THAT(v.redirections, IsEmpty()) << line;
    }
}

TEST(parse_commandline, several_redirections_keep_their_order) {
    EXPECT_THAT(vet("cmd >a 2>&1 >>b 1>&2").redirections,
                ElementsAre(redirection("1", "a", 1), redirection("2", "&1", 1),
                            redirection("1", "b", 2), redirection("1", "&2", 1)));
}

TEST(parse_commandline, a_refusal_is_silent_unless_errors_are_logged) {
    test::recording_log log(~dp::log_level::error);
    std::vector<std::string> params;
    std::vector<security_wrap::redirection> redirections;
    unsigned flag = 0;
    EXPECT_FALSE(security_wrap::parse_commandline("a|b", params, redirections, flag));
    EXPECT_THAT(log.lines, IsEmpty());
}

// ---- parse_redirection

TEST(parse_redirection, no_redirection_gives_no_flag) {
    EXPECT_EQ(flag_of({}), 0);
}

TEST(parse_redirection, each_target_has_its_bit) {
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

TEST(parse_redirection, targets_are_compared_as_whole_texts) {
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

TEST(parse_redirection, a_second_file_of_the_same_stream_is_refused_in_silence) {
    test::recording_log log(0xFFFFFFFF);
    EXPECT_EQ(flag_of({{"1", "a", 1}, {"1", "a", 1}}), -1);
    EXPECT_EQ(flag_of({{"2", "a", 1}, {"2", "b", 1}}), -1);
    EXPECT_THAT(log.lines, IsEmpty());
    EXPECT_EQ(flag_of({{"1", "/dev/null", 1}, {"1", "a", 1}, {"1", "/dev/null", 1}}), 0x05);
}

TEST(parse_redirection, an_unknown_operation_is_refused) {
    for (const std::int32_t operation : {0, 3, -1}) {
        test::recording_log log(dp::log_level::error);
        EXPECT_EQ(flag_of({{"7", "f", operation}}), -1);
        EXPECT_THAT(log.lines, ElementsAre(test::recording_log::line{
                                   "ERR",
                                   " ***ERROR*** ERROR: security_wrap::exec: unsupported "
                                   "redirection operation"}));
    }
}

TEST(parse_redirection, an_unknown_source_is_refused) {
    for (const char* source : {"3", "", "0", "11", " 1"}) {
        test::recording_log log(dp::log_level::error);
        EXPECT_EQ(flag_of({{source, "f", 1}}), -1) << source;
        EXPECT_THAT(
            log.lines,
            ElementsAre(test::recording_log::line{
                "ERR", " ***ERROR*** ERROR: security_wrap::exec: unknown redirection input"}));
    }
}

TEST(parse_redirection, whole_lines_give_their_flags) {
    EXPECT_EQ(flag_of_line("cmd > /tmp/x 2>&1"), 0x14);
    EXPECT_EQ(flag_of_line("cmd 2> /tmp/e"), 0x08);
    EXPECT_EQ(flag_of_line("cmd >/dev/null 2>/dev/null"), 0x03);
    EXPECT_EQ(flag_of_line("cmd 3>f"), -1);
    EXPECT_EQ(flag_of_line("cmd 3 > f"), 0x04);
}

// ---- redirect_2_file

TEST_F(security_wrap_files, redirect_2_file_replaces_or_appends) {
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

TEST_F(security_wrap_files, redirect_2_file_creates_the_file_for_both_operations) {
    std::vector<unsigned char> nothing;
    for (const std::int32_t operation : {1, 2}) {
        security_wrap::redirection_file file{scratch("new" + std::to_string(operation)), operation};
        EXPECT_EQ(security_wrap::redirect_2_file(nothing, file), 0);
        EXPECT_TRUE(exists(file.name));
    }
}

TEST_F(security_wrap_files, redirect_2_file_refuses_other_operations) {
    std::vector<unsigned char> data{'a'};
    for (const std::int32_t operation : {0, 3, -1}) {
        security_wrap::redirection_file file{scratch("out"), operation};
        EXPECT_EQ(security_wrap::redirect_2_file(data, file), -1);
        EXPECT_FALSE(exists(file.name));
    }
}

TEST_F(security_wrap_files, redirect_2_file_reports_a_file_that_cannot_be_opened) {
    std::vector<unsigned char> data{'a'};
    for (const std::string& name : {scratch("absent/out"), scratch(""), std::string()}) {
        security_wrap::redirection_file file{name, security_wrap::truncate};
        EXPECT_EQ(security_wrap::redirect_2_file(data, file), -1) << name;
    }
}

TEST_F(security_wrap_files, redirect_2_file_writes_all_to_a_slow_reader) {
    const std::string pipe = scratch("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // More than a pipe holds.
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

TEST_F(security_wrap_files, redirect_2_file_waits_for_no_reader) {
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

TEST_F(security_wrap_files, system_truncates_the_standard_output_file) {
    test::write_file(scratch("x"), "old");
    EXPECT_EQ(run("cmd > " + scratch("x") + " 2>&1"), 1);
    EXPECT_EQ(test::read_file(scratch("x")), "");
    test::write_file(scratch("x"), "old");
    EXPECT_EQ(run("cmd>" + scratch("x")), 1);
    EXPECT_EQ(test::read_file(scratch("x")), "");
}

TEST_F(security_wrap_files, system_keeps_what_it_appends_to) {
    test::write_file(scratch("x"), "old");
    EXPECT_EQ(run("cmd >> " + scratch("x")), 1);
    EXPECT_EQ(test::read_file(scratch("x")), "old");
    EXPECT_EQ(run("cmd >> " + scratch("fresh")), 1);
    EXPECT_TRUE(exists(scratch("fresh")));
}

TEST_F(security_wrap_files, system_never_touches_the_standard_error_file) {
    test::write_file(scratch("e"), "old");
    EXPECT_EQ(run("cmd 2> " + scratch("e")), 1);
    EXPECT_EQ(test::read_file(scratch("e")), "old");
    EXPECT_EQ(run("cmd 2> " + scratch("absent")), 1);
    EXPECT_FALSE(exists(scratch("absent")));
    EXPECT_EQ(run("cmd 2> " + scratch("absent") + " 1>&2"), 1);
    EXPECT_FALSE(exists(scratch("absent")));
}

TEST_F(security_wrap_files, system_with_files_for_both_streams_writes_standard_output_only) {
    test::write_file(scratch("o"), "old");
    test::write_file(scratch("e"), "old");
    EXPECT_EQ(run("cmd >" + scratch("o") + " 2>" + scratch("e") + " 1>&2"), 1);
    EXPECT_EQ(test::read_file(scratch("o")), "");
    EXPECT_EQ(test::read_file(scratch("e")), "old");
}

TEST_F(security_wrap_files, system_to_the_null_device_succeeds) {
    EXPECT_EQ(run("cmd > /dev/null 2>/dev/null"), 1);
}

TEST_F(security_wrap_files, system_ignores_a_file_that_cannot_be_opened) {
    EXPECT_EQ(run("cmd > " + scratch("absent/x")), 1);
}

TEST_F(security_wrap_files, a_refused_line_leaves_its_files_alone) {
    test::write_file(scratch("x"), "old");
    for (const char* tail : {" < in", " | b", " > > f", " 3>f", " >a", " \"\"", " a\\b"}) {
        EXPECT_EQ(run("cmd > " + scratch("x") + tail), -1) << tail;
        EXPECT_EQ(test::read_file(scratch("x")), "old") << tail;
    }
}

TEST_F(security_wrap_files, system_refuses_an_unknown_source_by_name) {
    test::recording_log log(dp::log_level::error);
    EXPECT_EQ(run("cmd 3>" + scratch("f")), -1);
    EXPECT_FALSE(exists(scratch("f")));
    EXPECT_THAT(log.lines,
                ElementsAre(test::recording_log::line{
                    "ERR", " ***ERROR*** ERROR: security_wrap::exec: unknown redirection input"}));
}

TEST_F(security_wrap_files, system_of_a_line_without_parameters_fails) {
    EXPECT_EQ(run("  ab"), -1);
    EXPECT_EQ(run("\"a"), -1);
    EXPECT_EQ(run(""), -1);
}

TEST_F(security_wrap_files, system_logs_what_it_parsed_at_debug_level) {
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

TEST_F(security_wrap_files, system_never_starts_a_process) {
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

// ---- against the model

void expect_as_model(const std::string& line) {
    const vetted got = vet(line);
    const test::command_line_outcome expected = test::model_command_line(line);
    ASSERT_EQ(got.accepted, expected.refusal.empty()) << '[' << line << "] " << got.refusal;
    ASSERT_EQ(got.refusal, expected.refusal) << '[' << line << ']';
    if (got.accepted) {
        ASSERT_EQ(got.params, expected.params) << '[' << line << ']';
        ASSERT_EQ(got.redirections, expected.redirections) << '[' << line << ']';
    }
}

TEST(security_wrap_model, agrees_on_every_short_line) {
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
        ASSERT_NO_FATAL_FAILURE(expect_as_model(line));
    }
}

TEST(security_wrap_model, agrees_on_thousands_of_generated_lines) {
    // Words and separators are frequent, so that about half of the lines are accepted.
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
        ASSERT_NO_FATAL_FAILURE(expect_as_model(line));
        ++refusals[test::model_command_line(line).refusal];
    }
    // The lines reach every refusal but the guard, and many are accepted.
    EXPECT_GT(refusals[""], count / 10);
    EXPECT_EQ(refusals.size(), 10U);
    for (const auto& [refusal, times] : refusals) {
        EXPECT_GT(times, 20) << refusal;
    }
}

}  // namespace
