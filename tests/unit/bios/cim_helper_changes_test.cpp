#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bios/cim_helper.hpp"
#include "common/log.hpp"
#include "tests/support/template_records.hpp"
#include "tests/unit/bios/bios_service.hpp"

namespace {

using dp::basic_transaction_command;
using dp::batch_file_entry;
using dp::cim_helper;
using test::attribute;
using test::outcome;
using test::request;
using test::setting;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;
using lines = std::vector<test::recording_log::line>;

class changes : public test::bios_service {
  protected:
    // The settings service answers with `result` while the library sleeps for the `pause`th time.
    void answer(const std::string& result, std::size_t pause = 1) {
        time.on_sleep = [this, result, pause](std::uint32_t) {
            if (time.sleeps.size() == pause) {
                batch = test::read_file(batch_file);
                test::write_file(result_file, result);
            }
        };
    }

    static std::vector<std::uint32_t> statuses(const std::vector<dp_transaction>& trans) {
        std::vector<std::uint32_t> found;
        for (const auto& one : trans) {
            found.push_back(one.status);
        }
        return found;
    }

    static std::vector<basic_transaction_command> one_command() {
        std::vector<basic_transaction_command> cmds(1);
        cmds[0].operation = dp::op_set;
        cmds[0].name = "Main.A";
        return cmds;
    }

    std::string value_now(const char* name) {
        dp_transaction trans = request(1, name);
        helper.get_bios_attribute_value(&trans, 1, 0);
        return trans.value;
    }

