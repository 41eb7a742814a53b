#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "settings/instance_number.hpp"
#include "tests/support/settings_model.hpp"
#include "transactions/transaction_command.hpp"

namespace {

class setting_validate : public testing::Test {
  protected:
    // An open command on the setting.
    dp::transaction_command command(dp::operations op, const std::string& instance = "",
                                    const std::string& value = "") {
        auto none = test::single_entry();
        dp::transaction_command c(op, &s, none);
        c.status = 0;
        c.target.instance = instance;
        c.value_in = value;
        return c;
    }

    // Returns the status of a delete of that instance; -1 when `complete` does not match it.
    std::int32_t delete_status(const std::string& instance) {
        auto c = command(dp::op_delete, instance);
        s.validate(&c);
        return c.complete == (c.status != 0) ? c.status : -1;
    }

    void instances(std::uint32_t min, std::uint32_t max) {
        element.min_instance = min;
        element.max_instance = max;
    }

    static constexpr std::uint32_t deletable = 1U << 31;
    static constexpr std::uint32_t record_key = 1U << 21;

    test::configuration config{"c"};
    test::element element;
    dp::setting s{&config, "s", nullptr, &element};
};

}  // namespace

TEST_F(setting_validate, checks_the_value_of_a_write_with_the_element) {
    std::vector<std::string> asked;
    element.on_validate = [&](const std::string& value) {
        asked.push_back(value);
        return value == "bad" ? 77 : 0;
    };
    for (const auto op : {dp::op_set, dp::op_setv}) {
        auto good = command(op, "", "good");
        s.validate(&good);
        EXPECT_EQ(good.status, 0);
        EXPECT_FALSE(good.complete);
        auto bad = command(op, "", "bad");
        s.validate(&bad);
        EXPECT_EQ(bad.status, 77);
        EXPECT_TRUE(bad.complete);
    }
    EXPECT_EQ(asked, (std::vector<std::string>{"good", "bad", "good", "bad"}));
}

TEST_F(setting_validate, keeps_the_first_status) {
    element.on_validate = [](const std::string&) { return 77; };
    auto c = command(dp::op_set, "", "bad");
    c.status = 5;
    s.validate(&c);
    EXPECT_EQ(c.status, 5);
    EXPECT_TRUE(c.complete);
    auto d = command(dp::op_delete, "x");
    d.status = 5;
    s.validate(&d);
    EXPECT_EQ(d.status, 5);
    EXPECT_TRUE(d.complete);
}

TEST_F(setting_validate, accepts_every_write_with_the_base_element) {
    dp::setting_element base;
    dp::non_xml_setting_element non_xml;
    for (auto* e : {&base, static_cast<dp::setting_element*>(&non_xml)}) {
        s.element = e;
        auto c = command(dp::op_set, "", std::string(100'000, '"'));
        s.validate(&c);
        EXPECT_EQ(c.status, 0);
        EXPECT_FALSE(c.complete);
    }
}

TEST_F(setting_validate, permits_a_delete_from_the_lowest_to_the_highest_instance) {
    instances(1, 4);
    EXPECT_EQ(delete_status("0"), 226);
    EXPECT_EQ(delete_status("1"), 0);
    EXPECT_EQ(delete_status("4"), 0);
    EXPECT_EQ(delete_status("5"), 226);
    instances(0, 0);
    EXPECT_EQ(delete_status("0"), 0);
    instances(4, 1);
    EXPECT_EQ(delete_status("2"), 226);
}

TEST_F(setting_validate, refuses_a_delete_without_an_instance_number) {
    instances(0, 4);
    for (const char* text : {"", "x", "-", "4294967296", "4294967295", "-1"}) {
        EXPECT_EQ(delete_status(text), 226) << text;
    }
    EXPECT_EQ(delete_status("3rd"), 0) << "text after the number is ignored";
}

TEST_F(setting_validate, refuses_a_delete_of_a_single_valued_setting) {
    instances(0, dp::no_instance);
    EXPECT_EQ(delete_status(""), 226);
    EXPECT_EQ(delete_status("0"), 226);
    EXPECT_EQ(delete_status("x"), 226);
}

TEST_F(setting_validate, permits_every_delete_of_a_deletable_setting) {
    element.flags = deletable;
    for (const std::uint32_t max : {4U, dp::no_instance}) {
        instances(1, max);
        for (const char* text : {"", "0", "5", "x", "4294967295"}) {
            EXPECT_EQ(delete_status(text), 0) << text;
        }
    }
}

TEST_F(setting_validate, invalidates_the_setting_record_when_its_key_is_deleted) {
    test::element other_element;
    dp::setting other(&config, "other", nullptr, &other_element);
    instances(1, 4);
    element.flags = record_key;
    element.record_name = "row";
    config.records["row"].settings = {&s, &other};
    for (auto* member : {&s, &other}) {
        member->set_instance_value("a", 2);
        member->set_instance_value("b", 9);
    }
    config.changed = 0;
    const auto version = config.version;

    EXPECT_EQ(delete_status("9"), 0);
    std::string out;
    for (auto* member : {&s, &other}) {
        EXPECT_FALSE(member->get_instance_value(&out, 9));
        EXPECT_TRUE(member->get_instance_value(&out, 2));
    }
    element.flags |= deletable;
    EXPECT_EQ(delete_status("2"), 0);
    for (auto* member : {&s, &other}) {
        EXPECT_FALSE(member->get_instance_value(&out, 2)) << "also for a deletable key";
    }
    EXPECT_EQ(config.version, version);
    EXPECT_EQ(config.changed, 0U);
}

TEST_F(setting_validate, creates_a_missing_setting_record_when_its_key_is_deleted) {
    element.flags = record_key;
    element.record_name = "row";
    EXPECT_EQ(delete_status("x"), 0);
    ASSERT_EQ(config.records.count("row"), 1U);
    EXPECT_TRUE(config.records["row"].settings.empty());
}

TEST_F(setting_validate, checks_nothing_for_other_operations) {
    instances(1, 4);
    element.flags = record_key;
    element.record_name = "row";
    element.on_validate = [](const std::string&) { return 77; };
    for (const auto op : {dp::op_unknown, dp::op_get, dp::op_getv, dp::op_cmd_import,
                          dp::op_cmd_delete, dp::op_cmd_generatecsr}) {
        auto c = command(op, "99", "bad");
        s.validate(&c);
        EXPECT_EQ(c.status, 0);
        EXPECT_FALSE(c.complete);
    }
    EXPECT_TRUE(config.records.empty());
}
