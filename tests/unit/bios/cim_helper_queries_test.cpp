#include <gmock/gmock.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "bios/cim_helper.hpp"
#include "tests/support/template_records.hpp"
#include "tests/unit/bios/bios_service.hpp"

namespace {

using dp::cim_helper;
using test::attribute;
using test::item;
using test::record;
using test::request;
using test::setting;
using testing::ElementsAre;
using testing::IsEmpty;

class cim_helper_queries : public test::bios_service {
  protected:
    std::vector<std::string> collections() {
        const char** names = helper.get_config_names();
        return names == nullptr
                   ? std::vector<std::string>{}
                   : std::vector<std::string>(names, names + helper.get_config_count());
    }

    std::vector<std::string> ids(const char* cfg) {
        const dp_attribute* attributes = helper.get_attributes(cfg);
        std::vector<std::string> found;
        for (unsigned i = 0; i < helper.get_attributes_count(cfg); ++i) {
            found.emplace_back(attributes[i].id);
        }
        return found;
    }

    std::vector<std::string> instances(const char* cfg) {
        const char** names = helper.get_attribute_names(cfg);
        return names == nullptr
                   ? std::vector<std::string>{}
                   : std::vector<std::string>(names, names + helper.get_attribute_names_count(cfg));
    }

    cim_helper helper;
};

TEST_F(cim_helper_queries, returns_collections_in_the_order_of_the_list) {
    write_aged(configs_file, "Main\n\nBoot\nAdvanced\n", 10);
    EXPECT_THAT(collections(), ElementsAre("Main", "Boot", "Advanced"));
    EXPECT_EQ(helper.get_config_count(), 3);
    unsigned idx = 77;
    EXPECT_EQ(helper.get_config_idx("Boot", &idx), 1);
    EXPECT_EQ(idx, 1U) << "an empty line is not counted";
}

TEST_F(cim_helper_queries, counts_collections_before_they_were_asked_for) {
    write_aged(configs_file, "Main\n\nBoot\n", 10);
    EXPECT_EQ(helper.get_config_count(), 2);
    EXPECT_EQ(helper.init_confignames(), 1);
    cim_helper other;
    EXPECT_EQ(other.init_confignames(), 1);
}

TEST_F(cim_helper_queries, compares_collection_names_exactly) {
    write_aged(configs_file, "Main\nBoot\n", 10);
    for (const char* name : {"main", "Mai", "Main ", "", "MainBoot"}) {
        unsigned idx = 77;
        EXPECT_EQ(helper.get_config_idx(name, &idx), 0) << name;
        EXPECT_EQ(idx, 77U);
        EXPECT_EQ(helper.is_valid_collection(name), 0);
    }
    EXPECT_EQ(helper.is_valid_collection("Main"), 1);
}

TEST_F(cim_helper_queries, finds_the_first_of_two_equal_collection_names) {
    write_aged(configs_file, "Main\nBoot\nMain\n", 10);
    unsigned idx = 77;
    EXPECT_EQ(helper.get_config_idx("Main", &idx), 1);
    EXPECT_EQ(idx, 0U);
    EXPECT_EQ(helper.get_config_count(), 3);
}

TEST_F(cim_helper_queries, has_no_collections_without_a_list) {
    EXPECT_EQ(helper.get_config_names(), nullptr);
    EXPECT_EQ(helper.get_config_count(), 0);
    EXPECT_EQ(helper.is_valid_collection("Main"), 0);
}

TEST_F(cim_helper_queries, reads_collections_once) {
    write_aged(configs_file, "Main\n", 10);
    EXPECT_THAT(collections(), ElementsAre("Main"));
    write_aged(template_file, "image", 5);
    write_aged(configs_file, "Main\nBoot\n", 4);
    time.advance(100);
    EXPECT_THAT(collections(), ElementsAre("Main"));
}

TEST_F(cim_helper_queries, returns_the_template_entries_of_a_collection) {
    write_aged(configs_file, "Main\nBoot\n", 10);
    write_aged(info_file,
               attribute("Main", "A", "1") + attribute("Boot", "B") + attribute("Main", "C"), 10);
    EXPECT_THAT(ids("Main"), ElementsAre("A", "C"));
    EXPECT_THAT(ids("Boot"), ElementsAre("B"));
    const dp_attribute* attributes = helper.get_attributes("Main");
    EXPECT_STREQ(attributes[0].cfg, "Main");
    EXPECT_STREQ(attributes[0].dft, "1");
    EXPECT_STREQ(attributes[0].chc, "");
}

TEST_F(cim_helper_queries, counts_attributes_only_after_they_were_requested) {
    write_aged(configs_file, "Main\nBoot\n", 10);
    write_aged(info_file, attribute("Main", "A"), 10);
    EXPECT_EQ(helper.get_attributes_count("Main"), 0U);
    EXPECT_NE(helper.get_attributes("Main"), nullptr);
    EXPECT_EQ(helper.get_attributes_count("Main"), 1U);
    EXPECT_EQ(helper.get_attributes_count("Nowhere"), 0U);
}

TEST_F(cim_helper_queries, reads_attributes_once) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(info_file, attribute("Main", "A"), 10);
    const dp_attribute* attributes = helper.get_attributes("Main");
    write_aged(template_file, "image", 5);
    write_aged(info_file, attribute("Main", "B"), 4);
    time.advance(100);
    EXPECT_EQ(helper.get_attributes("Main"), attributes);
    EXPECT_STREQ(attributes[0].id, "A");
}

