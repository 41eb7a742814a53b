#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bios/cim_helper.hpp"
#include "common/file_locks.hpp"
#include "common/log.hpp"
#include "tests/support/template_records.hpp"
#include "tests/unit/bios/bios_service.hpp"

namespace {

using dp::cim_helper;
using dp::readtimes;
using test::attribute;
using test::setting;
using testing::ElementsAre;
using testing::IsEmpty;
using lines = std::vector<test::recording_log::line>;

class cim_helper_reading : public test::bios_service {
  protected:
    // Asks whether the settings file must be read. Only an actual read stores the new times.
    int settings_read_necessary() {
        readtimes out;
        return helper.is_read_necessary(settings_file, 0, out);
    }

    std::vector<std::string> template_ids(const std::string& cfg, bool force) {
        std::vector<template_info> entries;
        EXPECT_EQ(helper.read_template(cfg, force, entries), 1);
        std::vector<std::string> ids;
        for (const auto& entry : entries) {
            ids.push_back(entry.id);
        }
        return ids;
    }

    std::string value(const std::string& name, int which = 0) {
        std::string text;
        return cim_helper::get_setting_value(helper.read_settings(which), name, &text) != 0
                   ? text
                   : "(none)";
    }

    // Installs a tool that logs its command lines and copies a prepared text to its output file.
    void install_dpspy() {
        test::write_script(dpspy, "printf '%s\\n' \"$*\" >> " + calls_file + "\n" +
                                      "while [ \"$1\" != -o ]; do shift; done\n" + "cp " +
                                      prepared_file + " \"$2\"");
    }

    std::string calls() { return test::read_file(calls_file); }

