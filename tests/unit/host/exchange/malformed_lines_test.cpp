#include "host/exchange/malformed_lines.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "batch/batch_file_converter.hpp"
#include "service_api/service_status.hpp"

namespace {

using dp_host::longest_batch_line;
using dp_host::malformed_lines;

struct outcome {
    std::vector<std::string> values;  // the commands' input values
    std::vector<malformed_lines::malformed_line> malformed;
};

outcome read(const std::string& text) {
    std::istringstream in(text);
    dp::batch_file_converter converter;
    malformed_lines malformed(converter.commands);
    converter.read_file_reporting_dropped_lines(in, nullptr, malformed, longest_batch_line);
    outcome result;
    for (const auto& command : converter.commands) {
        result.values.push_back(command.value_in);
    }
    result.malformed = malformed.all();
    return result;
}

std::string terse(dp::basic_transaction_command command) {
    std::ostringstream out;
    command.write_terse_output(out);
    return out.str();
}

TEST(malformed_lines, have_the_number_of_commands_before_them) {
    const auto result = read(
        "0 1 t set A.B \"1\" \"\" two words\n"
        "0 2 t set A.B \"2\" \"\"\n"
        "0 3 t set A.B \"3\" \"\" x y\n"
        "# 0 9 t set A.B \"9\" \"\" x y\n"
        "0 4 t set A.B \"a\"b\" \"\" \n"
        "0 5 t set A.B \"5\" \"\"\n"
        "0 6 t set A.B \"6\" \"\" x y");
    EXPECT_EQ(result.values, (std::vector<std::string>{"2", "5"}));
    ASSERT_EQ(result.malformed.size(), 4U);
    EXPECT_EQ(result.malformed[0].position, 0U);
    EXPECT_EQ(result.malformed[1].position, 1U);
    EXPECT_EQ(result.malformed[2].position, 1U);
    EXPECT_EQ(result.malformed[3].position, 2U);
    EXPECT_EQ(result.malformed[2].answer.correlator, 4U);
    EXPECT_EQ(result.malformed[3].answer.correlator, 6U);
}

TEST(malformed_lines, may_lack_a_newline_at_the_end_of_the_file) {
    const auto result = read("0 1 t set A.B \"1\" \"\" x y");
    EXPECT_EQ(result.malformed.size(), 1U);
}

TEST(malformed_lines, contain_a_line_that_is_too_long) {
    const std::string begin = "0 7 t set A.B \"";
    const std::string fits =
        begin + std::string(std::size_t{longest_batch_line} - begin.size() - 1, 'x') + '"';
    ASSERT_EQ(fits.size(), std::size_t{longest_batch_line});
    const auto result = read(fits + "\n" + fits + "y\n0 8 t set A.B \"after\" \"\"\n");
    ASSERT_EQ(result.values.size(), 2U);
    EXPECT_EQ(result.values[1], "after");
    ASSERT_EQ(result.malformed.size(), 1U);
    EXPECT_EQ(result.malformed[0].position, 1U);
    EXPECT_EQ(terse(result.malformed[0].answer), "57 7 t set A.B \"\" \"\" ");
}

TEST(malformed_lines, do_not_contain_long_comments_and_lines_of_spaces) {
    const std::size_t big = std::size_t{longest_batch_line} + 10;
    const auto result = read("#" + std::string(big, 'x') + "\n" + std::string(100, ' ') + "\n");
    EXPECT_TRUE(result.values.empty());
    EXPECT_TRUE(result.malformed.empty());
}

TEST(answer_to_line, has_the_words_that_the_line_has) {
    const auto answer = [](const std::string& line) {
        return terse(dp_host::answer_to_line(line, dp_service::service_status::malformed_line));
    };
    EXPECT_EQ(answer("0 12 <cim-3> setv A.B.4 \"x\" y z"), "57 12 <cim-3> setv A.B.4 \"\" \"\" ");
    EXPECT_EQ(answer("0 12 <cim-3> command import A.B x y z"),
              "57 12 <cim-3> unknown A.B \"\" \"\" ");
    EXPECT_EQ(answer("0 12x t frob"), "57 12 t unknown ERR.INVALID_SETTING \"\" \"\" ");
    EXPECT_EQ(answer("x"), "57 0 <none> unknown ERR.INVALID_SETTING \"\" \"\" ");
    EXPECT_EQ(answer("0 nine"), "57 0 <none> unknown ERR.INVALID_SETTING \"\" \"\" ");
    EXPECT_EQ(answer("0 1 t set \"A.B\" \"1\" x y"), "57 1 t set ERR.INVALID_SETTING \"\" \"\" ");
}

}  // namespace
