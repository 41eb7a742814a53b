#include "transactions/operations.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/test_platform.hpp"

namespace {

struct row {
    dp::operations op;
    std::uint32_t value;
    const char* keyword;
    const char* output;
};

const std::vector<row> table{
    {dp::op_get, 1, "get", "get"},
    {dp::op_set, 2, "set", "set"},
    {dp::op_getv, 17, "getv", "getv"},
    {dp::op_setv, 18, "setv", "setv"},
    {dp::op_delete, 34, "delete", "delete"},
    {dp::op_cmd_import, 35, "cmd_import", "command import"},
    {dp::op_cmd_export, 36, "cmd_export", "command export"},
    {dp::op_cmd_delete, 37, "cmd_delete", "command delete"},
    {dp::op_cmd_generate, 38, "cmd_generate", "command generate"},
    {dp::op_cmd_exportcsr, 40, "cmd_exportcsr", "command exportcsr"},
    {dp::op_cmd_generatecsr, 48, "cmd_generatecsr", "command generatecsr"},
};

}  // namespace

TEST(operations, have_fixed_values_keywords_and_output_texts) {
    EXPECT_EQ(dp::op_unknown, 0U);
    for (const auto& r : table) {
        EXPECT_EQ(r.op, r.value);
        EXPECT_EQ(dp::map_operation(std::string(r.keyword)), r.op) << r.keyword;
        EXPECT_STREQ(dp::map_operation(r.op), r.output);
    }
}

TEST(map_operation, maps_every_other_value_to_unknown) {
    std::uint32_t known = 0;
    for (std::uint32_t value = 0; value < 300; ++value) {
        const bool listed = known < table.size() && table[known].value == value;
        const std::string text = dp::map_operation(static_cast<dp::operations>(value));
        EXPECT_EQ(text, listed ? table[known].output : "unknown") << value;
        known += listed ? 1 : 0;
    }
    EXPECT_STREQ(dp::map_operation(static_cast<dp::operations>(0xFFFFFFFF)), "unknown");
}

TEST(map_operation, compares_keywords_exactly) {
    for (const std::string text :
         {"", "GET", "Get", " get", "get ", "ge", "gets", "unknown", "command import", "command",
          "cmd_", "CMD_IMPORT", "cmd import"}) {
        EXPECT_EQ(dp::map_operation(text), dp::op_unknown) << text;
    }
    EXPECT_EQ(dp::map_operation(std::string("get\0", 4)), dp::op_unknown);
    EXPECT_EQ(dp::map_operation(std::string(1'000'000, 'g')), dp::op_unknown);
}

TEST(map_operation, traces_an_unknown_keyword_when_the_mask_contains_2) {
    test::recording_log log(2);
    EXPECT_EQ(dp::map_operation(std::string("nonsense")), dp::op_unknown);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0],
              (test::recording_log::line{"LOG", " Returning op unknown (map operation)"}));
    EXPECT_EQ(dp::map_operation(std::string("get")), dp::op_get);
    EXPECT_STREQ(dp::map_operation(dp::op_unknown), "unknown");
    EXPECT_EQ(log.lines.size(), 1U);
    log.mask_value = ~2U;
    EXPECT_EQ(dp::map_operation(std::string("nonsense")), dp::op_unknown);
    EXPECT_EQ(log.lines.size(), 1U);
}

TEST(map_operation, works_without_a_log) {
    EXPECT_EQ(dp::map_operation(std::string("nonsense")), dp::op_unknown);
}
