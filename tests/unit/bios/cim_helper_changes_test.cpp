#include <gmock/gmock.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bios/cim_helper.hpp"
#include "common/log.hpp"
#include "tests/support/closed_standard_input.hpp"
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

class cim_helper_changes : public test::bios_service {
  protected:
    // Makes the settings service answer with `result` during the library's `pause`th sleep.
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
        for (const auto& t : trans) {
            found.push_back(t.status);
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
    std::string batch;  // the batch file that the settings service read
};

TEST_F(cim_helper_changes, makes_a_command_of_each_request_in_order) {
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

TEST_F(cim_helper_changes, treats_null_texts_of_a_request_as_empty) {
    const dp_transaction trans = request(2, nullptr, nullptr);
    std::vector<basic_transaction_command> cmds;
    helper.trans_to_commands(&trans, 1, cmds);
    helper.trans_to_commands(nullptr, 5, cmds);
    ASSERT_THAT(cmds, SizeIs(1));
    EXPECT_EQ(cmds[0].name, "");
    EXPECT_EQ(cmds[0].value_in, "");
}

TEST_F(cim_helper_changes, writes_a_terse_line_for_each_command) {
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

TEST_F(cim_helper_changes, writes_and_stores_an_empty_transaction_id_as_none) {
    auto cmds = one_command();
    helper.write_batch_file(cmds);
    EXPECT_EQ(test::read_file(batch_file), "0 0 <none> set Main.A \"\" \"\" \n");
    EXPECT_EQ(cmds[0].tid, "<none>");
}

TEST_F(cim_helper_changes, gives_each_batch_its_own_transaction_id) {
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

// The kinds of the events of the file "batch", in their order, since a folder was watched.
std::vector<std::uint32_t> batch_events(int notify) {
    std::vector<std::uint32_t> kinds;
    alignas(inotify_event) std::array<char, 4096> buffer{};
    const ssize_t size = read(notify, buffer.data(), buffer.size());
    for (ssize_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + at, sizeof event);
        if (std::string(buffer.data() + at + sizeof event) == "batch") {
            kinds.push_back(event.mask);
        }
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    return kinds;
}

TEST_F(cim_helper_changes, removes_an_incomplete_batch_before_it_is_closed) {
    std::vector<dp_transaction> trans(3, request(2, "Main.A", "1"));
    // In a child: the limit of the size of files is one of a process.
    test::child_process client([&](const test::child_process::parent_channel& /*parent*/) {
        const int notify = inotify_init1(IN_NONBLOCK);
        inotify_add_watch(notify, (test::root() + "/tmp/dp").c_str(),
                          IN_CREATE | IN_DELETE | IN_CLOSE_WRITE);
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{60, RLIM_INFINITY};  // within the second of three lines
        setrlimit(RLIMIT_FSIZE, &limit);
        const int result = helper.set_bios_attribute_value(trans.data(), 3);
        const bool is_in_order = batch_events(notify) ==
                                 std::vector<std::uint32_t>{IN_CREATE, IN_DELETE, IN_CLOSE_WRITE};
        return result == -1 && statuses(trans) == std::vector<std::uint32_t>{255, 255, 255} &&
                       is_in_order && !std::filesystem::exists(batch_file) && time.sleeps.empty()
                   ? 0
                   : 1;
    });
    EXPECT_EQ(client.wait(), 0);
}

TEST_F(cim_helper_changes, fails_at_once_when_the_device_is_full) {
    test::recording_log log(dp::log_level::error);
    std::filesystem::create_symlink("/dev/full", batch_file);
    test::write_file(result_file, outcome("0", "100"));
    std::vector<dp_transaction> trans(2, request(2, "Main.A", "1"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), -1);
    EXPECT_THAT(statuses(trans), ElementsAre(255, 255));
    EXPECT_THAT(time.sleeps, SizeIs(0));
    EXPECT_FALSE(std::filesystem::is_symlink(batch_file));
    EXPECT_EQ(log.lines, (lines{{"ERR", " ***ERROR*** failed writing " + batch_file}}));
    EXPECT_EQ(helper.correlator, 1U) << "the next batch has another transaction id";
}

TEST_F(cim_helper_changes, keeps_the_wait_when_the_batch_cannot_be_opened) {
    std::filesystem::create_directory(batch_file);
    dp_transaction trans = request(2, "Main.A", "1");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), -1);
    EXPECT_EQ(trans.status, 255U);
    EXPECT_THAT(time.sleeps, SizeIs(61));
    EXPECT_TRUE(std::filesystem::is_directory(batch_file));
    std::filesystem::remove(batch_file);
}

TEST_F(cim_helper_changes, finds_the_first_command_with_a_correlator) {
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

TEST_F(cim_helper_changes, does_nothing_without_commands) {
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

TEST_F(cim_helper_changes, never_reads_a_stale_result) {
    test::write_file(result_file, outcome("5", "100"));
    dp_transaction trans = request(2, "Main.A", "1");
    answer(outcome("0", "100"));
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_THAT(time.sleeps, ElementsAre(1000)) << "the stale file was removed before the wait";
}

TEST_F(cim_helper_changes, removes_a_stale_result_before_the_batch_can_be_read) {
    test::write_file(result_file, outcome("5", "100"));
    // The library cannot write the batch before this reader opens it.
    ASSERT_EQ(mkfifo(batch_file.c_str(), 0600), 0);
    test::child_process service([&](const test::child_process::parent_channel& parent) {
        parent.send('r');
        for (int i = 0; i < 60'000 && std::filesystem::exists(result_file); ++i) {
            usleep(1000);
        }
        const bool removed = !std::filesystem::exists(result_file);
        test::write_file(result_file, outcome("0", "100"));
        return test::read_file(batch_file) == "0 100 <cim-0> set Main.A \"1\" \"\" \n" && removed
                   ? 0
                   : 1;
    });
    EXPECT_EQ(service.receive(), 'r');
    dp_transaction trans = request(2, "Main.A", "1");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_EQ(service.wait(), 0);
    EXPECT_THAT(time.sleeps, SizeIs(0));
}

TEST_F(cim_helper_changes, logs_nothing_for_a_missing_result_file) {
    test::recording_log log(dp::log_level::trace_4);
    auto cmds = one_command();
    std::vector<batch_file_entry> entries;
    EXPECT_EQ(helper.process_batch_file(cmds, entries), -1);
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(cim_helper_changes, fails_when_the_answer_vanishes_before_it_is_opened) {
    write_aged(settings_file, setting("Main.A", "old"), 100);
    EXPECT_EQ(value_now("Main.A"), "old");
    // Of the same age: only a read that is forced sees it.
    write_aged(settings_file, setting("Main.A", "new"), 100);
    answer(outcome("0", "100") + outcome("0", "101"));
    test::recording_log log;
    log.on_line = [this](const test::recording_log::line& line) {
        if (line.text == " wait_for_file: found " + result_file) {
            std::filesystem::remove(result_file);
        }
    };
    std::vector<dp_transaction> trans(2, request(2, "Main.A", "1"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), -1);
    EXPECT_THAT(statuses(trans), ElementsAre(255, 255));
    EXPECT_THAT(time.sleeps, SizeIs(1)) << "it does not wait for another answer";
    EXPECT_FALSE(std::filesystem::exists(result_file));
    EXPECT_EQ(value_now("Main.A"), "new") << "the values may have changed";
}

TEST_F(cim_helper_changes, logs_a_result_file_that_cannot_be_removed) {
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

TEST_F(cim_helper_changes, waits_a_minute_for_the_answer_in_steps_of_a_second) {
    std::vector<dp_transaction> trans = {request(2, "Main.A", "1"), request(2, "Main.B", "2")};
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), -1);
    EXPECT_THAT(statuses(trans), ElementsAre(255, 255));
    EXPECT_THAT(time.sleeps, SizeIs(61));
    EXPECT_THAT(time.sleeps, Each(1000U));
    EXPECT_TRUE(std::filesystem::exists(batch_file)) << "the batch was written and is kept";
}

TEST_F(cim_helper_changes, accepts_an_answer_after_the_last_pause) {
    dp_transaction trans = request(2, "Main.A", "1");
    answer(outcome("7", "100"), 61);
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 1);
    EXPECT_EQ(trans.status, 7U);
}

TEST_F(cim_helper_changes, writes_the_batch_before_the_first_pause) {
    dp_transaction trans = request(2, "Main.A", "1");
    answer(outcome("0", "100"));
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_EQ(batch, "0 100 <cim-0> set Main.A \"1\" \"\" \n");
}

TEST_F(cim_helper_changes, reads_the_answer_without_standard_input) {
    dp_transaction trans = request(2, "Main.A", "1");
    answer(outcome("7", "100"));
    const test::closed_standard_input closed;
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 1);
    EXPECT_EQ(trans.status, 7U);
    EXPECT_TRUE(test::closed_standard_input::is_closed());
}

TEST_F(cim_helper_changes, leaves_the_statuses_unchanged_on_success) {
    std::vector<dp_transaction> trans = {request(2, "Main.A", "1"), request(2, "Main.B", "2")};
    answer(outcome("0", "100") + outcome("0", "101"), 3);
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), 0);
    EXPECT_THAT(statuses(trans), ElementsAre(4711, 4711));
    EXPECT_THAT(time.sleeps, SizeIs(3));
}

