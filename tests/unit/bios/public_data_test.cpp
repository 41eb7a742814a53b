// The records and classes of bios/ as callers use them: data members by name, type and order.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "bios/category_bitmap.hpp"
#include "bios/cim_helper.hpp"
#include "bios/dp_api.h"
#include "bios/dp_event_categories.h"
#include "bios/method_data.hpp"
#include "bios/template_info.hpp"
#include "tests/support/data_members.hpp"

TEST(dp_attribute, is_a_record_of_28_fields_in_order) {
    dp_attribute a = {};
    EXPECT_TRUE(test::in_order(a.id, a.spif, a.grif, a.cfg, a.cfgname, a.cfgsetn, a.grp, a.gspif,
                               a.ggrif, a.mri, a.dsc, a.fds, a.type, a.flg, a.mni, a.mxi, a.dft,
                               a.mfg, a.dfa, a.rec, a.min, a.max, a.stp, a.minc, a.maxc, a.reg,
                               a.num, a.chc));
    EXPECT_TRUE(test::has_type<const char*>(a.id));
    EXPECT_TRUE(test::has_type<const char*>(a.chc));
    EXPECT_TRUE(test::has_type<std::int32_t>(a.type));
    for (const std::uint32_t* number :
         {&a.flg, &a.mni, &a.mxi, &a.min, &a.max, &a.stp, &a.minc, &a.maxc, &a.num}) {
        EXPECT_EQ(*number, 0U);
    }
}

TEST(dp_transaction, is_a_record_of_5_fields_in_order) {
    dp_transaction t = {0, 1, "A.B", "new", {}};
    EXPECT_TRUE(test::has_type<std::uint32_t>(t.status));
    EXPECT_TRUE(test::has_type<std::uint32_t>(t.operation));
    static_assert(std::is_same_v<decltype(t.value), char[80]>);
    EXPECT_TRUE(test::in_order(t.status, t.operation, t.name, t.new_value, t.value));
}

TEST(template_info, is_plain_data_in_order) {
    template_info t;
    EXPECT_TRUE(test::in_order(t.id, t.spif, t.grif, t.cfg, t.cfgname, t.cfgsetn, t.grp, t.gspif,
                               t.ggrif, t.mri, t.dsc, t.fds, t.type, t.flg, t.mni, t.mxi, t.dft,
                               t.mfg, t.dfa, t.rec, t.min, t.max, t.stp, t.minc, t.maxc, t.reg,
                               t.num, t.chc));
    EXPECT_TRUE(test::has_type<std::string>(t.id));
    EXPECT_TRUE(test::has_type<std::int32_t>(t.type));
    EXPECT_TRUE(test::has_type<std::uint32_t>(t.flg));
    // Two words come before the first text.
    EXPECT_EQ(reinterpret_cast<const char*>(&t.id) - reinterpret_cast<const char*>(&t), 8);
    t.id = "Mode";
    const template_info copy(t);
    EXPECT_EQ(copy.id, "Mode");
    EXPECT_EQ(copy.type, 0);
}

TEST(cim_helper, has_named_state_and_plain_maps) {
    dp::cim_helper helper;
    EXPECT_TRUE(test::has_type<std::uint32_t>(helper.correlator));
    EXPECT_TRUE(test::has_type<std::uint8_t>(helper.confignames_ready));
    EXPECT_TRUE(test::has_type<std::uint8_t>(helper.instances_ready));
    EXPECT_TRUE(
        test::in_order(helper.correlator, helper.confignames_ready, helper.instances_ready));
    EXPECT_EQ(helper.correlator, 0U);
    EXPECT_EQ(helper.confignames_ready, 0U);
    EXPECT_EQ(helper.instances_ready, 0U);
    static_assert(
        std::is_same_v<decltype(helper.read_settings(0)), std::map<std::string, std::string>*>);
    static_assert(std::is_same_v<decltype(dp::cim_helper::dp_api_template_fname), std::string>);
    static_assert(std::is_same_v<decltype(dp::cim_helper::dp_api_settings_fname[0]), std::string&>);
    EXPECT_EQ(dp::cim_helper::init(), 1);
    helper.correlator = 41;
    std::vector<dp::basic_transaction_command> commands;
    const dp_transaction request = {0, 1, "A.B", "", {}};
    helper.trans_to_commands(&request, 1, commands);
    EXPECT_EQ(commands.at(0).tid, "<cim-41>");
}

TEST(cim_helper, counts_what_it_has_set_up) {
    dp::cim_helper helper;
    EXPECT_EQ(helper.init_confignames(), 1);
    EXPECT_EQ(helper.confignames_ready, 1U);
    EXPECT_EQ(helper.init_setting_instances(), 1);
    EXPECT_EQ(helper.instances_ready, 1U);
}

TEST(category_bitMap, has_a_file_name_and_its_entries) {
    dp::category_bitMap map;
    EXPECT_TRUE(test::has_type<std::string>(map.file_name));
    EXPECT_TRUE(test::has_type<std::vector<dp::BitMap>>(map.entries));
    EXPECT_TRUE(test::in_order(map.file_name, map.entries));
    map.entries.push_back(dp::BitMap{3, "name", "value"});
    const auto& e = map.entries[0];
    EXPECT_TRUE(test::has_type<std::int32_t>(e.bit));
    EXPECT_TRUE(test::in_order(e.bit, e.name, e.value));
}

TEST(dp_category_map_entry, is_a_record_of_a_number_and_two_texts) {
    const dp_category_map_entry e = {7, "name", "value"};
    EXPECT_TRUE(test::has_type<std::int32_t>(e.bit));
    static_assert(sizeof e.name == 256);
    static_assert(sizeof e.value == 256);
    EXPECT_TRUE(test::in_order(e.bit, e.name, e.value));
}

TEST(ZEB_MethodData, can_be_made_empty_and_filled_afterwards) {
    dp::ZEB_MethodData m;
    EXPECT_EQ(m.valid, 0);
    EXPECT_TRUE(test::has_type<std::int32_t>(m.valid));
    EXPECT_TRUE(test::has_type<std::string>(m.method));
    EXPECT_TRUE(test::has_type<std::vector<unsigned char>>(m.data));
    EXPECT_TRUE(test::in_order(m.valid, m.method, m.data, m.padding, m.buffer));
    m = dp::ZEB_MethodData("call", {1, 2});
    EXPECT_EQ(m.valid, 1);
    EXPECT_EQ(m.buffer.size() % 16, 0U);
}