TEST_F(cim_helper_queries, returns_null_for_a_collection_without_attributes_and_reads_it_again) {
    write_aged(configs_file, "Main\n", 10);
    EXPECT_EQ(helper.get_attributes("Main"), nullptr);
    EXPECT_EQ(helper.get_attributes_count("Main"), 0U);
    EXPECT_EQ(helper.get_attributes("Nowhere"), nullptr);
    // This read is forced, even within four seconds of the last read.
    write_aged(info_file, attribute("Main", "A"), 10);
    EXPECT_THAT(ids("Main"), ElementsAre("A"));
}

TEST_F(cim_helper_queries, returns_a_default_list_selection_in_its_terse_form) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(info_file,
               attribute("Main", "A", "[value='B',order='2'],[value='A',order='1']") +
                   attribute("Main", "B", "[no selection]") +
                   attribute("Main", "C", " [value='A']") + attribute("Main", "D", "[value=") +
                   attribute("Main", "E", "[value='only',order='1']"),
               10);
    const dp_attribute* attributes = helper.get_attributes("Main");
    ASSERT_EQ(helper.get_attributes_count("Main"), 5U);
    EXPECT_STREQ(attributes[0].dft, "A,B");
    EXPECT_STREQ(attributes[1].dft, "[no selection]");
    EXPECT_STREQ(attributes[2].dft, " [value='A']");
    EXPECT_STREQ(attributes[3].dft, "");
    EXPECT_STREQ(attributes[4].dft, "only");
}

TEST_F(cim_helper_queries, finds_an_attribute_by_its_qualified_name) {
    write_aged(configs_file, "Main\nBoot\n", 10);
    write_aged(info_file, attribute("Main", "A") + attribute("Boot", "A") + attribute("Main", "B"),
               10);
    EXPECT_EQ(helper.get_attribute("Main.B"), helper.get_attributes("Main") + 1);
    EXPECT_EQ(helper.get_attribute("Boot.A"), helper.get_attributes("Boot"));
    EXPECT_EQ(helper.get_attribute("Main.B.3"), helper.get_attributes("Main") + 1);
    for (const char* name : {"Main.b", "Main.C", "Main.", "Main", "Boot.B", "Nowhere.A", "", ".",
                             "A", "Main..A", "Main.A.B.C"}) {
        EXPECT_EQ(helper.get_attribute(name), nullptr) << name;
    }
    EXPECT_EQ(helper.get_attribute(nullptr), nullptr);
}

TEST_F(cim_helper_queries, accepts_dots_in_the_setting_part_of_a_name) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(info_file, attribute("Main", "A.B"), 10);
    EXPECT_EQ(helper.get_attribute("Main.A.B.1"), helper.get_attributes("Main"));
    EXPECT_EQ(helper.get_attribute("Main.A.B"), nullptr) << "B is an instance here";
}

TEST_F(cim_helper_queries, finds_the_first_of_two_attributes_with_the_same_id) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(info_file,
               attribute("Main", "X") + attribute("Main", "A", "1") + attribute("Main", "A", "2"),
               10);
    EXPECT_STREQ(helper.get_attribute("Main.A")->dft, "1");
}

TEST_F(cim_helper_queries, finds_only_an_attribute_without_an_id_for_an_empty_setting_part) {
    write_aged(configs_file, "Main\nBoot\n", 10);
    write_aged(info_file,
               attribute("Main", "A") + attribute("Boot", "B") + attribute("Boot", "", "noname"),
               10);
    EXPECT_EQ(helper.get_attribute("Main."), nullptr);
    EXPECT_STREQ(helper.get_attribute("Boot.")->dft, "noname");
    EXPECT_STREQ(helper.get_attribute("Boot..5")->dft, "noname");
}

TEST_F(cim_helper_queries, compares_ids_up_to_the_first_null_byte) {
    write_aged(configs_file, "Main\n", 10);
    using namespace std::string_literals;
    write_aged(info_file, record({item("id", "A\0B"s), item("cfg", "Main")}), 10);
    const dp_attribute* attributes = helper.get_attributes("Main");
    ASSERT_NE(attributes, nullptr);
    EXPECT_STREQ(attributes[0].id, "A");
    EXPECT_EQ(helper.get_attribute("Main.A"), attributes);
}

