#include "service_api/change_record.hpp"

#include <gtest/gtest.h>

namespace {

using dp_service::change_record;

const std::string time_text = "Tue Nov  4 22:13:20 2023";

TEST(change_record_test, the_line_of_a_set_has_its_value) {
    const change_record record{"cim-0", time_text, "Boot.Mode", "Legacy"};
    EXPECT_EQ(record.line(), "<cim-0> Tue Nov  4 22:13:20 2023   Boot.Mode   \"Legacy\"");
}

TEST(change_record_test, the_line_of_a_delete_has_no_value) {
    const change_record record{"t", time_text, "Ports.Speed.2", std::nullopt};
    EXPECT_EQ(record.line(), "<t> Tue Nov  4 22:13:20 2023   Ports.Speed.2");
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

TEST(change_record_test, parse_rejects_other_lines) {
    for (const char* line :
         {"", "<", "<t>", "<t> ", "<t> time", "t> time   A.B", "<t> time   ", "<t> time   A.B   ",
          "<t> time   A.B   x", "<t> time   A.B   \"", "<t> time   A.B   \"x",
          "<t> time   A.B   \"x\\\"", "<t> time   A.B   \"x\\", "<t> time   A.B   \"x\" ",
          "<t> time   A.B   \"x\"y\"", "<t> time   A B", "<t> time   A.B  \"x\"",
          "Tue Nov 14 22:13:20 2023   A.B   \"x\""}) {
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
