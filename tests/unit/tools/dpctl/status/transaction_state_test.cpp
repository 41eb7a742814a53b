#include "tools/dpctl/status/transaction_state.hpp"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "logs/process_log.hpp"
#include "tests/support/scratch_files.hpp"

namespace dpctl {
namespace {

using dp_support::json_layout;
using testing::ElementsAre;
using testing::SizeIs;

transaction_state state_of(const std::string& text) {
    return summarize(read_records(text).records);
}

TEST(summarize, understands_what_the_library_writes) {
    const std::string file = test::root() + "/status";
    dp::process_log log(file, false);
    EXPECT_FALSE(state_of(test::read_file(file)).is_known);
    log.log_working("cim-0", 0);
    log.log_working("cim-0", 1);
    auto state = state_of(test::read_file(file));
    EXPECT_TRUE(state.is_known);
    EXPECT_EQ(state.name, "cim-0");
    EXPECT_EQ(describe_progress(state), "running, step 1");
    log.log_error("cim-0", "A.B", 16);
    log.log_error("cim-0", "A.C.1", 55);
    log.log_message("cim-0", "A.C.1", "\"x \"y\"\"");
    log.log_outfile("cim-0", "/tmp/dp/batch.out");
    log.log_done("cim-0", 1, 3, 2);
    state = state_of(test::read_file(file));
    EXPECT_EQ(describe_progress(state), "finished, 2 of 5 commands failed");
    EXPECT_EQ(state.outfile, "/tmp/dp/batch.out");
    ASSERT_THAT(state.failed, SizeIs(2));
    EXPECT_EQ(state.failed[0].output, std::nullopt);
    EXPECT_EQ(explain_failure(state.failed[1]), "it is read-only; its output value is \"x \"y\"\"");
    EXPECT_EQ(state.missing_failures(), 0);
    EXPECT_FALSE(state.is_pruned);
}

TEST(transaction_state, counts_failures_that_are_missing_in_the_file) {
    const std::string file = test::root() + "/status";
    dp::process_log log(file, false);
    log.log_working("cim-0", 0);
    constexpr int failures = 300;
    for (int i = 0; i < failures; ++i) {
        log.log_error("cim-0", "Collection.Attribute." + std::to_string(i), 48);
    }
    log.log_done("cim-0", 1, 0, failures);
    const auto state = state_of(test::read_file(file));
    EXPECT_TRUE(state.is_pruned);
    EXPECT_EQ(state.step, std::nullopt);
    EXPECT_EQ(state.failed.back().name, "Collection.Attribute.299");
    EXPECT_GT(state.missing_failures(), 0);
    EXPECT_EQ(state.missing_failures() + static_cast<std::int64_t>(state.failed.size()), failures);
}

TEST(summarize, describes_the_last_transaction) {
    const auto state = state_of(
        "<A> 0002 DP.WORKING 0\n<A> 0003 DP.ERROR x 1\n<A> 0004 DP.DONE 1 0 1\n"
        "<A> 0005 DP.WORKING 0\n<B> 0006 DP.WORKING 3\n<B> 0007 DP.MESSAGE a word\n");
    EXPECT_EQ(state.name, "B");
    EXPECT_EQ(state.earlier, 2U);
    EXPECT_EQ(state.step, 3);
    EXPECT_THAT(state.failed, SizeIs(0));
    EXPECT_THAT(state.messages, ElementsAre("a word"));
    EXPECT_FALSE(state.done.has_value());
}

TEST(summarize, keeps_messages_that_are_not_output_values) {
    const auto state = state_of(
        "<A> 0002 DP.ERROR x 1\n<A> 0003 DP.MESSAGE x y\n<A> 0004 DP.MESSAGE x \"\n"
        "<A> 0005 DP.MESSAGE x \"\"\n<A> 0006 DP.MESSAGE x \"2\"\n");
    EXPECT_THAT(state.messages, ElementsAre("x y", "x \"", "x \"2\""));
    EXPECT_EQ(state.failed.at(0).output, "");
}

TEST(to_json, describes_a_transaction_for_a_program) {
    using nlohmann::json;
    const auto document = [](const std::string& text) {
        return json::parse(to_text(to_json(state_of(text)), json_layout::one_line));
    };
    EXPECT_EQ(document("<A> 0002 DP.WORKING 0\n<A> 0003 DP.ERROR x 55\n"
                       "<A> 0004 DP.DONE 1 4 1\n"),
              json::parse(R"({"transaction": "A", "over": true, "step": 0,
                  "succeeded_commands": 4, "failed_commands": 1, "outfile": null,
                  "earlier_transactions": 0, "pruned": true, "messages": [], "failed": [
                  {"name": "x", "status": 55, "reason": "it is read-only", "output": null}]})"));
    const json nothing = document("");
    EXPECT_EQ(nothing["transaction"], nullptr);
    EXPECT_EQ(nothing["over"], false);
    EXPECT_EQ(nothing["pruned"], false);
}

}  // namespace
}  // namespace dpctl