    const std::string calls_file = test::root() + "/calls";
    const std::string prepared_file = test::root() + "/prepared";
    cim_helper helper;
};

TEST_F(cim_helper_reading, requires_a_read_of_a_file_that_was_never_read) {
    readtimes out{1, 2, 3};
    write_aged(settings_file, "", 100);
    EXPECT_EQ(helper.is_read_necessary(settings_file, 0, out), 1);
    EXPECT_EQ(out.read_time, time.now());
    EXPECT_EQ(out.modification_time, time.now() - 100);
    EXPECT_EQ(out.force, 0U);
}

TEST_F(cim_helper_reading, does_not_count_a_check_as_a_read) {
    write_aged(settings_file, "", 100);
    EXPECT_EQ(settings_read_necessary(), 1);
    EXPECT_EQ(settings_read_necessary(), 1);
}

TEST_F(cim_helper_reading, treats_a_file_as_fresh_for_four_seconds) {
    write_aged(settings_file, setting("Main.A", "old"), 100);
    EXPECT_EQ(value("Main.A"), "old");
    write_aged(settings_file, setting("Main.A", "new"), 50);
    for (int seconds = 0; seconds <= 4; ++seconds) {
        EXPECT_EQ(settings_read_necessary(), 0) << seconds;
        EXPECT_EQ(value("Main.A"), "old") << seconds;
        time.advance(1);
    }
    EXPECT_EQ(settings_read_necessary(), 1);
    EXPECT_EQ(value("Main.A"), "new");
}

TEST_F(cim_helper_reading, does_not_read_an_unchanged_file_again) {
    write_aged(settings_file, setting("Main.A", "1"), 100);
    EXPECT_EQ(value("Main.A"), "1");
    time.advance(1000);
    readtimes out{1, 2, 3};
    EXPECT_EQ(helper.is_read_necessary(settings_file, 0, out), 0);
    EXPECT_EQ(out.read_time, 1) << "untouched when no read is necessary";
}

TEST_F(cim_helper_reading, reads_a_file_with_an_older_time_again) {
    write_aged(settings_file, setting("Main.A", "1"), 100);
    EXPECT_EQ(value("Main.A"), "1");
    write_aged(settings_file, setting("Main.A", "2"), 200);
    time.advance(5);
    EXPECT_EQ(value("Main.A"), "2");
}

TEST_F(cim_helper_reading, reads_a_file_that_changed_in_the_second_of_its_read_again) {
    write_aged(settings_file, setting("Main.A", "1"), 0);
    EXPECT_EQ(value("Main.A"), "1");
    write_aged(settings_file, setting("Main.A", "2"), 0);
    time.advance(4);
    EXPECT_EQ(value("Main.A"), "1") << "still fresh";
    time.advance(1);
    EXPECT_EQ(value("Main.A"), "2");
    time.advance(5);
    EXPECT_EQ(settings_read_necessary(), 0) << "the last read is now later than the change";
}

TEST_F(cim_helper_reading, treats_a_file_as_fresh_when_the_clock_was_set_back) {
    write_aged(settings_file, setting("Main.A", "1"), 100);
    EXPECT_EQ(value("Main.A"), "1");
    test::set_mtime(settings_file, time.now() - 99);
    time.advance(-1000);
    EXPECT_EQ(settings_read_necessary(), 0);
}

TEST_F(cim_helper_reading, distinguishes_times_after_the_year_2038) {
    time.milliseconds = 4'102'444'800'000;  // in the year 2100
    write_aged(settings_file, setting("Main.A", "1"), 0);
    EXPECT_EQ(value("Main.A"), "1");
    write_aged(settings_file, setting("Main.A", "2"), 0);
    time.advance(5);
    EXPECT_EQ(value("Main.A"), "2") << "changed in the second of its read";
    time.advance(5);
    EXPECT_EQ(settings_read_necessary(), 0);
}

TEST_F(cim_helper_reading, reads_a_missing_file_once_and_again_when_it_appears) {
    EXPECT_EQ(value("Main.A"), "(none)");
    time.advance(100);
    EXPECT_EQ(settings_read_necessary(), 0);
    write_aged(settings_file, setting("Main.A", "1"), 50);
    EXPECT_EQ(value("Main.A"), "1");
}

TEST_F(cim_helper_reading, has_no_values_after_the_file_was_removed) {
    write_aged(settings_file, setting("Main.A", "1"), 100);
    EXPECT_EQ(value("Main.A"), "1");
    std::filesystem::remove(settings_file);
    time.advance(5);
    EXPECT_EQ(value("Main.A"), "(none)");
}

TEST_F(cim_helper_reading, keeps_slots_independent) {
    write_aged(settings_file, setting("Main.A", "set"), 100);
    write_aged(current_file, setting("Main.A", "current"), 100);
    EXPECT_EQ(value("Main.A", 0), "set");
    EXPECT_EQ(value("Main.A", 1), "current");
    for (const unsigned slot : {2U, 3U, 4U, 5U}) {
        readtimes out;
        EXPECT_EQ(helper.is_read_necessary(settings_file, slot, out), 1) << slot;
    }
}

TEST_F(cim_helper_reading, reads_template_entries_of_one_or_of_all_collections) {
    write_aged(info_file, attribute("Main", "A") + attribute("Main2", "B") + attribute("Main", "C"),
               10);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("A", "C"));
    EXPECT_THAT(template_ids("", true), ElementsAre("A", "B", "C"));
}

TEST_F(cim_helper_reading, reads_the_template_once_within_four_seconds_unless_forced) {
    write_aged(info_file, attribute("Main", "A"), 10);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("A"));
    time.advance(4);
    EXPECT_THAT(template_ids("Main", false), IsEmpty());
    EXPECT_THAT(template_ids("Main", true), ElementsAre("A"));
}

TEST_F(cim_helper_reading, appends_template_entries) {
    write_aged(info_file, attribute("Main", "A"), 10);
    std::vector<template_info> entries(2);
    helper.read_template("Main", true, entries);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[2].id, "A");
}

TEST_F(cim_helper_reading, keeps_the_read_time_when_a_forced_read_was_not_necessary) {
    write_aged(template_file, "image", 100);
    write_aged(info_file, attribute("Main", "A"), 10);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("A"));
    time.advance(3);
    EXPECT_THAT(template_ids("Main", true), ElementsAre("A"));
    EXPECT_THAT(template_ids("Main", false), IsEmpty());
    // Five seconds after the first read, two after the forced one.
    test::set_mtime(template_file, time.now() - 50);
    time.advance(2);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("A"));
}