TEST_F(cim_helper_changes, assigns_failures_to_requests_by_correlator) {
    std::vector<dp_transaction> trans(4, request(2, "Main.A", "1"));
    answer(outcome("0", "100") + outcome("5", "101") + outcome("224", "103"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 4), 2);
    EXPECT_THAT(statuses(trans), ElementsAre(4711, 5, 4711, 224));
}

TEST_F(cim_helper_changes, accepts_answers_in_any_order) {
    std::vector<dp_transaction> trans(3, request(2, "Main.A", "1"));
    answer(outcome("3", "102") + outcome("1", "100") + outcome("2", "101") + outcome("9", "102"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 3), 4);
    EXPECT_THAT(statuses(trans), ElementsAre(1, 2, 9));
}

TEST_F(cim_helper_changes, counts_and_ignores_answers_without_a_request) {
    std::vector<dp_transaction> trans(2, request(2, "Main.A", "1"));
    answer(outcome("5", "99") + outcome("5", "102") + outcome("5", "what") + outcome("5", "-1") +
           outcome("5", "99999999999"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), 5);
    EXPECT_THAT(statuses(trans), ElementsAre(4711, 4711));
}

TEST_F(cim_helper_changes, reads_the_status_of_an_answer_as_an_unsigned_number) {
    std::vector<dp_transaction> trans(6, request(2, "Main.A", "1"));
    answer(outcome("00", "100") + outcome("word", "101") + outcome("17x", "102") +
           outcome("-1", "103") + outcome("99999999999", "104") + outcome("+8", " 105"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 6), 6);
    EXPECT_THAT(statuses(trans), ElementsAre(0, 0, 17, 4'294'967'295U, 4'294'967'295U, 8));
}