    cim_helper helper;
    std::string batch;  // what the settings service found
};

TEST_F(changes, requests_become_commands_in_their_order) {
    const std::vector<dp_transaction> trans = {
        request(2, "Main.A", "1"), request(18, "Main.B.2", "x y"), request(34, "Main.C", "")};
    std::vector<basic_transaction_command> cmds(1);
    helper.trans_to_commands(trans.data(), 3, cmds);
    ASSERT_THAT(cmds, SizeIs(4));
    for (unsigned i = 0; i < 3; ++i) {
        const auto& command = cmds[i + 1];
        EXPECT_EQ(command.status, 0);
        EXPECT_EQ(command.correlator, 100 + i);
        EXPECT_EQ(command.tid, "<cim-0>");
        EXPECT_EQ(command.operation, trans[i].operation);
        EXPECT_EQ(command.name, trans[i].name);
        EXPECT_EQ(command.value_in, trans[i].new_value);
        EXPECT_EQ(command.value_out, "");
    }
}

TEST_F(changes, null_texts_of_a_request_count_as_empty) {
    const dp_transaction trans = request(2, nullptr, nullptr);
    std::vector<basic_transaction_command> cmds;
    helper.trans_to_commands(&trans, 1, cmds);
    helper.trans_to_commands(nullptr, 5, cmds);
    ASSERT_THAT(cmds, SizeIs(1));
    EXPECT_EQ(cmds[0].name, "");
    EXPECT_EQ(cmds[0].value_in, "");
}

TEST_F(changes, batch_file_has_a_terse_line_for_each_command) {
    const std::vector<dp_transaction> trans = {
        request(2, "Main.A", "1"), request(34, "Main.B.2", "say \"x\" \\"), request(3, "Main.C")};
    std::vector<basic_transaction_command> cmds;
    helper.trans_to_commands(trans.data(), 3, cmds);
    test::write_file(batch_file, std::string(10'000, 'x'));
    helper.write_batch_file(cmds);
    EXPECT_EQ(test::read_file(batch_file),
              "0 100 <cim-0> set Main.A \"1\" \"\" \n"
              "0 101 <cim-0> delete Main.B.2 \"say \"x\" \\\" \"\" \n"
              "0 102 <cim-0> unknown Main.C \"\" \"\" \n");
}

TEST_F(changes, empty_transaction_id_is_written_and_kept_as_none) {
    auto cmds = one_command();
    helper.write_batch_file(cmds);
    EXPECT_EQ(test::read_file(batch_file), "0 0 <none> set Main.A \"\" \"\" \n");
    EXPECT_EQ(cmds[0].tid, "<none>");
}

TEST_F(changes, each_batch_has_a_transaction_id_of_its_own) {
    auto cmds = one_command();
    helper.write_batch_file(cmds);
    const dp_transaction trans = request(2, "Main.A");
    cmds.clear();
    helper.trans_to_commands(&trans, 1, cmds);
    EXPECT_EQ(cmds[0].tid, "<cim-1>");
    // Also when the last batch could not be written.
    std::filesystem::remove_all(test::root() + "/tmp/dp");
    helper.write_batch_file(cmds);
    cmds.clear();
    helper.trans_to_commands(&trans, 1, cmds);
    EXPECT_EQ(cmds[0].tid, "<cim-2>");
}

TEST_F(changes, correlator_index_is_that_of_the_first_command_with_it) {
    std::vector<basic_transaction_command> cmds(6);
    EXPECT_EQ(cim_helper::find_correlator_index({}, 100), -1);
    for (unsigned i = 0; i < 6; ++i) {
        cmds[i].correlator = 100 + i / 2 * 10;  // 100 100 110 110 120 120
    }
    EXPECT_EQ(cim_helper::find_correlator_index(cmds, 100), 0);
    EXPECT_EQ(cim_helper::find_correlator_index(cmds, 110), 2);
    EXPECT_EQ(cim_helper::find_correlator_index(cmds, 120), 4);
    for (const unsigned missing : {0U, 99U, 101U, 119U, 121U, 4'294'967'295U}) {
        EXPECT_EQ(cim_helper::find_correlator_index(cmds, missing), -1) << missing;
    }
}

TEST_F(changes, batch_of_no_commands_touches_nothing) {
    test::write_file(result_file, "stale");
    std::vector<basic_transaction_command> cmds;
    std::vector<batch_file_entry> entries;
    EXPECT_EQ(helper.process_batch_file(cmds, entries), -1);
    EXPECT_EQ(test::read_file(result_file), "stale");
    EXPECT_FALSE(std::filesystem::exists(batch_file));
    EXPECT_THAT(time.sleeps, SizeIs(0));
    EXPECT_EQ(helper.set_bios_attribute_value(nullptr, 0), -1);
    EXPECT_EQ(helper.set_bios_attribute_value(nullptr, 7), -1);
    dp_transaction trans = request(2, "Main.A", "1");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 0), -1);
    EXPECT_EQ(trans.status, 4711U);
}

TEST_F(changes, stale_result_is_never_read) {
    test::write_file(result_file, outcome("5", "100"));
    dp_transaction trans = request(2, "Main.A", "1");
    answer(outcome("0", "100"));
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_THAT(time.sleeps, ElementsAre(1000)) << "the stale file was gone before the wait";
}

TEST_F(changes, stale_result_is_gone_before_the_batch_can_be_read) {
    test::write_file(result_file, outcome("5", "100"));
    // The library can't write the batch before this reader opens it.
    ASSERT_EQ(mkfifo(batch_file.c_str(), 0600), 0);
    test::child_process service([&](const test::child_process::parent_channel& parent) {
        parent.send('r');
        for (int i = 0; i < 60'000 && std::filesystem::exists(result_file); ++i) {
            usleep(1000);
        }
        const bool gone = !std::filesystem::exists(result_file);
        test::write_file(result_file, outcome("0", "100"));
        return test::read_file(batch_file) == "0 100 <cim-0> set Main.A \"1\" \"\" \n" && gone ? 0
                                                                                               : 1;
    });
    EXPECT_EQ(service.receive(), 'r');
    dp_transaction trans = request(2, "Main.A", "1");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_EQ(service.wait(), 0);
    EXPECT_THAT(time.sleeps, SizeIs(0));
}

TEST_F(changes, result_file_that_is_missing_is_removed_without_a_word) {
    test::recording_log log(dp::log_level::trace_4);
    auto cmds = one_command();
    std::vector<batch_file_entry> entries;
    EXPECT_EQ(helper.process_batch_file(cmds, entries), -1);
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(changes, result_file_that_cannot_be_removed_is_logged) {
    std::filesystem::create_directories(result_file + "/inside");
    test::recording_log log(dp::log_level::trace_4);
    auto cmds = one_command();
    std::vector<batch_file_entry> entries;
    helper.process_batch_file(cmds, entries);
    ASSERT_FALSE(log.lines.empty());
    EXPECT_EQ(log.lines[0],
              (test::recording_log::line{"LOG", " remove " + result_file + " failed, errno= " +
                                                    std::to_string(ENOTEMPTY)}));
    test::recording_log silent(~dp::log_level::trace_4 & ~dp::log_level::log);
    helper.process_batch_file(cmds, entries);
    EXPECT_EQ(silent.lines, lines{});
}

TEST_F(changes, answer_is_awaited_for_a_minute_in_steps_of_a_second) {
    std::vector<dp_transaction> trans = {request(2, "Main.A", "1"), request(2, "Main.B", "2")};
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), -1);
    EXPECT_THAT(statuses(trans), ElementsAre(255, 255));
    EXPECT_THAT(time.sleeps, SizeIs(61));
    EXPECT_THAT(time.sleeps, Each(1000U));
    EXPECT_TRUE(std::filesystem::exists(batch_file)) << "the batch was written and stays";
}

TEST_F(changes, answer_after_the_last_pause_is_still_taken) {
    dp_transaction trans = request(2, "Main.A", "1");
    answer(outcome("7", "100"), 61);
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 1);
    EXPECT_EQ(trans.status, 7U);
}