TEST_F(cim_helper_queries, finds_each_of_10_000_attributes) {
    write_aged(configs_file, "Main\n", 10);
    std::string text;
    for (int i = 0; i < 10'000; ++i) {
        text += attribute("Main", "Attribute" + std::to_string(i));
    }
    write_aged(info_file, text, 10);
    const dp_attribute* attributes = helper.get_attributes("Main");
    ASSERT_EQ(helper.get_attributes_count("Main"), 10'000U);
    for (int i = 0; i < 10'000; ++i) {
        const std::string name = "Main.Attribute" + std::to_string(i);
        ASSERT_EQ(helper.get_attribute(name.c_str()), attributes + i) << name;
    }
}

TEST_F(cim_helper_queries, returns_the_instance_names_of_the_settings_file) {
    write_aged(configs_file, "Main\nBoot\nEmpty\n", 10);
    write_aged(settings_file,
               setting("Main.B.2", "") + setting("Boot.X", "") + setting("Other.A", "") +
                   setting("Main.A", ""),
               10);
    EXPECT_THAT(instances("Main"), ElementsAre("Main.B.2", "Main.A"));
    EXPECT_THAT(instances("Boot"), ElementsAre("Boot.X"));
    EXPECT_EQ(helper.get_attribute_names("Empty"), nullptr);
    EXPECT_EQ(helper.get_attribute_names_count("Empty"), 0U);
    EXPECT_EQ(helper.get_attribute_names("Nowhere"), nullptr);
    EXPECT_EQ(helper.get_attribute_names_count("Nowhere"), 0U);
}

TEST_F(cim_helper_queries, counts_instance_names_before_they_are_requested) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(settings_file, setting("Main.A", ""), 10);
    EXPECT_EQ(helper.get_attribute_names_count("Main"), 1U);
}

TEST_F(cim_helper_queries, reads_instance_names_once) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(settings_file, setting("Main.A", ""), 10);
    EXPECT_THAT(instances("Main"), ElementsAre("Main.A"));
    write_aged(settings_file, setting("Main.B", ""), 5);
    time.advance(100);
    EXPECT_THAT(instances("Main"), ElementsAre("Main.A"));
}

TEST_F(cim_helper_queries, has_no_instance_names_without_a_settings_file) {
    write_aged(configs_file, "Main\n", 10);
    EXPECT_THAT(instances("Main"), IsEmpty());
}

TEST_F(cim_helper_queries, answers_queries_when_the_clock_started_at_the_epoch) {
    // In the first seconds after the epoch every file seems freshly read.
    time.milliseconds = 2000;
    EXPECT_EQ(helper.init_setting_instances(), 1);
    test::write_file(configs_file, "Main\n");
    time.advance(10);
    EXPECT_EQ(helper.is_valid_collection("Main"), 1);
    EXPECT_EQ(helper.get_attribute_names("Main"), nullptr);
    EXPECT_EQ(helper.get_attribute_names_count("Main"), 0U);
    EXPECT_EQ(helper.reset_to_defaults("Main"), 3);
}

TEST_F(cim_helper_queries, throws_a_logic_error_for_a_null_collection) {
    EXPECT_THROW(helper.get_attributes(nullptr), std::logic_error);
    EXPECT_THROW(helper.get_attributes_count(nullptr), std::logic_error);
    EXPECT_THROW(helper.get_attribute_names(nullptr), std::logic_error);
    EXPECT_THROW(helper.get_attribute_names_count(nullptr), std::logic_error);
    EXPECT_THROW(helper.need_reinit(nullptr), std::logic_error);
    EXPECT_THROW(helper.reset_to_defaults(nullptr), std::logic_error);
}

TEST_F(cim_helper_queries, answers_each_request_on_its_own) {
    write_aged(settings_file, setting("Main.A", "1") + setting("Main.C.2", ""), 10);
    std::vector<dp_transaction> trans = {
        request(1, "Main.A"),   request(2, "Main.A"), request(1, "Main.B"),
        request(1, "Main.C.2"), request(0, "Main.A"), request(17, "Main.A"),
        request(1, nullptr),    request(1, ""),       request(1, "Main.A")};
    for (auto& t : trans) {
        std::strcpy(t.value, "untouched");
    }
    EXPECT_EQ(helper.get_bios_attribute_value(trans.data(), 9, 0), 6);
    std::vector<std::uint32_t> statuses;
    std::vector<std::string> values;
    for (const auto& t : trans) {
        statuses.push_back(t.status);
        values.emplace_back(t.value);
    }
    EXPECT_THAT(statuses, ElementsAre(0, 224, 16, 0, 224, 224, 16, 16, 0));
    EXPECT_THAT(values, ElementsAre("1", "untouched", "untouched", "", "untouched", "untouched",
                                    "untouched", "untouched", "1"));
}

