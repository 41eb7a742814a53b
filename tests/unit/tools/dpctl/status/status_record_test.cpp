#include "tools/dpctl/status/status_record.hpp"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace dpctl {
namespace {

using dp_support::json_layout;
using kind = status_record::kind;

status_record parse(std::string_view line) {
    const auto record = status_record::parse(line);
    EXPECT_TRUE(record.has_value()) << line;
    return record.value_or(status_record{});
}

TEST(status_record, parses_every_kind) {
    const auto first = parse("<dp-status> 0001 DP.MESSAGE init ");
    EXPECT_TRUE(first.is_first());
    const auto working = parse("<T> 00ff DP.WORKING -7");
    EXPECT_EQ(working.what, kind::working);
    EXPECT_EQ(working.transaction, "T");
    EXPECT_EQ(working.sequence, 255U);
    EXPECT_EQ(working.number, -7);
    EXPECT_FALSE(working.is_first());
    const auto error = parse("<T> 0003 DP.ERROR A.B.1 18");
    EXPECT_EQ(error.what, kind::error);
    EXPECT_EQ(error.text, "A.B.1");
    EXPECT_EQ(error.number, 18);
    const auto done = parse("<T> ffff DP.DONE 1 2 3");
    EXPECT_EQ(done.what, kind::done);
    EXPECT_TRUE(done.failed);
    EXPECT_EQ(done.succeeded, 2);
    EXPECT_EQ(done.errors, 3);
    const auto outfile = parse("<T> 0000 DP.OUTFILE /tmp/an answer");
    EXPECT_EQ(outfile.what, kind::outfile);
    EXPECT_EQ(outfile.text, "/tmp/an answer");
}

TEST(status_record, parses_names_and_texts_with_spaces) {
    const auto error = parse("<a> b> 0003 DP.ERROR a command  of words 18");
    EXPECT_EQ(error.transaction, "a> b");
    EXPECT_EQ(error.text, "a command  of words");
    EXPECT_EQ(parse("<> 0003 DP.ERROR  18").text, "");
    EXPECT_EQ(parse("<T> 0003 DP.MESSAGE  ").text, " ");
    EXPECT_EQ(parse("<T> 0003 DP.MESSAGE a> 0004 DP.WORKING 1").what, kind::message);
}

TEST(status_record, refuses_other_lines) {
    for (const char* const line : {"",
                                   "<",
                                   "<T>",
                                   "<T> ",
                                   "<T> 0001",
                                   "<T> 0001 ",
                                   "<T> 0001 DP.WORKING",
                                   "<T> 0001 DP.WORKING ",
                                   "<T> 0001 DP.WORKING 1x",
                                   "<T> 0001 DP.WORKING 99999999999",
                                   "<T> 001 DP.WORKING 1",
                                   "<T> 000g DP.WORKING 1",
                                   "T> 0001 DP.WORKING 1",
                                   "<T> 0001 DP.ERROR 18",
                                   "<T> 0001 DP.ERROR A.B x",
                                   "<T> 0001 DP.DONE 1 2",
                                   "<T> 0001 DP.DONE 1 2 3 4",
                                   "<T> 0001 DP.DONE  2 3",
                                   "<T> 0001 DP.OTHER 1",
                                   "<T> start",
                                   "<T>stop 1 2 1",
                                   "<T> 0001  DP.WORKING 1",
                                   " <T> 0001 DP.WORKING 1"}) {
        EXPECT_FALSE(status_record::parse(line).has_value()) << line;
    }
}

TEST(read_records, ignores_foreign_lines_and_an_incomplete_last_line) {
    const auto content = read_records(
        "half a line\n\n<T> 0002 DP.WORKING 0\n<T> 0003 DP.NEW x\n<T> 0004 DP.DONE 0 1");
    ASSERT_EQ(content.records.size(), 1U);
    EXPECT_EQ(content.records[0].line, "<T> 0002 DP.WORKING 0");
    EXPECT_EQ(content.foreign_lines, 2U);
    EXPECT_TRUE(content.is_incomplete);
    EXPECT_FALSE(read_records("").is_incomplete);
    EXPECT_FALSE(read_records("<T> 0002 DP.WORKING 0\n").is_incomplete);
}

TEST(describe_totals, counts_failed_or_succeeded_commands) {
    EXPECT_EQ(describe_totals(parse("<T> 0004 DP.DONE 0 3 0")), "all 3 commands succeeded");
    EXPECT_EQ(describe_totals(parse("<T> 0004 DP.DONE 0 1 0")), "the command succeeded");
    EXPECT_EQ(describe_totals(parse("<T> 0004 DP.DONE 0 0 0")), "there were no commands");
    EXPECT_EQ(describe_totals(parse("<T> 0004 DP.DONE 1 2 1")), "1 of 3 commands failed");
    EXPECT_EQ(describe_totals(parse("<T> 0004 DP.DONE 1 0 1")), "1 of 1 command failed");
    EXPECT_EQ(describe_totals(parse("<T> 0004 DP.DONE 1 2147483647 2147483647")),
              "2147483647 of 4294967294 commands failed");
}

TEST(to_line, describes_a_record_for_a_person) {
    EXPECT_EQ(to_line(parse("<dp-status> 0001 DP.MESSAGE init ")), "start of the status file");
    EXPECT_EQ(to_line(parse("<T> 0002 DP.WORKING 0")), "T: running, step 0");
    EXPECT_EQ(to_line(parse("<T> 0003 DP.ERROR A.B 55")),
              "T: A.B failed: it is read-only (status 55)");
    EXPECT_EQ(to_line(parse("<T> 0003 DP.ERROR A.B -1")),
              "T: A.B failed: the reason is not known to dpctl (status -1)");
    EXPECT_EQ(to_line(parse("<T> 0004 DP.MESSAGE A.B \"x\"")), "T: message A.B \"x\"");
    EXPECT_EQ(to_line(parse("<T> 0005 DP.OUTFILE /a b")), "T: the answer is in /a b");
    EXPECT_EQ(to_line(parse("<T> 0006 DP.DONE 1 2 1")), "T: finished, 1 of 3 commands failed");
}

TEST(to_json, describes_a_record_for_a_program) {
    using nlohmann::json;
    const auto document = [](const char* line) {
        return json::parse(to_text(to_json(parse(line)), json_layout::one_line));
    };
    EXPECT_EQ(document("<T> 000a DP.ERROR A.B 55"),
              json::parse(R"({"transaction": "T", "sequence": 10, "record": "error",
                  "name": "A.B", "status": 55, "reason": "it is read-only"})"));
    EXPECT_EQ(document("<T> 0006 DP.DONE 1 2 1"),
              json::parse(R"({"transaction": "T", "sequence": 6, "record": "done",
                  "failed": true, "succeeded_commands": 2, "failed_commands": 1})"));
    EXPECT_EQ(document("<T> 0002 DP.WORKING 4")["step"], 4);
    EXPECT_EQ(document("<T> 0002 DP.OUTFILE f")["file"], "f");
    EXPECT_EQ(document("<T> 0002 DP.MESSAGE a b")["text"], "a b");
}

}  // namespace
}  // namespace dpctl
