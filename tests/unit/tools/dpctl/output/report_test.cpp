#include "tools/dpctl/output/report.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tools/dpctl/output/table.hpp"

namespace dpctl {
namespace {

using nlohmann::ordered_json;

TEST(report, prints_text_and_succeeds) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.line("Boot.Mode=UEFI");
    rep.show(table({"A"}));
    rep.document()["ignored"] = true;
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(out.str(), "Boot.Mode=UEFI\nA\n");
    EXPECT_EQ(err.str(), "");
}

TEST(report, prints_one_document_and_nothing_else_as_json) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.line("not shown");
    rep.show(table({"NOT SHOWN"}));
    rep.document()["name"] = "Boot";
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(ordered_json::parse(out.str()), ordered_json({{"name", "Boot"}}));
}

TEST(report, is_an_empty_document_when_there_is_nothing_to_say) {
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(report(out, err, true).finish(), 0);
    EXPECT_EQ(out.str(), "{}\n");
}

TEST(report, fails_after_a_problem_and_tells_it_twice_as_json) {
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

TEST(report, replaces_what_is_not_utf8_in_a_document) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.document()["value"] = "a\xff\x1bz";
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(ordered_json::parse(out.str())["value"], "a\ufffd\x1bz");
}

TEST(report, tells_events_at_once_as_lines) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, false);
    rep.begin_events();
    EXPECT_TRUE(rep.event("one\x1b", {{"number", 1}}));
    EXPECT_EQ(out.str(), "one\\x1b\n");
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(out.str(), "one\\x1b\n");
}

TEST(report, tells_events_as_documents_of_one_line) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.begin_events();
    EXPECT_TRUE(rep.event("one", {{"number", 1}}));
    EXPECT_TRUE(rep.event("two", {{"number", 2}}));
    EXPECT_EQ(rep.finish(), 0);
    EXPECT_EQ(out.str(), "{\"number\":1}\n{\"number\":2}\n") << "and no document behind them";
}

TEST(report, ends_events_with_the_problems) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.begin_events();
    EXPECT_TRUE(rep.event("one", {{"number", 1}}));
    rep.problem("the end");
    EXPECT_EQ(rep.finish(), 1);
    EXPECT_EQ(out.str(), "{\"number\":1}\n{\"errors\":[\"the end\"]}\n");
}

TEST(report, says_that_an_event_was_lost) {
    std::ostringstream out;
    std::ostringstream err;
    report rep(out, err, true);
    rep.begin_events();
    out.setstate(std::ios::badbit);
    EXPECT_FALSE(rep.event("one", {{"number", 1}}));
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

}  // namespace
}  // namespace dpctl