TEST_F(changes, batch_is_there_before_the_first_pause) {
    dp_transaction trans = request(2, "Main.A", "1");
    answer(outcome("0", "100"));
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_EQ(batch, "0 100 <cim-0> set Main.A \"1\" \"\" \n");
}

TEST_F(changes, success_leaves_the_statuses_as_they_were) {
    std::vector<dp_transaction> trans = {request(2, "Main.A", "1"), request(2, "Main.B", "2")};
    answer(outcome("0", "100") + outcome("0", "101"), 3);
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), 0);
    EXPECT_THAT(statuses(trans), ElementsAre(4711, 4711));
    EXPECT_THAT(time.sleeps, SizeIs(3));
}

TEST_F(changes, failures_reach_their_requests_through_the_correlator) {
    std::vector<dp_transaction> trans(4, request(2, "Main.A", "1"));
    answer(outcome("0", "100") + outcome("5", "101") + outcome("224", "103"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 4), 2);
    EXPECT_THAT(statuses(trans), ElementsAre(4711, 5, 4711, 224));
}

TEST_F(changes, order_of_the_answers_does_not_matter) {
    std::vector<dp_transaction> trans(3, request(2, "Main.A", "1"));
    answer(outcome("3", "102") + outcome("1", "100") + outcome("2", "101") + outcome("9", "102"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 3), 4);
    EXPECT_THAT(statuses(trans), ElementsAre(1, 2, 9));
}

TEST_F(changes, answer_that_matches_no_request_is_counted_and_ignored) {
    std::vector<dp_transaction> trans(2, request(2, "Main.A", "1"));
    answer(outcome("5", "99") + outcome("5", "102") + outcome("5", "what") + outcome("5", "-1") +
           outcome("5", "99999999999"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), 5);
    EXPECT_THAT(statuses(trans), ElementsAre(4711, 4711));
}

TEST_F(changes, status_of_an_answer_is_read_as_an_unsigned_number) {
    std::vector<dp_transaction> trans(6, request(2, "Main.A", "1"));
    answer(outcome("00", "100") + outcome("word", "101") + outcome("17x", "102") +
           outcome("-1", "103") + outcome("99999999999", "104") + outcome("+8", " 105"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 6), 6);
    EXPECT_THAT(statuses(trans), ElementsAre(0, 0, 17, 4'294'967'295U, 4'294'967'295U, 8));
}

TEST_F(changes, empty_answer_is_one_without_failures) {
    dp_transaction trans = request(2, "Main.A", "1");
    answer("");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_EQ(trans.status, 4711U);
}

TEST_F(changes, answer_that_cannot_be_read_fails_the_batch) {
    time.on_sleep = [this](std::uint32_t) { std::filesystem::create_directory(result_file); };
    std::vector<dp_transaction> trans(2, request(2, "Main.A", "1"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), -1);
    EXPECT_THAT(statuses(trans), ElementsAre(255, 255));
    EXPECT_THAT(time.sleeps, SizeIs(1));
}

TEST_F(changes, entries_of_the_answer_are_appended) {
    auto cmds = one_command();
    std::vector<batch_file_entry> entries(1);
    answer(
        "# answer\n0 100 <cim-0> set Main.A \"in\" \"out\" \n0 100 t set A.B \"x\" \"y\" two "
        "words\n" +
        outcome("5", "101"));
    EXPECT_EQ(helper.process_batch_file(cmds, entries), 1);
    ASSERT_THAT(entries, SizeIs(3));
    EXPECT_EQ(entries[1].value_out, "out");
    EXPECT_EQ(entries[2].status, "5");
}