TEST_F(cim_helper_reading, stores_the_read_time_when_a_forced_read_was_necessary) {
    write_aged(template_file, "image", 100);
    write_aged(info_file, attribute("Main", "A"), 10);
    EXPECT_THAT(template_ids("Main", true), ElementsAre("A"));
    EXPECT_THAT(template_ids("Main", false), IsEmpty());
}

TEST_F(cim_helper_reading, expands_a_template_that_is_newer_than_its_text) {
    install_dpspy();
    test::write_file(prepared_file, attribute("Main", "New"));
    write_aged(template_file, "image", 10);
    write_aged(info_file, attribute("Main", "Old"), 20);
    test::recording_log log(dp::log_level::trace_4);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("New"));
    EXPECT_EQ(calls(), "-sf -i " + template_file + " -o " + info_file + "\n");
    EXPECT_EQ(log.lines,
              (lines{{"LOG", " " + dpspy + " -sf  -i " + template_file + " -o " + info_file}}));
}

TEST_F(cim_helper_reading, expands_a_template_that_is_as_old_as_its_text) {
    install_dpspy();
    test::write_file(prepared_file, attribute("Main", "New"));
    write_aged(template_file, "image", 20);
    write_aged(info_file, attribute("Main", "Old"), 20);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("New"));
}

TEST_F(cim_helper_reading, expands_a_template_that_has_no_text_yet) {
    install_dpspy();
    test::write_file(prepared_file, attribute("Main", "New"));
    write_aged(template_file, "image", 20);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("New"));
}

TEST_F(cim_helper_reading, does_not_expand_a_template_with_a_newer_text) {
    install_dpspy();
    write_aged(template_file, "image", 20);
    write_aged(info_file, attribute("Main", "A"), 10);
    write_aged(configs_file, "Main\n", 10);
    test::recording_log log(0xFFFFFFFF);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("A"));
    std::vector<std::string> names;
    EXPECT_EQ(helper.read_config_names(names), 1);
    EXPECT_EQ(calls(), "");
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(cim_helper_reading, passes_a_replaced_template_name_to_the_tool) {
    install_dpspy();
    const std::string other = test::root() + "/var/dp/other.efi";
    dp_cim_change_template_fname(other.c_str());
    test::write_file(prepared_file, attribute("Main", "New"));
    write_aged(other, "image", 20);
    EXPECT_THAT(template_ids("Main", false), ElementsAre("New"));
    EXPECT_EQ(calls(), "-sf -i " + other + " -o " + info_file + "\n");
}

TEST_F(cim_helper_reading, uses_the_text_as_it_is_after_the_tool_failed) {
    test::write_script(dpspy, "exit 1");
    write_aged(template_file, "image", 10);
    test::recording_log log(dp::log_level::error);
    EXPECT_THAT(template_ids("Main", false), IsEmpty());
    write_aged(info_file, attribute("Main", "Stale"), 20);
    EXPECT_THAT(template_ids("Main", true), ElementsAre("Stale"));
    std::filesystem::remove(dpspy);
    EXPECT_THAT(template_ids("Main", true), ElementsAre("Stale"));
    EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(cim_helper_reading, reads_nothing_from_a_folder) {
    std::filesystem::create_directory(info_file);
    std::filesystem::create_directory(configs_file);
    std::filesystem::create_directory(settings_file);
    EXPECT_THAT(template_ids("Main", true), IsEmpty());
    std::vector<std::string> names;
    EXPECT_EQ(helper.read_config_names(names), 1);
    EXPECT_THAT(names, IsEmpty());
    EXPECT_EQ(value("Main.A"), "(none)");
}

TEST_F(cim_helper_reading, reads_collection_names_from_lines_that_are_not_empty) {
    write_aged(configs_file, "\nMain\n\n Boot \nB\xE9\r\n\nLast", 10);
    std::vector<std::string> names{"before"};
    EXPECT_EQ(helper.read_config_names(names), 1);
    EXPECT_THAT(names, ElementsAre("before", "Main", " Boot ", "B\xE9\r", "Last"));
}

TEST_F(cim_helper_reading, reads_collection_names_when_the_template_changed) {
    write_aged(template_file, "image", 100);
    write_aged(configs_file, "Main\n", 10);
    std::vector<std::string> names;
    EXPECT_EQ(helper.read_config_names(names), 1);
    time.advance(5);
    EXPECT_EQ(helper.read_config_names(names), 0);
    EXPECT_THAT(names, ElementsAre("Main"));
    test::set_mtime(template_file, time.now() - 90);
    EXPECT_EQ(helper.read_config_names(names), 1);
    EXPECT_THAT(names, ElementsAre("Main", "Main"));
}

TEST_F(cim_helper_reading, reads_collection_names_from_the_tool) {
    install_dpspy();
    test::write_file(prepared_file, "Main\nBoot\n");
    write_aged(template_file, "image", 10);
    test::recording_log log(dp::log_level::trace_4);
    std::vector<std::string> names;
    EXPECT_EQ(helper.read_config_names(names), 1);
    EXPECT_THAT(names, ElementsAre("Main", "Boot"));
    EXPECT_EQ(calls(), "-sc -i " + template_file + " -o " + configs_file + "\n");
    EXPECT_EQ(log.lines,
              (lines{{"LOG", " " + dpspy + " -sc -i " + template_file + " -o " + configs_file}}));
}

TEST_F(cim_helper_reading, reads_a_long_list_of_collections_completely) {
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += "Collection" + std::to_string(i) + "\n";
    }
    write_aged(configs_file, text, 10);
    std::vector<std::string> names;
    helper.read_config_names(names);
    ASSERT_EQ(names.size(), 5000U);
    EXPECT_EQ(names[4321], "Collection4321");
}