TEST_F(cim_helper_changes, treats_an_empty_answer_as_success) {
    dp_transaction trans = request(2, "Main.A", "1");
    answer("");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_EQ(trans.status, 4711U);
}

TEST_F(cim_helper_changes, fails_when_the_answer_cannot_be_read) {
    time.on_sleep = [this](std::uint32_t) { std::filesystem::create_directory(result_file); };
    std::vector<dp_transaction> trans(2, request(2, "Main.A", "1"));
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 2), -1);
    EXPECT_THAT(statuses(trans), ElementsAre(255, 255));
    EXPECT_THAT(time.sleeps, SizeIs(1));
}

TEST_F(cim_helper_changes, reads_only_a_regular_file_as_an_answer) {
    struct planted {
        const char* what;
        std::function<void()> plant;
        int result;
    };
    const std::string other = test::root() + "/other";
    const std::vector<planted> files = {
        {"a pipe without a writer", [&] { mkfifo(result_file.c_str(), 0600); }, -1},
        {"an endless device", [&] { std::filesystem::create_symlink("/dev/zero", result_file); },
         -1},
        {"a terminal", [&] { std::filesystem::create_symlink("/dev/ptmx", result_file); }, -1},
        {"a folder", [&] { std::filesystem::create_directory(result_file); }, -1},
        {"a symlink to an answer",
         [&] {
             test::write_file(other, outcome("7", "100"));
             std::filesystem::create_symlink(other, result_file);
         },
         1},
    };
    for (const auto& file : files) {
        time.on_sleep = [&](std::uint32_t) { file.plant(); };
        time.sleeps.clear();
        dp_transaction trans = request(2, "Main.A", "1");
        EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), file.result) << file.what;
        EXPECT_EQ(trans.status, file.result == -1 ? 255U : 7U) << file.what;
        EXPECT_THAT(time.sleeps, SizeIs(1)) << file.what;
    }
}