TEST_F(changes, next_read_after_an_answer_reads_the_settings_again) {
    write_aged(settings_file, setting("Main.A", "old"), 100);
    EXPECT_EQ(value_now("Main.A"), "old");
    dp_transaction trans = request(2, "Main.A", "new");
    time.on_sleep = [this](std::uint32_t) {
        // The same size, and no newer than before.
        write_aged(settings_file, setting("Main.A", "new"), 101);
        test::write_file(result_file, outcome("0", "100"));
    };
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_EQ(value_now("Main.A"), "new");
    // Once: after that the file is fresh again.
    write_aged(settings_file, setting("Main.A", "xxx"), 90);
    EXPECT_EQ(value_now("Main.A"), "new");
}

TEST_F(changes, next_read_after_an_unreadable_answer_reads_the_settings_again) {
    write_aged(settings_file, setting("Main.A", "old"), 100);
    EXPECT_EQ(value_now("Main.A"), "old");
    dp_transaction trans = request(2, "Main.A", "new");
    time.on_sleep = [this](std::uint32_t) {
        write_aged(settings_file, setting("Main.A", "new"), 101);
        std::filesystem::create_directory(result_file);
    };
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), -1);
    EXPECT_EQ(value_now("Main.A"), "new");
}

TEST_F(changes, no_answer_forces_no_read) {
    write_aged(settings_file, setting("Main.A", "old"), 100);
    EXPECT_EQ(value_now("Main.A"), "old");
    dp_transaction trans = request(2, "Main.A", "new");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), -1);
    // The wait took a minute, but the file is as it was.
    test::write_file(settings_file, setting("Main.A", "new"));
    test::set_mtime(settings_file, time.now() - 161);
    EXPECT_EQ(value_now("Main.A"), "old");
}

TEST_F(changes, missing_exchange_folder_fails_the_batch) {
    std::filesystem::remove_all(test::root() + "/tmp/dp");
    dp_transaction trans = request(2, "Main.A", "new");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), -1);
    EXPECT_EQ(trans.status, 255U);
}

TEST_F(changes, hundred_thousand_failures_find_their_requests) {
    constexpr unsigned count = 100'000;
    std::vector<dp_transaction> trans(count, request(2, "Main.A", "1"));
    std::string result;
    for (unsigned i = 0; i < count; ++i) {
        result += outcome(std::to_string(1 + i % 200), std::to_string(100 + i));
    }
    answer(result);
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), count), 100'000);
    for (unsigned i = 0; i < count; ++i) {
        ASSERT_EQ(trans[i].status, 1 + i % 200) << i;
    }
}

TEST_F(changes, reset_sets_every_instance_to_the_default_of_its_attribute) {
    write_aged(configs_file, "Main\nBoot\n", 10);
    write_aged(info_file,
               attribute("Main", "A", "one") + attribute("Main", "B", "two words") +
                   attribute("Main", "C") + attribute("Main", "NoInstance", "x") +
                   attribute("Main", "List", "[value='B',order='2'],[value='A',order='1']") +
                   attribute("Boot", "X", "boot"),
               10);
    write_aged(settings_file,
               setting("Main.B.2", "v") + setting("Boot.X", "v") + setting("Main.A", "v") +
                   setting("Main.B.1", "v") + setting("Main.NotInTemplate", "v") +
                   setting("Main.C", "v") + setting("Main.List", "v"),
               10);
    answer(outcome("0", "100"));
    EXPECT_EQ(helper.reset_to_defaults("Main"), 0);
    EXPECT_EQ(batch,
              "0 100 <cim-0> set Main.B.2 \"two words\" \"\" \n"
              "0 100 <cim-0> set Main.A \"one\" \"\" \n"
              "0 100 <cim-0> set Main.B.1 \"two words\" \"\" \n"
              "0 100 <cim-0> set Main.C \"\" \"\" \n"
              "0 100 <cim-0> set Main.List \"A,B\" \"\" \n");
}