TEST_F(cim_helper_queries, cuts_values_longer_than_79_characters) {
    for (const std::size_t length : {0U, 1U, 78U, 79U, 80U, 81U, 5000U}) {
        const std::string text(length, 'x');
        write_aged(settings_file, setting("Main.A", text), 10);
        cim_helper fresh;
        struct {
            dp_transaction trans = request(1, "Main.A");
            char guard = 'g';
        } guarded;
        EXPECT_EQ(fresh.get_bios_attribute_value(&guarded.trans, 1, 0), 0) << length;
        EXPECT_EQ(guarded.trans.value, text.substr(0, 79)) << length;
        EXPECT_EQ(guarded.trans.status, length > 79 ? 19U : 0U) << length;
        EXPECT_EQ(guarded.guard, 'g');
    }
}

TEST_F(cim_helper_queries, returns_a_list_selection_in_its_terse_form) {
    std::string selection;
    for (int i = 1; i <= 9; ++i) {
        selection += "[value='Device" + std::to_string(i) + "',order='" + std::to_string(i) + "'],";
    }
    selection.pop_back();
    write_aged(settings_file,
               setting("Main.A", "[value='B',order='2'],[value='A',order='1']") +
                   setting("Main.B", selection) + setting("Main.C", "[odd]") +
                   setting("Main.D", "value=[x]"),
               10);
    std::vector<dp_transaction> trans = {request(1, "Main.A"), request(1, "Main.B"),
                                         request(1, "Main.C"), request(1, "Main.D")};
    EXPECT_EQ(helper.get_bios_attribute_value(trans.data(), 4, 0), 0);
    EXPECT_STREQ(trans[0].value, "A,B");
    EXPECT_STREQ(trans[1].value,
                 "Device1,Device2,Device3,Device4,Device5,Device6,Device7,Device8,Device9");
    EXPECT_EQ(trans[1].status, 0U) << "only the terse form has to fit";
    EXPECT_STREQ(trans[2].value, "[odd]");
    EXPECT_STREQ(trans[3].value, "value=[x]");
}

TEST_F(cim_helper_queries, returns_values_of_any_bytes) {
    using namespace std::string_literals;
    write_aged(settings_file, setting("Main.A", "\xFF\x80\x01"s) + setting("Main.B", "a\0b"s), 10);
    std::vector<dp_transaction> trans = {request(1, "Main.A"), request(1, "Main.B")};
    EXPECT_EQ(helper.get_bios_attribute_value(trans.data(), 2, 0), 0);
    EXPECT_STREQ(trans[0].value, "\xFF\x80\x01");
    EXPECT_EQ(std::memcmp(trans[1].value, "a\0b", 4), 0);
}

TEST_F(cim_helper_queries, reads_values_from_the_selected_file) {
    write_aged(settings_file, setting("Main.A", "set"), 10);
    write_aged(current_file, setting("Main.A", "current"), 10);
    for (const auto& [which, expected] : std::vector<std::pair<int, std::string>>{
             {0, "set"}, {1, "current"}, {7, "current"}, {-1, "current"}}) {
        dp_transaction trans = request(1, "Main.A");
        EXPECT_EQ(helper.get_bios_attribute_value(&trans, 1, which), 0);
        EXPECT_EQ(trans.value, expected) << which;
    }
}

TEST_F(cim_helper_queries, reads_the_file_once_within_four_seconds) {
    write_aged(settings_file, setting("Main.A", "old"), 10);
    dp_transaction trans = request(1, "Main.A");
    helper.get_bios_attribute_value(&trans, 1, 0);
    write_aged(settings_file, setting("Main.A", "new"), 9);
    time.advance(4);
    helper.get_bios_attribute_value(&trans, 1, 0);
    EXPECT_STREQ(trans.value, "old");
    time.advance(1);
    helper.get_bios_attribute_value(&trans, 1, 0);
    EXPECT_STREQ(trans.value, "new");
}

TEST_F(cim_helper_queries, reads_the_file_even_without_requests) {
    write_aged(settings_file, setting("Main.A", "old"), 10);
    EXPECT_EQ(helper.get_bios_attribute_value(nullptr, 0, 0), 0);
    EXPECT_EQ(helper.get_bios_attribute_value(nullptr, 3, 0), 0);
    write_aged(settings_file, setting("Main.A", "new"), 9);
    dp_transaction trans = request(1, "Main.A");
    EXPECT_EQ(helper.get_bios_attribute_value(&trans, 1, 0), 0);
    EXPECT_STREQ(trans.value, "old");
}

}  // namespace
