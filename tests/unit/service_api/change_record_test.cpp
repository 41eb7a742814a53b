#include "service_api/change_record.hpp"

#include <gtest/gtest.h>

namespace {

using dp_service::change_record;

const std::string time_text = "2023-11-04T22:13:20+01:00";

TEST(change_record_test, the_line_of_a_set_has_its_value) {
    const change_record record{"cim-0", time_text, "Boot.Mode", "Legacy"};
    EXPECT_EQ(record.line(), "<cim-0> 2023-11-04T22:13:20+01:00   Boot.Mode   \"Legacy\"");
}

TEST(change_record_test, the_line_of_a_delete_has_no_value) {
    const change_record record{"t", time_text, "Ports.Speed.2", std::nullopt};
    EXPECT_EQ(record.line(), "<t> 2023-11-04T22:13:20+01:00   Ports.Speed.2");
}

TEST(change_record_test, parse_gives_back_every_change_record) {
    for (const char* who : {"cim-0", "", "a>b", "<", ">", "<>>"}) {
        for (const char* value : {"", "x", "\"", "\\", "\\\"", "a   b", "   ", "\"   \"", "> ",
                                  "tr\xC3\xBC"
                                  "b\x01",
                                  "ends\\"}) {
            const change_record record{who, time_text, "Boot.Mode.12", value};
            const auto read = change_record::parse(record.line());
            ASSERT_TRUE(read) << record.line();
            EXPECT_EQ(read->who, who);
            EXPECT_EQ(read->time, time_text);
            EXPECT_EQ(read->target, "Boot.Mode.12");
            EXPECT_EQ(read->value, value);
        }
        const auto deleted =
            change_record::parse(change_record{who, time_text, "A.B", std::nullopt}.line());
        ASSERT_TRUE(deleted);
        EXPECT_EQ(deleted->who, who);
        EXPECT_EQ(deleted->target, "A.B");
        EXPECT_EQ(deleted->value, std::nullopt);
    }
}

TEST(change_record_test, the_line_has_the_value_before_and_the_cause) {
    const change_record set{"t", time_text, "A.B", "2", "1", "Mode is \"x\""};
    EXPECT_EQ(set.line(),
              "<t> " + time_text + "   A.B   \"2\"   was \"1\"   because \"Mode is \\\"x\\\"\"");
    const change_record removed{"t", time_text, "A.B", std::nullopt, "1"};
    EXPECT_EQ(removed.line(), "<t> " + time_text + "   A.B   was \"1\"");
}

TEST(change_record_test, parse_gives_back_the_value_before_and_the_cause) {
    for (const char* text : {"", "x", "\"", "\\", "   ", "\"   was \"", "   because \"y\""}) {
        for (const auto& value : {std::optional<std::string>(text), std::optional<std::string>()}) {
            for (const auto& before :
                 {std::optional<std::string>(text), std::optional<std::string>()}) {
                const change_record record{"t", time_text, "A.B", value, before, text};
                const auto read = change_record::parse(record.line());
                ASSERT_TRUE(read) << record.line();
                EXPECT_EQ(read->value, value);
                EXPECT_EQ(read->before, before);
                EXPECT_EQ(read->cause, text);
            }
        }
    }
}

TEST(change_record_test, names_the_parts_of_its_requester) {
    const auto parts = [](const char* who) {
        const auto requester = change_record{who, time_text, "A.B", "x"}.requested_by();
        return requester.transaction + '|' + requester.id + '|' + requester.client + '|' +
               requester.on_behalf_of;
    };
    EXPECT_EQ(parts("cim-0"), "cim-0|||");
    EXPECT_EQ(parts("t,id=0123,uid=0,gid=0,pid=1,program=/x"),
              "t|0123|uid=0,gid=0,pid=1,program=/x|");
    EXPECT_EQ(parts("t,id=0123,uid=0,gid=0,pid=1,for=eve,program=/x"),
              "t|0123|uid=0,gid=0,pid=1,program=/x|eve");
    EXPECT_EQ(parts("a,id=1,uid=7,id=0123,uid=0"), "a,id=1,uid=7|0123|uid=0|");
    EXPECT_EQ(parts("a,id=1,uid=7,for=eve,program=/x,id=0123,uid=0,gid=0,pid=1,program=/y"),
              "a,id=1,uid=7,for=eve,program=/x|0123|uid=0,gid=0,pid=1,program=/y|");
    EXPECT_EQ(parts("t,id=0123"), "t|0123||");
    EXPECT_EQ(parts(",id="), "|||");
    // Paths with commas are in the lines of earlier versions only.
    EXPECT_EQ(parts("t,id=0123,uid=0,gid=0,pid=1,program=/x,for=eve,program=/y"),
              "t|0123|uid=0,gid=0,pid=1,program=/x,for=eve,program=/y|");
    EXPECT_EQ(parts("t,id=0123,uid=0,for=eve"), "t|0123|uid=0,for=eve|");
}

TEST(change_record_test, parse_reads_the_lines_of_earlier_versions) {
    const auto read =
        change_record::parse("<cim-0> Tue Nov  4 22:13:20 2023   Boot.Mode   \"Legacy\"");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->time, "Tue Nov  4 22:13:20 2023");
    EXPECT_EQ(read->value, "Legacy");
    EXPECT_EQ(read->before, std::nullopt);
    EXPECT_EQ(read->cause, "");
}

TEST(change_record_test, parse_rejects_other_lines) {
    for (const char* line : {"",
                             "<",
                             "<t>",
                             "<t> ",
                             "<t> time",
                             "t> time   A.B",
                             "<t> time   ",
                             "<t> time   A.B   ",
                             "<t> time   A.B   x",
                             "<t> time   A.B   \"",
                             "<t> time   A.B   \"x",
                             "<t> time   A.B   \"x\\\"",
                             "<t> time   A.B   \"x\\",
                             "<t> time   A.B   \"x\" ",
                             "<t> time   A.B   \"x\"y\"",
                             "<t> time   A B",
                             "<t> time   A.B  \"x\"",
                             "Tue Nov 14 22:13:20 2023   A.B   \"x\"",
                             "<t> time   A.B   \"x\"   ",
                             "<t> time   A.B   \"x\"   \"y\"",
                             "<t> time   A.B   was",
                             "<t> time   A.B   was ",
                             "<t> time   A.B   was x",
                             "<t> time   A.B   was \"x",
                             "<t> time   A.B   was \"x\" ",
                             "<t> time   A.B   because \"x\"   was \"y\"",
                             "<t> time   A.B   because",
                             "<t> time   A.B   was \"x\"   \"y\"",
                             "<t> time   A.B   because \"x\"   because \"y\"",
                             "<t> time   A.B   \"x\"was \"y\"",
                             "<t> time   A.B   \"x\"   was \"y\"because \"z\""}) {
        EXPECT_FALSE(change_record::parse(line)) << line;
    }
}

TEST(change_record_test, a_truncated_set_is_never_read_as_a_set) {
    const std::string line = change_record{"t", time_text, "A.B", "x\"y"}.line();
    for (std::size_t size = 0; size < line.size(); ++size) {
        const auto read = change_record::parse(line.substr(0, size));
        EXPECT_TRUE(!read || !read->value) << line.substr(0, size);
    }
}

}  // namespace
