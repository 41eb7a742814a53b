#include "host/exchange/batch_feed.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "batch/batch_file_converter.hpp"
#include "service_api/service_status.hpp"

namespace {

using dp_host::batch_feed;

struct fed {
    std::vector<std::string> names;  // unresolved here, so the targets' values tell the lines apart
    std::vector<batch_feed::dropped_line> dropped;
};

fed feed(const std::string& text) {
    std::istringstream source(text);
    dp::batch_file_converter converter;
    batch_feed lines(source, [&] { return converter.commands.size(); });
    std::istream in(&lines);
    converter.read_file(in, nullptr);
    fed result;
    for (const auto& command : converter.commands) {
        result.names.push_back(command.value_in);
    }
    result.dropped = lines.dropped();
    return result;
}

std::string terse(dp::basic_transaction_command command) {
    std::ostringstream out;
    command.write_terse_output(out);
    return out.str();
}

TEST(batch_feed, the_reader_gets_the_lines_that_it_would_get_from_the_file) {
    const std::string text =
        "# comment\n\n   \n0 1 t set A.B \"1\" \"\"\n0 2\n  # 3 t set A.B \"3\" \"\"\n0 4 t set "
        "A.B "
        "\"4\" \"\"";
    std::istringstream plain(text);
    dp::batch_file_converter direct;
    direct.read_file(plain, nullptr);
    const auto result = feed(text);
    ASSERT_EQ(result.names.size(), direct.commands.size());
    for (std::size_t i = 0; i < direct.commands.size(); ++i) {
        EXPECT_EQ(result.names[i], direct.commands[i].value_in);
    }
    EXPECT_TRUE(result.dropped.empty());
}

TEST(batch_feed, dropped_lines_are_noticed_where_they_stand) {
    const auto result = feed(
        "0 1 t set A.B \"1\" \"\" two words\n"
        "0 2 t set A.B \"2\" \"\"\n"
        "0 3 t set A.B \"3\" \"\" x y\n"
        "# 0 9 t set A.B \"9\" \"\" x y\n"
        "0 4 t set A.B \"a\"b\" \"\" \n"
        "0 5 t set A.B \"5\" \"\"\n"
        "0 6 t set A.B \"6\" \"\" x y");
    EXPECT_EQ(result.names, (std::vector<std::string>{"2", "5"}));
    ASSERT_EQ(result.dropped.size(), 4U);
    EXPECT_EQ(result.dropped[0].position, 0U);
    EXPECT_EQ(result.dropped[1].position, 1U);
    EXPECT_EQ(result.dropped[2].position, 1U);
    EXPECT_EQ(result.dropped[3].position, 2U);
    EXPECT_EQ(result.dropped[2].answer.correlator, 4U);
    EXPECT_EQ(result.dropped[3].answer.correlator, 6U);
}

TEST(batch_feed, the_last_of_many_dropped_lines_is_noticed_without_a_line_end) {
    const auto result = feed("0 1 t set A.B \"1\" \"\" x y");
    EXPECT_EQ(result.dropped.size(), 1U);
}

TEST(batch_feed, a_line_that_is_too_long_fails_alone) {
    const std::string begin = "0 7 t set A.B \"";
    const std::string fits =
        begin + std::string(batch_feed::longest_line - begin.size() - 1, 'x') + '"';
    ASSERT_EQ(fits.size(), batch_feed::longest_line);
    const auto result = feed(fits + "\n" + fits + "y\n0 8 t set A.B \"after\" \"\"\n");
    ASSERT_EQ(result.names.size(), 2U);
    EXPECT_EQ(result.names[1], "after");
    ASSERT_EQ(result.dropped.size(), 1U);
    EXPECT_EQ(result.dropped[0].position, 1U);
    EXPECT_EQ(terse(result.dropped[0].answer), "57 7 t set A.B \"\" \"\" ");
}

TEST(batch_feed, long_comments_and_blank_lines_are_no_commands) {
    const std::size_t big = batch_feed::longest_line + 10;
    const auto result = feed("#" + std::string(big, 'x') + "\n" + std::string(100, ' ') + "\n");
    EXPECT_TRUE(result.names.empty());
    EXPECT_TRUE(result.dropped.empty());
}

TEST(batch_feed, an_answer_has_what_the_line_has) {
    const auto answer = [](const std::string& line) {
        return terse(dp_host::answer_to_line(line, service_status::malformed_line));
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