TEST_F(changes, reset_deletes_what_is_removed_by_default) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(info_file,
               attribute("Main", "A", "a", "remove") + attribute("Main", "B", "b", "Remove") +
                   attribute("Main", "C", "c", "removed") + attribute("Main", "D", "d", "remov") +
                   attribute("Main", "E", "e", " remove"),
               10);
    write_aged(settings_file,
               setting("Main.A", "v") + setting("Main.B", "v") + setting("Main.C", "v") +
                   setting("Main.D", "v") + setting("Main.E", "v"),
               10);
    answer(outcome("0", "100"));
    EXPECT_EQ(helper.reset_to_defaults("Main"), 0);
    EXPECT_EQ(batch,
              "0 100 <cim-0> delete Main.A \"a\" \"\" \n"
              "0 100 <cim-0> set Main.B \"b\" \"\" \n"
              "0 100 <cim-0> set Main.C \"c\" \"\" \n"
              "0 100 <cim-0> set Main.D \"d\" \"\" \n"
              "0 100 <cim-0> set Main.E \"e\" \"\" \n");
}

TEST_F(changes, reset_fails_when_a_command_fails_or_no_answer_comes) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(info_file, attribute("Main", "A", "a"), 10);
    write_aged(settings_file, setting("Main.A", "v") + setting("Main.A.1", "v"), 10);
    answer(outcome("0", "100") + outcome("5", "100"));
    EXPECT_EQ(helper.reset_to_defaults("Main"), 3);
    time.on_sleep = nullptr;
    EXPECT_EQ(helper.reset_to_defaults("Main"), 3);
}

TEST_F(changes, reset_of_an_unknown_collection_does_nothing) {
    write_aged(configs_file, "Main\n", 10);
    EXPECT_EQ(helper.reset_to_defaults("Nowhere"), 2);
    EXPECT_EQ(helper.reset_to_defaults(""), 2);
    EXPECT_FALSE(std::filesystem::exists(batch_file));
}

TEST_F(changes, reset_of_a_collection_without_instances_or_attributes_fails) {
    write_aged(configs_file, "Main\nBoot\n", 10);
    write_aged(info_file, attribute("Main", "A", "a"), 10);
    write_aged(settings_file, setting("Boot.X", "v"), 10);
    EXPECT_EQ(helper.reset_to_defaults("Main"), 3) << "no instances";
    EXPECT_EQ(helper.reset_to_defaults("Boot"), 3) << "no attributes";
    EXPECT_FALSE(std::filesystem::exists(batch_file));
    EXPECT_THAT(time.sleeps, SizeIs(0));
}

TEST_F(changes, reset_of_a_hundred_thousand_instances_is_one_batch) {
    constexpr int count = 100'000;
    write_aged(configs_file, "Main\n", 10);
    std::string template_text;
    std::string settings;
    for (int i = 0; i < 1000; ++i) {
        template_text += attribute("Main", "Attribute" + std::to_string(i), "default");
    }
    for (int i = 0; i < count; ++i) {
        settings +=
            setting("Main.Attribute" + std::to_string(i % 1000) + "." + std::to_string(i), "value");
    }
    write_aged(info_file, template_text, 10);
    write_aged(settings_file, settings, 10);
    answer("");
    EXPECT_EQ(helper.reset_to_defaults("Main"), 0);
    EXPECT_EQ(std::count(batch.begin(), batch.end(), '\n'), count);
}

TEST_F(changes, need_for_reinitialisation_of_an_unknown_collection_is_not_known) {
    write_aged(configs_file, "Main\n", 10);
    EXPECT_EQ(helper.need_reinit("Nowhere"), 2);
}

// A service that has read its three files long ago, none of which has changed.
class reinitialisation : public changes {
  protected:
    reinitialisation() {
        write_aged(template_file, "image", 100);
        write_aged(configs_file, "Main\nBoot\n", 50);
        write_aged(settings_file, setting("Main.A", "1") + setting("Boot.X", "1"), 100);
        write_aged(build_id_file, "ID1\n", 100);
        EXPECT_EQ(helper.need_reinit("Main"), 0);
        time.advance(60);
    }

    void change_collections(const std::string& names) {
        write_aged(template_file, "image", 20);
        write_aged(configs_file, names, 10);
    }
    void change_instances(const std::string& settings) { write_aged(settings_file, settings, 20); }
    void change_build_id(const std::string& id) { write_aged(build_id_file, id, 20); }
};

TEST_F(reinitialisation, nothing_changed_needs_none) {
    EXPECT_EQ(helper.need_reinit("Main"), 0);
    EXPECT_EQ(helper.need_reinit("Boot"), 0);
}

TEST_F(reinitialisation, first_question_to_a_new_service_needs_none) {
    cim_helper fresh;
    EXPECT_EQ(fresh.need_reinit("Main"), 0);
}