TEST_F(cim_helper_reading, reads_settings_as_names_and_input_values) {
    write_aged(settings_file,
               "# a comment\n\n" + setting("Main.A", "1") + setting("Main.B.7", "two words") +
                   "0 0 t set Main.C \"in\" \"out\"\n" + setting("NoConfiguration", "x") +
                   "0 0 t set Main.D \"a \\\"quoted\\\" \\\\ word\" \"\"\n",
               10);
    EXPECT_EQ(value("Main.A"), "1");
    EXPECT_EQ(value("Main.B.7"), "two words");
    EXPECT_EQ(value("Main.C"), "in");
    EXPECT_EQ(value("err.NoConfiguration"), "x");
    EXPECT_EQ(value("Main.D"), "a \"quoted\" \\ word");
    EXPECT_EQ(helper.read_settings(0)->size(), 5U);
}

TEST_F(cim_helper_reading, keeps_the_later_of_two_settings_with_one_name) {
    write_aged(settings_file, setting("Main.A", "1") + setting("Main.A", "2"), 10);
    EXPECT_EQ(value("Main.A"), "2");
}

TEST_F(cim_helper_reading, drops_removed_settings_at_the_next_read) {
    write_aged(settings_file, setting("Main.A", "1") + setting("Main.B", "1"), 10);
    EXPECT_EQ(value("Main.A"), "1");
    write_aged(settings_file, setting("Main.B", "2"), 9);
    time.advance(5);
    EXPECT_EQ(value("Main.A"), "(none)");
    EXPECT_EQ(value("Main.B"), "2");
}

TEST_F(cim_helper_reading, reads_settings_without_a_final_newline) {
    std::string text = setting("Main.A", "1");
    text.pop_back();
    write_aged(settings_file, text, 10);
    EXPECT_EQ(value("Main.A"), "1");
}

TEST_F(cim_helper_reading, selects_the_settings_file_by_0_and_the_current_values_otherwise) {
    write_aged(settings_file, setting("Main.A", "set"), 10);
    write_aged(current_file, setting("Main.A", "current"), 10);
    EXPECT_EQ(value("Main.A", 0), "set");
    for (const int which : {1, 2, 7, 1'000'000, -1, -7}) {
        EXPECT_EQ(value("Main.A", which), "current") << which;
    }
    EXPECT_EQ(helper.read_settings(1), helper.read_settings(-1));
    EXPECT_NE(helper.read_settings(1), helper.read_settings(0));
}

TEST_F(cim_helper_reading, keeps_the_address_of_the_map) {
    const auto* map = helper.read_settings(0);
    write_aged(settings_file, setting("Main.A", "1"), 10);
    time.advance(5);
    EXPECT_EQ(helper.read_settings(0), map);
    EXPECT_EQ(map->size(), 1U);
}

