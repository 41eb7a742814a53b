#include "bios/dp_api.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bios/cim_helper.hpp"
#include "tests/support/template_records.hpp"
#include "tests/unit/bios/bios_service.hpp"
#include "tests/unit/bios/c_program.h"

namespace {

using test::attribute;
using test::outcome;
using test::request;
using test::setting;
using testing::ElementsAre;

class dp_api : public test::bios_service {
  protected:
    // Two collections with attributes and one without.
    void write_files() {
        write_aged(configs_file, "Main\nBoot\nEmpty\n", 10);
        write_aged(
            info_file,
            attribute("Main", "A", "a") + attribute("Main", "B", "b") + attribute("Boot", "X", "x"),
            10);
        write_aged(settings_file, setting("Main.A", "1") + setting("Main.B.2", "2"), 10);
        write_aged(current_file, setting("Main.A", "now"), 10);
        write_aged(build_id_file, "ID\n", 10);
    }

    void initialize() {
        write_files();
        ASSERT_EQ(dp_api_initialize(), 0);
    }

    // Output arguments that must not change.
    const char* text = "untouched";
    const char** names = &text;
    dp_attribute record{};
    dp_attribute* attrs = &record;
    unsigned count = 77;

    void expect_outputs_untouched() {
        EXPECT_EQ(names, &text);
        EXPECT_EQ(attrs, &record);
        EXPECT_EQ(count, 77U);
    }
};

TEST_F(dp_api, every_call_returns_1_and_writes_nothing_without_a_service) {
    write_files();
    dp_transaction trans = request(1, "Main.A");
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(dp_get_bios_collections(&names, &count), 1);
        EXPECT_EQ(dp_get_bios_attributes("Main", &attrs, &count), 1);
        EXPECT_EQ(dp_get_bios_attribute_names("Main", &names, &count), 1);
        EXPECT_EQ(dp_get_bios_attribute("Main.A", &attrs), 1);
        EXPECT_EQ(dp_get_bios_attribute_value(&trans, 1, 0), 1);
        EXPECT_EQ(dp_set_bios_attribute_value(&trans, 1), 1);
        EXPECT_EQ(dp_bios_need_reinit("Main"), 1);
        EXPECT_EQ(dp_bios_reset_to_defaults("Main"), 1);
        // The collection is not examined, not even a null one.
        EXPECT_EQ(dp_get_bios_attributes(nullptr, nullptr, nullptr), 1);
        EXPECT_EQ(dp_get_bios_attribute_names(nullptr, nullptr, nullptr), 1);
        EXPECT_EQ(dp_bios_need_reinit(nullptr), 1);
        EXPECT_EQ(dp_bios_reset_to_defaults(nullptr), 1);
        expect_outputs_untouched();
        EXPECT_EQ(trans.status, 4711U);
        EXPECT_FALSE(std::filesystem::exists(batch_file));
        // The same after a service was created and destroyed.
        EXPECT_EQ(dp_api_initialize(), 0);
        EXPECT_EQ(dp_api_uninitialize(), 0);
    }
}

TEST_F(dp_api, second_initialisation_keeps_the_service) {
    initialize();
    dp_get_bios_attributes("Main", &attrs, &count);
    const dp_attribute* before = attrs;
    EXPECT_EQ(dp_api_initialize(), 0);
    dp_get_bios_attributes("Main", &attrs, &count);
    EXPECT_EQ(attrs, before);
    EXPECT_EQ(dp_api_uninitialize(), 0);
    EXPECT_EQ(dp_get_bios_collections(&names, &count), 1) << "one uninitialise is enough";
}

TEST_F(dp_api, uninitialise_without_a_service_does_nothing) {
    EXPECT_EQ(dp_api_uninitialize(), 0);
    EXPECT_EQ(dp_api_uninitialize(), 0);
}

// Runs when the program exits, after the destructors of objects created after its registration.
void use_the_service_for_the_last_time() {
    const char** names = nullptr;
    unsigned count = 0;
    if (dp_get_bios_collections(&names, &count) != 0 || count != 3 || dp_api_uninitialize() != 0 ||
        dp_get_bios_collections(&names, &count) != 1) {
        _exit(1);
    }
}

