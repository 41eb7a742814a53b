#include "tools/dpctl/output/report.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tools/dpctl/output/table.hpp"

namespace dpctl {
namespace {

using dp_support::json_value;
using nlohmann::ordered_json;

TEST(report, prints_text_and_succeeds) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.line("Boot.Mode=UEFI");
    rep.show(table({"A"}));
    rep.document().set("ignored", true);
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(out.str(), "Boot.Mode=UEFI\nA\n");
    EXPECT_EQ(err.str(), "");
}

TEST(report, prints_only_a_document_as_json) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.line("not shown");
    rep.show(table({"NOT SHOWN"}));
    rep.document().set("name", "Boot");
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(ordered_json::parse(out.str()), ordered_json({{"name", "Boot"}}));
}

TEST(report, prints_an_empty_document_without_a_result) {
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(report(out, err, true).finish(), 0);
    EXPECT_EQ(out.str(), "{}\n");
}

TEST(report, fails_after_a_problem_and_adds_it_to_the_document) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    EXPECT_FALSE(rep.failed());
    rep.problem("no such thing", {"try another"});
    EXPECT_TRUE(rep.failed());
    EXPECT_EQ(rep.finish(), 1);
    EXPECT_EQ(err.str(), "dpctl: no such thing\n  try another\n");
    EXPECT_EQ(ordered_json::parse(out.str())["errors"], ordered_json({"no such thing"}));
}

TEST(report, shows_no_raw_control_bytes) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.line("a\x1b[2J");
    rep.problem("b\x1b[2J", {"c\xff"});
    EXPECT_EQ(out.str(), "a\\x1b[2J\n");
    EXPECT_EQ(err.str(), "dpctl: b\\x1b[2J\n  c\\xff\n");
}

TEST(report, keeps_bytes_that_are_not_utf8_in_a_document) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.document().set("value", "a\xff\x1bz");
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(ordered_json::parse(out.str())["value"], "a\ufffd\x1bz");
    EXPECT_EQ(ordered_json::parse(out.str())["value_bytes"], "61ff1b7a");
}

TEST(report, prints_events_at_once_as_lines) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.begin_events();
    EXPECT_TRUE(rep.event("one\x1b", json_value::object({{"number", 1}})));
    EXPECT_EQ(out.str(), "one\\x1b\n");
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(out.str(), "one\\x1b\n");
}

TEST(report, prints_events_as_documents_of_one_line) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.begin_events();
    EXPECT_TRUE(rep.event("one", json_value::object({{"number", 1}})));
    EXPECT_TRUE(rep.event("two", json_value::object({{"number", 2}})));
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(out.str(), "{\"number\":1}\n{\"number\":2}\n") << "and no document after them";
}

TEST(report, prints_problems_after_the_events) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.begin_events();
    EXPECT_TRUE(rep.event("one", json_value::object({{"number", 1}})));
    rep.problem("the end");
    EXPECT_EQ(rep.finish(), 1);
    EXPECT_EQ(out.str(), "{\"number\":1}\n{\"errors\":[\"the end\"]}\n");
}

TEST(report, reports_that_an_event_was_lost) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.begin_events();
    out.setstate(std::ios::badbit);
    EXPECT_FALSE(rep.event("one", json_value::object({{"number", 1}})));
    EXPECT_EQ(rep.finish(), 1);
}

TEST(report, fails_when_output_is_lost) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.line("lost");
    out.setstate(std::ios::badbit);
    EXPECT_EQ(rep.finish(), 1);
    EXPECT_NE(err.str(), "");
}

constexpr dp_support::terminal narrow_screen{30, 10, false};

TEST(report, wraps_the_text_of_an_item_on_a_terminal_only) {
    for (const bool on_terminal : {false, true}) {
        std::ostringstream out;
        std::ostringstream err;
        report rep(out, err, false, on_terminal ? narrow_screen : dp_support::terminal{});
        rep.item(8, "  Help", "how the server starts its systems");
        EXPECT_EQ(out.str(), on_terminal ? "  Help  how the server starts\n        its systems\n"
                                         : "  Help  how the server starts its systems\n");
    }
}

TEST(report, shows_the_lines_of_an_item_below_each_other) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.item(8, "  Help", "one\ntwo\x1b");
    EXPECT_EQ(out.str(), "  Help  one\n        two\\x1b\n");
}

TEST(report, shows_a_page_at_the_end_and_the_problems_after_it) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false, narrow_screen);
    rep.allow_pager();
    rep.line("text");
    rep.problem("wrong", {"hint"});
    rep.note("at once");
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(err.str(), "dpctl: at once\n");
    EXPECT_EQ(rep.finish(), 1);
    EXPECT_EQ(out.str(), "text\n");
    EXPECT_EQ(err.str(), "dpctl: at once\ndpctl: wrong\n  hint\n");
}

TEST(report, prints_at_once_without_a_terminal) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.allow_pager();
    rep.line("text");
    EXPECT_EQ(out.str(), "text\n");
}

TEST(report, returns_another_code_after_a_problem_of_the_command_line) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.usage_problem("wrong", {"hint"});
    EXPECT_EQ(rep.finish(), 2);
    EXPECT_EQ(err.str(), "dpctl: wrong\n  hint\n");
}

TEST(report, prints_lines_of_a_text) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.lines("a\n\n  b\n");
    rep.line("c", text_style::heading);
    EXPECT_EQ(out.str(), "a\n\n  b\nc\n");
}

}  // namespace
}  // namespace dpctl