TEST_F(cim_helper_reading, leaves_the_value_of_an_unknown_name_unchanged) {
    write_aged(settings_file, setting("Main.A", "1"), 10);
    std::string text = "before";
    EXPECT_EQ(cim_helper::get_setting_value(helper.read_settings(0), "Main.a", &text), 0);
    EXPECT_EQ(cim_helper::get_setting_value(helper.read_settings(0), "", &text), 0);
    EXPECT_EQ(text, "before");
    EXPECT_EQ(cim_helper::get_setting_value(helper.read_settings(0), "Main.A", &text), 1);
    EXPECT_EQ(text, "1");
}

TEST_F(cim_helper_reading, lists_instances_by_collection_in_file_order) {
    write_aged(configs_file, "Main\nBoot\nEmpty\n", 10);
    write_aged(settings_file,
               setting("Boot.X", "") + setting("Main.B.2", "") + setting("Other.A", "") +
                   setting("Main.B.1", "") + setting("Main.A", "") + setting("plain", "") +
                   setting("Main.A", "again"),
               10);
    cim_helper::name_lists lists;
    EXPECT_EQ(helper.read_setting_instances(lists), 1);
    ASSERT_EQ(lists.size(), 3U);
    EXPECT_THAT(lists[0], ElementsAre("Main.B.2", "Main.B.1", "Main.A", "Main.A"));
    EXPECT_THAT(lists[1], ElementsAre("Boot.X"));
    EXPECT_THAT(lists[2], IsEmpty());
    EXPECT_EQ(helper.read_setting_instances(lists), 0);
}

TEST_F(cim_helper_reading, appends_instances_to_existing_lists_and_drops_surplus_lists) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(settings_file, setting("Main.A", ""), 10);
    cim_helper::name_lists lists{{"before"}, {"surplus"}};
    EXPECT_EQ(helper.read_setting_instances(lists), 1);
    ASSERT_EQ(lists.size(), 1U);
    EXPECT_THAT(lists[0], ElementsAre("before", "Main.A"));
}

TEST_F(cim_helper_reading, reads_the_first_line_as_the_build_id) {
    std::string id = "before";
    write_aged(build_id_file, "ABC123\nmore\n", 10);
    EXPECT_EQ(helper.read_uefi_build_id_file(id), 1);
    EXPECT_EQ(id, "ABC123");
    EXPECT_EQ(helper.read_uefi_build_id_file(id), 0);
    write_aged(build_id_file, "no newline", 9);
    time.advance(5);
    EXPECT_EQ(helper.read_uefi_build_id_file(id), 1);
    EXPECT_EQ(id, "no newline");
}