TEST_F(reinitialisation, files_that_were_written_anew_alike_need_none) {
    change_collections("Main\nBoot\n");
    change_instances(setting("Main.A", "other value") + setting("Boot.X", "1"));
    change_build_id("ID1\nanother second line\n");
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(reinitialisation, changed_list_of_collections_is_reported_once) {
    for (const char* names : {"Main\nBoot\nNew\n", "Main\n", "Main\nOther\n", ""}) {
        change_collections(names);
        EXPECT_EQ(helper.need_reinit("Main"), 4) << names;
        EXPECT_EQ(helper.need_reinit("Main"), 0) << names;
        time.advance(60);
        EXPECT_EQ(helper.need_reinit("Main"), 0) << names;
    }
}

TEST_F(reinitialisation, same_collections_in_another_order_need_none) {
    change_collections("Boot\nMain\n");
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(reinitialisation, changed_instances_are_reported_once) {
    for (const auto& settings :
         {setting("Main.A", "1"), setting("Main.A", "1") + setting("Main.X", "1"),
          setting("Main.B", "1") + setting("Boot.X", "1"),
          setting("Main.A", "1") + setting("Main.A", "1") + setting("Boot.X", "1"),
          std::string()}) {
        change_instances(settings);
        EXPECT_EQ(helper.need_reinit("Main"), 5) << settings;
        EXPECT_EQ(helper.need_reinit("Main"), 0) << settings;
        time.advance(60);
        EXPECT_EQ(helper.need_reinit("Main"), 0) << settings;
    }
}

TEST_F(reinitialisation, instances_of_other_collections_count_too) {
    change_instances(setting("Main.A", "1") + setting("Boot.Y", "1"));
    EXPECT_EQ(helper.need_reinit("Main"), 5);
}

TEST_F(reinitialisation, instances_of_one_collection_may_mix_with_others_in_the_file) {
    change_instances(setting("Boot.X", "1") + setting("Main.A", "1"));
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(reinitialisation, changed_build_id_is_reported_once) {
    for (const char* id : {"ID2\n", "ID\n", "ID11\n", ""}) {
        change_build_id(id);
        EXPECT_EQ(helper.need_reinit("Main"), 6) << id;
        EXPECT_EQ(helper.need_reinit("Main"), 0) << id;
        time.advance(60);
        EXPECT_EQ(helper.need_reinit("Main"), 0) << id;
    }
}

TEST_F(reinitialisation, changes_are_reported_one_at_a_time_in_their_order) {
    change_collections("Main\n");
    change_instances(setting("Main.B", "1"));
    change_build_id("ID2\n");
    EXPECT_EQ(helper.need_reinit("Main"), 4);
    EXPECT_EQ(helper.need_reinit("Main"), 5);
    EXPECT_EQ(helper.need_reinit("Main"), 6);
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(reinitialisation, change_within_four_seconds_of_the_last_read_shows_later) {
    EXPECT_EQ(helper.need_reinit("Main"), 0);
    change_build_id("ID2\n");
    EXPECT_EQ(helper.need_reinit("Main"), 6) << "an unchanged file was not read, only looked at";
    write_aged(build_id_file, "ID3\n", 10);
    time.advance(4);
    EXPECT_EQ(helper.need_reinit("Main"), 0);
    time.advance(1);
    EXPECT_EQ(helper.need_reinit("Main"), 6);
}

TEST_F(reinitialisation, question_changes_nothing_that_the_service_holds) {
    change_collections("Other\n");
    change_instances(setting("Main.New", "1"));
    change_build_id("ID2\n");
    while (helper.need_reinit("Main") != 0) {
    }
    EXPECT_EQ(helper.get_config_count(), 2);
    EXPECT_EQ(helper.is_valid_collection("Other"), 0);
    EXPECT_STREQ(helper.get_attribute_names("Main")[0], "Main.A");
    // The build id that is held against is still the first one.
    time.advance(60);
    change_build_id("ID1\n");
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(reinitialisation, new_service_takes_the_changes_over) {
    change_collections("Main\nNew\n");
    change_instances(setting("New.A", "1"));
    change_build_id("ID2\n");
    cim_helper fresh;
    EXPECT_EQ(fresh.need_reinit("New"), 0);
    EXPECT_STREQ(fresh.get_attribute_names("New")[0], "New.A");
}

}  // namespace