TEST_F(dp_api, service_may_be_used_and_uninitialised_at_exit) {
    write_files();
    EXPECT_EXIT(
        {
            std::atexit(use_the_service_for_the_last_time);
            dp_api_initialize();
            dp_get_bios_collections(&names, &count);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(dp_api, initialisation_reads_no_file) {
    ASSERT_EQ(dp_api_initialize(), 0);
    write_files();
    EXPECT_EQ(dp_get_bios_collections(&names, &count), 0);
    EXPECT_EQ(count, 3U);
}

TEST_F(dp_api, new_service_reads_the_files_again) {
    initialize();
    EXPECT_EQ(dp_get_bios_collections(&names, &count), 0);
    dp_api_uninitialize();
    write_aged(configs_file, "Other\n", 10);
    dp_api_initialize();
    EXPECT_EQ(dp_get_bios_collections(&names, &count), 0);
    ASSERT_EQ(count, 1U);
    EXPECT_STREQ(names[0], "Other");
}

TEST_F(dp_api, collections_are_listed) {
    initialize();
    ASSERT_EQ(dp_get_bios_collections(&names, &count), 0);
    EXPECT_THAT(std::vector<std::string>(names, names + count),
                ElementsAre("Main", "Boot", "Empty"));
}

TEST_F(dp_api, no_collections_are_a_null_list) {
    dp_api_initialize();
    EXPECT_EQ(dp_get_bios_collections(&names, &count), 0);
    EXPECT_EQ(names, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(dp_api, attributes_are_listed_by_collection) {
    initialize();
    ASSERT_EQ(dp_get_bios_attributes("Main", &attrs, &count), 0);
    ASSERT_EQ(count, 2U);
    EXPECT_STREQ(attrs[0].id, "A");
    EXPECT_STREQ(attrs[1].id, "B");
    ASSERT_EQ(dp_get_bios_attributes("Empty", &attrs, &count), 0);
    EXPECT_EQ(attrs, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(dp_api, attribute_names_are_listed_by_collection) {
    initialize();
    ASSERT_EQ(dp_get_bios_attribute_names("Main", &names, &count), 0);
    EXPECT_THAT(std::vector<std::string>(names, names + count), ElementsAre("Main.A", "Main.B.2"));
    ASSERT_EQ(dp_get_bios_attribute_names("Empty", &names, &count), 0);
    EXPECT_EQ(names, nullptr);
    EXPECT_EQ(count, 0U);
}

TEST_F(dp_api, unknown_collection_returns_2_and_writes_nothing) {
    initialize();
    for (const char* collection : {"Nowhere", "", "main"}) {
        EXPECT_EQ(dp_get_bios_attributes(collection, &attrs, &count), 2);
        EXPECT_EQ(dp_get_bios_attribute_names(collection, &names, &count), 2);
        EXPECT_EQ(dp_bios_need_reinit(collection), 2);
        EXPECT_EQ(dp_bios_reset_to_defaults(collection), 2);
        expect_outputs_untouched();
    }
}

TEST_F(dp_api, null_collection_throws) {
    initialize();
    EXPECT_THROW(dp_get_bios_attributes(nullptr, &attrs, &count), std::logic_error);
    EXPECT_THROW(dp_get_bios_attribute_names(nullptr, &names, &count), std::logic_error);
    EXPECT_THROW(dp_bios_need_reinit(nullptr), std::logic_error);
    EXPECT_THROW(dp_bios_reset_to_defaults(nullptr), std::logic_error);
    expect_outputs_untouched();
}

TEST_F(dp_api, outputs_may_be_null) {
    initialize();
    EXPECT_EQ(dp_get_bios_collections(nullptr, nullptr), 0);
    EXPECT_EQ(dp_get_bios_attributes("Main", nullptr, nullptr), 0);
    EXPECT_EQ(dp_get_bios_attribute_names("Main", nullptr, nullptr), 0);
    EXPECT_EQ(dp_get_bios_attribute("Main.A", nullptr), 0);
    EXPECT_EQ(dp_get_bios_attribute("Main.C", nullptr), 1);
    EXPECT_EQ(dp_get_bios_attributes("Main", nullptr, &count), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(dp_get_bios_collections(&names, nullptr), 0);
    EXPECT_STREQ(names[0], "Main");
}

TEST_F(dp_api, attribute_is_found_by_name_or_null) {
    initialize();
    EXPECT_EQ(dp_get_bios_attribute("Main.B.2", &attrs), 0);
    EXPECT_STREQ(attrs->id, "B");
    EXPECT_EQ(dp_get_bios_attribute("Main.C", &attrs), 1);
    EXPECT_EQ(attrs, nullptr);
    attrs = &record;
    EXPECT_EQ(dp_get_bios_attribute(nullptr, &attrs), 1);
    EXPECT_EQ(attrs, nullptr);
}

TEST_F(dp_api, values_are_read) {
    initialize();
    std::vector<dp_transaction> trans = {request(1, "Main.A"), request(1, "Main.C"),
                                         request(2, "Main.A")};
    EXPECT_EQ(dp_get_bios_attribute_value(trans.data(), 3, 0), 2);
    EXPECT_STREQ(trans[0].value, "1");
    EXPECT_EQ(trans[1].status, 16U);
    EXPECT_EQ(trans[2].status, 224U);
    EXPECT_EQ(dp_get_bios_attribute_value(trans.data(), 1, 1), 0);
    EXPECT_STREQ(trans[0].value, "now");
    EXPECT_EQ(dp_get_bios_attribute_value(nullptr, 5, 0), 0);
}

TEST_F(dp_api, values_are_set) {
    initialize();
    std::vector<dp_transaction> trans = {request(2, "Main.A", "x"),
                                         request(2, "Main.B.2", nullptr)};
    time.on_sleep = [&](std::uint32_t) {
        test::write_file(result_file, outcome("0", "100") + outcome("5", "101"));
    };
    EXPECT_EQ(dp_set_bios_attribute_value(trans.data(), 2), 1);
    EXPECT_EQ(trans[0].status, 4711U);
    EXPECT_EQ(trans[1].status, 5U);
    EXPECT_EQ(test::read_file(batch_file),
              "0 100 <cim-0> set Main.A \"x\" \"\" \n0 101 <cim-0> set Main.B.2 \"\" \"\" \n");
    EXPECT_EQ(dp_set_bios_attribute_value(nullptr, 2), -1);
}

TEST_F(dp_api, collection_is_reset) {
    initialize();
    time.on_sleep = [&](std::uint32_t) { test::write_file(result_file, ""); };
    EXPECT_EQ(dp_bios_reset_to_defaults("Main"), 0);
    EXPECT_EQ(test::read_file(batch_file),
              "0 100 <cim-0> set Main.A \"a\" \"\" \n0 100 <cim-0> set Main.B.2 \"b\" \"\" \n");
    EXPECT_EQ(dp_bios_reset_to_defaults("Boot"), 3) << "no instances";
}

TEST_F(dp_api, each_file_name_can_be_replaced_on_its_own) {
    write_files();
    const auto& settings = dp::cim_helper::dp_api_settings_fname;
    dp_cim_change_current_fname("/other/current");
    EXPECT_EQ(settings[1], "/other/current");
    EXPECT_EQ(settings[0], settings_file);
    dp_cim_change_settings_fname("/other/settings");
    EXPECT_EQ(settings[0], "/other/settings");
    EXPECT_EQ(dp::cim_helper::dp_api_template_fname, template_file);
    dp_cim_change_template_fname("/other/template");
    EXPECT_EQ(dp::cim_helper::dp_api_template_fname, "/other/template");
    dp_cim_change_template_fname(nullptr);
    dp_cim_change_settings_fname(nullptr);
    dp_cim_change_current_fname(nullptr);
    EXPECT_EQ(dp::cim_helper::dp_api_template_fname, "/other/template");
    EXPECT_EQ(settings[0], "/other/settings");
    EXPECT_EQ(settings[1], "/other/current");
}

TEST_F(dp_api, replaced_file_names_remain_after_uninitialise) {
    initialize();
    const std::string other = test::root() + "/var/dp/other.txt";
    write_aged(other, setting("Main.A", "other"), 10);
    dp_cim_change_settings_fname(other.c_str());
    dp_transaction trans = request(1, "Main.A");
    dp_get_bios_attribute_value(&trans, 1, 0);
    EXPECT_STREQ(trans.value, "other");
    dp_api_uninitialize();
    dp_api_initialize();
    dp_get_bios_attribute_value(&trans, 1, 0);
    EXPECT_STREQ(trans.value, "other");
}

TEST_F(dp_api, program_in_c_walks_the_attributes_by_their_size) {
    initialize();
    EXPECT_EQ(c_attribute_size(), sizeof(dp_attribute));
    EXPECT_EQ(c_transaction_size(), sizeof(dp_transaction));
    std::array<char, 100> ids{};
    EXPECT_EQ(c_list_ids("Main", sizeof(dp_attribute), ids.data(), ids.size()), 0);
    EXPECT_STREQ(ids.data(), "A,B,");
    EXPECT_EQ(c_list_ids("Nowhere", sizeof(dp_attribute), ids.data(), ids.size()), 2);
    std::array<char, 100> value{};
    EXPECT_EQ(c_read_value("Main.A", value.data(), value.size()), 0);
    EXPECT_STREQ(value.data(), "1");
}

}  // namespace