TEST_F(cim_helper_reading, reads_a_build_id_longer_than_one_read) {
    // The newline is before, at and after the end of one read.
    for (const std::size_t length : {4094U, 4095U, 4096U, 4097U, 8191U, 8192U, 100'000U}) {
        const std::string long_id(length, 'x');
        for (const char* rest : {"", "\n", "\nmore\n"}) {
            cim_helper fresh;
            std::string id;
            write_aged(build_id_file, long_id + rest, 10);
            EXPECT_EQ(fresh.read_uefi_build_id_file(id), 1);
            EXPECT_EQ(id, long_id) << length;
        }
    }
}

TEST_F(cim_helper_reading, leaves_the_build_id_unchanged_when_no_read_is_necessary) {
    write_aged(build_id_file, "ABC123\n", 10);
    std::string id;
    helper.read_uefi_build_id_file(id);
    id = "kept";
    EXPECT_EQ(helper.read_uefi_build_id_file(id), 0);
    EXPECT_EQ(id, "kept");
}

TEST_F(cim_helper_reading, reads_an_empty_build_id_from_a_missing_or_empty_file) {
    std::string id = "before";
    EXPECT_EQ(helper.read_uefi_build_id_file(id), 1);
    EXPECT_EQ(id, "");
    write_aged(build_id_file, "", 10);
    id = "before";
    time.advance(5);
    EXPECT_EQ(helper.read_uefi_build_id_file(id), 1);
    EXPECT_EQ(id, "");
}

TEST_F(cim_helper_reading, reads_numbers_as_in_templates) {
    EXPECT_EQ(cim_helper::a2i("100", false), 100U);
    EXPECT_EQ(cim_helper::a2i("100", true), 256U);
    EXPECT_EQ(cim_helper::a2i("x", false), 0U);
}

// While another process holds the write lock, a reader waits and then sees what was written.
class cim_helper_locking : public cim_helper_reading {
  protected:
    void expect_wait(const std::string& lock_file, const std::string& changed_file,
                     const std::string& content, const std::function<void()>& read) {
        test::child_process writer([&](const test::child_process::parent_channel& parent) {
            const writelock lock(lock_file);
            parent.send('r');
            test::pause_for_a_waiter();
            test::write_file(changed_file, content);
            return 0;
        });
        EXPECT_EQ(writer.receive(), 'r');
        read();
        EXPECT_EQ(writer.wait(), 0);
    }
};

TEST_F(cim_helper_locking, waits_for_the_writer_of_the_settings_to_read_values) {
    write_aged(settings_file, setting("Main.A", "old"), 100);
    expect_wait(settings_file, settings_file, setting("Main.A", "new"),
                [&] { EXPECT_EQ(value("Main.A"), "new"); });
}

TEST_F(cim_helper_locking, waits_for_the_writer_of_the_current_values) {
    write_aged(current_file, setting("Main.A", "old"), 100);
    expect_wait(current_file, current_file, setting("Main.A", "new"),
                [&] { EXPECT_EQ(value("Main.A", 1), "new"); });
}

TEST_F(cim_helper_locking, waits_for_the_writer_of_the_settings_to_list_instances) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(settings_file, setting("Main.Old", ""), 100);
    expect_wait(settings_file, settings_file, setting("Main.New", ""), [&] {
        cim_helper::name_lists lists;
        helper.read_setting_instances(lists);
        ASSERT_EQ(lists.size(), 1U);
        EXPECT_THAT(lists[0], ElementsAre("Main.New"));
    });
}

TEST_F(cim_helper_locking, waits_for_the_writer_of_the_template_to_read_attributes) {
    write_aged(template_file, "image", 100);
    write_aged(info_file, attribute("Main", "Old"), 50);
    expect_wait(template_file, info_file, attribute("Main", "New"),
                [&] { EXPECT_THAT(template_ids("Main", false), ElementsAre("New")); });
}

TEST_F(cim_helper_locking, locks_the_template_against_writers_while_the_tool_runs) {
    write_aged(template_file, "image", 10);
    // The writer asks for the lock while the tool runs, and must not get it before the tool ends.
    const std::string locker = test::root() + "/locker";
    test::write_script(dpspy, "touch " + locker + ".started; sleep 0.2; touch " + locker +
                                  ".ended; printf 'id:A\\225\\247\\n' > " + info_file);
    test::child_process writer([&](const test::child_process::parent_channel& parent) {
        parent.send('r');
        while (!std::filesystem::exists(locker + ".started")) {
            usleep(1000);
        }
        const writelock lock(template_file);
        return std::filesystem::exists(locker + ".ended") ? 0 : 1;
    });
    EXPECT_EQ(writer.receive(), 'r');
    EXPECT_THAT(template_ids("", false), ElementsAre("A"));
    EXPECT_EQ(writer.wait(), 0);
}

TEST_F(cim_helper_locking, waits_for_the_writer_of_the_template_to_read_collection_names) {
    write_aged(template_file, "image", 100);
    write_aged(configs_file, "Old\n", 50);
    expect_wait(template_file, configs_file, "New\n", [&] {
        std::vector<std::string> names;
        helper.read_config_names(names);
        EXPECT_THAT(names, ElementsAre("New"));
    });
}

TEST_F(cim_helper_locking, waits_for_the_writer_of_the_build_id) {
    write_aged(build_id_file, "old\n", 100);
    expect_wait(build_id_file, build_id_file, "new\n", [&] {
        std::string id;
        helper.read_uefi_build_id_file(id);
        EXPECT_EQ(id, "new");
    });
}

}  // namespace