TEST_F(cim_helper_changes, refuses_an_answer_longer_than_its_commands_can_have) {
    constexpr std::size_t kib = 1024;
    for (const std::size_t commands : {std::size_t{1}, std::size_t{3}}) {
        const std::size_t longest = 1024 * kib + commands * 64 * kib;
        for (const std::size_t size : {longest, longest + 1}) {
            std::string result = outcome("5", "100") + outcome("6", "4711") + '#';
            result.resize(size, 'x');
            std::vector<dp_transaction> trans(commands, request(2, "Main.A", "1"));
            time.sleeps.clear();
            answer(result);
            const bool is_read = size == longest;
            EXPECT_EQ(
                helper.set_bios_attribute_value(trans.data(), static_cast<unsigned>(commands)),
                is_read ? 2 : -1);
            EXPECT_EQ(trans[0].status, is_read ? 5U : 255U);
            EXPECT_EQ(trans.back().status, is_read ? (commands == 1 ? 5U : 4711U) : 255U);
        }
    }
}

TEST_F(cim_helper_changes, adds_no_entries_of_an_answer_that_is_too_long) {
    auto cmds = one_command();
    std::vector<batch_file_entry> entries;
    time.on_sleep = [this](std::uint32_t) {
        test::write_file(result_file, outcome("5", "100"));
        std::filesystem::resize_file(result_file, 1U << 31U);  // needs no space on the disk
    };
    EXPECT_EQ(helper.process_batch_file(cmds, entries), -1);
    EXPECT_THAT(entries, SizeIs(0));
}

TEST_F(cim_helper_changes, appends_the_failed_entries_of_the_answer) {
    auto cmds = one_command();
    std::vector<batch_file_entry> entries(1);
    answer(
        "# answer\n0 100 <cim-0> set Main.A \"in\" \"out\" \n0 100 t set A.B \"x\" \"y\" two "
        "words\n" +
        outcome("5", "101") + outcome("6", "100") + outcome("07", "0100"));
    EXPECT_EQ(helper.process_batch_file(cmds, entries), 3);
    ASSERT_THAT(entries, SizeIs(3));
    EXPECT_EQ(entries[1].status, "5");
    EXPECT_EQ(entries[1].detail, "101");
    EXPECT_EQ(entries[2].status, "7") << "the last of those with the same correlator";
    EXPECT_EQ(entries[2].detail, "100");
}

TEST_F(cim_helper_changes, counts_short_lines_without_copies_of_the_texts_that_they_keep) {
    std::vector<dp_transaction> trans(1, request(2, "Main.A", "1"));
    constexpr int count = 490'000;
    std::string result = "5 100 t set A." + std::string(60'000, 'B');
    result += " \"\" \"\"\n";
    for (int i = 1; i < count; ++i) {
        result += "6\n";
    }
    answer(result);
    // Copies of the texts would be 30 GB.
    EXPECT_EQ(helper.set_bios_attribute_value(trans.data(), 1), count);
    EXPECT_EQ(trans[0].status, 6U);
}

TEST_F(cim_helper_changes, reads_the_settings_again_after_an_answer) {
    write_aged(settings_file, setting("Main.A", "old"), 100);
    EXPECT_EQ(value_now("Main.A"), "old");
    dp_transaction trans = request(2, "Main.A", "new");
    time.on_sleep = [this](std::uint32_t) {
        // The same size, and not newer than before.
        write_aged(settings_file, setting("Main.A", "new"), 101);
        test::write_file(result_file, outcome("0", "100"));
    };
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), 0);
    EXPECT_EQ(value_now("Main.A"), "new");
    // Only once: after that the file counts as fresh.
    write_aged(settings_file, setting("Main.A", "xxx"), 90);
    EXPECT_EQ(value_now("Main.A"), "new");
}

