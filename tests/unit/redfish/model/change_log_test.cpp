#include "redfish/model/change_log.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using dp_redfish::change_log;

const std::string first = "<c-1,id=7> 2026-11-22T15:25:09+01:00   Boot.Mode   \"UEFI\"\n";
const std::string second = "<c-1,id=8> 2026-11-22T15:25:10+01:00   Boot.Delay   \"5\"\n";

TEST(change_log, finds_each_record_by_its_id) {
    const auto log = change_log::parse(first + "no record\n" + second + "<c-1,id=9> incompl");
    ASSERT_EQ(log.records().size(), 2U);
    EXPECT_EQ(log.records()[1].target, "Boot.Delay");
    EXPECT_EQ(log.find(log.ids()[0]), 0U);
    EXPECT_EQ(log.find(log.ids()[1]), 1U);
    EXPECT_FALSE(log.find(""));
    EXPECT_TRUE(change_log::parse("").is_empty());
}

TEST(change_log, gives_equal_records_different_ids) {
    const auto log = change_log::parse(first + first + second);
    EXPECT_EQ(log.ids()[1], log.ids()[0] + "-2");
    EXPECT_EQ(log.find(log.ids()[1]), 1U);
}

TEST(change_log, keeps_an_id_when_older_records_are_dropped) {
    EXPECT_EQ(change_log::parse(first + second).ids()[1], change_log::parse(second).ids()[0]);
}

}  // namespace