TEST_F(cim_helper_changes, reads_the_settings_again_after_an_unreadable_answer) {
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

TEST_F(cim_helper_changes, does_not_force_a_read_without_an_answer) {
    write_aged(settings_file, setting("Main.A", "old"), 100);
    EXPECT_EQ(value_now("Main.A"), "old");
    dp_transaction trans = request(2, "Main.A", "new");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), -1);
    // The wait took a minute, but the modification time is unchanged.
    test::write_file(settings_file, setting("Main.A", "new"));
    test::set_mtime(settings_file, time.now() - 161);
    EXPECT_EQ(value_now("Main.A"), "old");
}

TEST_F(cim_helper_changes, fails_without_the_exchange_folder) {
    std::filesystem::remove_all(test::root() + "/tmp/dp");
    dp_transaction trans = request(2, "Main.A", "new");
    EXPECT_EQ(helper.set_bios_attribute_value(&trans, 1), -1);
    EXPECT_EQ(trans.status, 255U);
}

TEST_F(cim_helper_changes, assigns_100_000_failures_to_their_requests) {
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

using cim_helper_reset_to_defaults = cim_helper_changes;

TEST_F(cim_helper_reset_to_defaults, sets_every_instance_to_the_default_of_its_attribute) {
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

TEST_F(cim_helper_reset_to_defaults, deletes_instances_that_are_removed_by_default) {
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

TEST_F(cim_helper_reset_to_defaults, fails_when_a_command_fails_or_no_answer_arrives) {
    write_aged(configs_file, "Main\n", 10);
    write_aged(info_file, attribute("Main", "A", "a"), 10);
    write_aged(settings_file, setting("Main.A", "v") + setting("Main.A.1", "v"), 10);
    answer(outcome("0", "100") + outcome("5", "100"));
    EXPECT_EQ(helper.reset_to_defaults("Main"), 3);
    time.on_sleep = nullptr;
    EXPECT_EQ(helper.reset_to_defaults("Main"), 3);
}

TEST_F(cim_helper_reset_to_defaults, does_nothing_for_an_unknown_collection) {
    write_aged(configs_file, "Main\n", 10);
    EXPECT_EQ(helper.reset_to_defaults("Nowhere"), 2);
    EXPECT_EQ(helper.reset_to_defaults(""), 2);
    EXPECT_FALSE(std::filesystem::exists(batch_file));
}

TEST_F(cim_helper_reset_to_defaults, fails_for_a_collection_without_instances_or_attributes) {
    write_aged(configs_file, "Main\nBoot\n", 10);
    write_aged(info_file, attribute("Main", "A", "a"), 10);
    write_aged(settings_file, setting("Boot.X", "v"), 10);
    EXPECT_EQ(helper.reset_to_defaults("Main"), 3) << "no instances";
    EXPECT_EQ(helper.reset_to_defaults("Boot"), 3) << "no attributes";
    EXPECT_FALSE(std::filesystem::exists(batch_file));
    EXPECT_THAT(time.sleeps, SizeIs(0));
}

TEST_F(cim_helper_reset_to_defaults, resets_100_000_instances_in_one_batch) {
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

TEST_F(cim_helper_changes, need_reinit_refuses_an_unknown_collection) {
    write_aged(configs_file, "Main\n", 10);
    EXPECT_EQ(helper.need_reinit("Nowhere"), 2);
}

// A service that read its files a minute ago; none of them has changed since.
class cim_helper_need_reinit : public cim_helper_changes {
  protected:
    cim_helper_need_reinit() {
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

TEST_F(cim_helper_need_reinit, is_0_when_nothing_changed) {
    EXPECT_EQ(helper.need_reinit("Main"), 0);
    EXPECT_EQ(helper.need_reinit("Boot"), 0);
}

TEST_F(cim_helper_need_reinit, is_0_at_the_first_call_of_a_new_service) {
    cim_helper fresh;
    EXPECT_EQ(fresh.need_reinit("Main"), 0);
}

TEST_F(cim_helper_need_reinit, is_0_when_files_were_written_again_with_equal_content) {
    change_collections("Main\nBoot\n");
    change_instances(setting("Main.A", "other value") + setting("Boot.X", "1"));
    change_build_id("ID1\nanother second line\n");
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(cim_helper_need_reinit, reports_a_changed_list_of_collections_once) {
    for (const char* names : {"Main\nBoot\nNew\n", "Main\n", "Main\nOther\n", ""}) {
        change_collections(names);
        EXPECT_EQ(helper.need_reinit("Main"), 4) << names;
        EXPECT_EQ(helper.need_reinit("Main"), 0) << names;
        time.advance(60);
        EXPECT_EQ(helper.need_reinit("Main"), 0) << names;
    }
}

TEST_F(cim_helper_need_reinit, is_0_for_the_same_collections_in_another_order) {
    change_collections("Boot\nMain\n");
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(cim_helper_need_reinit, reports_changed_instances_once) {
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

TEST_F(cim_helper_need_reinit, reports_changed_instances_of_other_collections) {
    change_instances(setting("Main.A", "1") + setting("Boot.Y", "1"));
    EXPECT_EQ(helper.need_reinit("Main"), 5);
}

TEST_F(cim_helper_need_reinit, is_0_when_only_the_order_of_collections_in_the_file_changed) {
    change_instances(setting("Boot.X", "1") + setting("Main.A", "1"));
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(cim_helper_need_reinit, reports_a_changed_build_id_once) {
    for (const char* id : {"ID2\n", "ID\n", "ID11\n", ""}) {
        change_build_id(id);
        EXPECT_EQ(helper.need_reinit("Main"), 6) << id;
        EXPECT_EQ(helper.need_reinit("Main"), 0) << id;
        time.advance(60);
        EXPECT_EQ(helper.need_reinit("Main"), 0) << id;
    }
}

TEST_F(cim_helper_need_reinit, reports_one_change_at_a_time_in_fixed_order) {
    change_collections("Main\n");
    change_instances(setting("Main.B", "1"));
    change_build_id("ID2\n");
    EXPECT_EQ(helper.need_reinit("Main"), 4);
    EXPECT_EQ(helper.need_reinit("Main"), 5);
    EXPECT_EQ(helper.need_reinit("Main"), 6);
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(cim_helper_need_reinit, reports_a_change_within_four_seconds_of_the_last_read_later) {
    EXPECT_EQ(helper.need_reinit("Main"), 0);
    change_build_id("ID2\n");
    EXPECT_EQ(helper.need_reinit("Main"), 6) << "the unchanged file was checked, but not read";
    write_aged(build_id_file, "ID3\n", 10);
    time.advance(4);
    EXPECT_EQ(helper.need_reinit("Main"), 0);
    time.advance(1);
    EXPECT_EQ(helper.need_reinit("Main"), 6);
}

TEST_F(cim_helper_need_reinit, leaves_the_data_of_the_service_unchanged) {
    change_collections("Other\n");
    change_instances(setting("Main.New", "1"));
    change_build_id("ID2\n");
    while (helper.need_reinit("Main") != 0) {
    }
    EXPECT_EQ(helper.get_config_count(), 2);
    EXPECT_EQ(helper.is_valid_collection("Other"), 0);
    EXPECT_STREQ(helper.get_attribute_names("Main")[0], "Main.A");
    // The build id is still compared with the first one.
    time.advance(60);
    change_build_id("ID1\n");
    EXPECT_EQ(helper.need_reinit("Main"), 0);
}

TEST_F(cim_helper_need_reinit, is_0_for_a_new_service_that_has_read_the_changes) {
    change_collections("Main\nNew\n");
    change_instances(setting("New.A", "1"));
    change_build_id("ID2\n");
    cim_helper fresh;
    EXPECT_EQ(fresh.need_reinit("New"), 0);
    EXPECT_STREQ(fresh.get_attribute_names("New")[0], "New.A");
}

}  // namespace
