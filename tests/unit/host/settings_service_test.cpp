#include "host/settings_service.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "batch/batch_file_entry.hpp"
#include "common/file_locks.hpp"
#include "common/file_utilities.hpp"
#include "host/exchange/batch_transaction.hpp"
#include "host/history/history_journal.hpp"
#include "host/model/update_files.hpp"
#include "service_api/change_record.hpp"
#include "service_api/service_status.hpp"
#include "service_api/values_seal.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/sealed_values.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/host/settings_service_fixture.hpp"

namespace {

using test::records;

class settings_service_test : public test::settings_service_fixture {};

TEST_F(settings_service_test, the_first_start_writes_defaults_to_both_files_and_the_build_id) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(test::read_file(pending), all_defaults);
    EXPECT_EQ(test::read_file(current), all_defaults);
    EXPECT_EQ(test::read_file(build_id), "B1\n");
}

TEST_F(settings_service_test, stored_values_are_served_and_their_file_is_unchanged) {
    const std::string text =
        "0 0 t set A.Gone \"g\" \"\"\n0 0 t set A.Mode \"y\" \"\"\n"
        "0 0 t set A.Size \"999\" \"\"\n0 0 t set A.Port.2 \"9\" \"\"\n";
    test::write_file(pending, text);
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(test::read_file(pending), text);
    EXPECT_EQ(run(service, "0 1 t get A.Size \"\" \"\"\n0 2 t get A.Port.1 \"\" \"\"\n"),
              "0 1 t get A.Size \"\" \"999\" \n32 2 t get A.Port.1 \"\" \"\" \n");
}

TEST_F(settings_service_test, missing_values_become_defaults_and_unknown_values_are_dropped) {
    test::write_file(pending, "0 0 t set A.Mode \"y\" \"\"\n0 0 t set A.Odd \"1\" \"\"\n");
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(test::read_file(pending),
              test::sealed("0 0 uefi set A.Mode \"y\" \"\" \n0 0 uefi set A.Size \"1\" \"\" \n"
                           "0 0 uefi set A.Gone \"old\" \"\" \n"));
}

TEST_F(settings_service_test, lost_pending_values_are_taken_from_the_current_ones) {
    test::write_file(current, "0 0 t set A.Mode \"y\" \"\"\n");
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_NE(test::read_file(pending).find("A.Mode \"y\""), std::string::npos);
}

TEST_F(settings_service_test, symlinks_instead_of_its_files_are_refused) {
    for (const auto& path : {bios, pending, current, build_id, vpd}) {
        const std::string real = path + ".real";
        test::write_file(real, test::read_file(path));
        unlink(path.c_str());
        ASSERT_EQ(symlink(real.c_str(), path.c_str()), 0);
        dp_host::settings_service service;
        EXPECT_EQ(service.start().reason(), path + " is a symlink");
        ASSERT_EQ(unlink(path.c_str()), 0);
        if (path == bios || path == vpd) {
            ASSERT_EQ(rename(real.c_str(), path.c_str()), 0);
        }
    }
}

TEST_F(settings_service_test, does_not_start_with_an_unusable_template) {
    test::write_file(bios, "not a template");
    EXPECT_EQ(dp_host::settings_service().start().reason(),
              in_root("/tmp/dp/uefi_info.txt") + " contains no attributes");
    test::write_file(bios, records({test::choice("A.B", "C", "", "")}));
    EXPECT_EQ(dp_host::settings_service().start().reason(),
              bios + ": attribute 1 (A.B.C): its collection is not a word without dots");
    EXPECT_FALSE(fileexist(pending));
}

TEST_F(settings_service_test, values_survive_a_new_start) {
    {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        EXPECT_EQ(run(service, "0 1 t set A.Mode \"z\" \"\"\n0 2 t delete A.Port.1 \"\" \"\"\n"),
                  "0 1 t set A.Mode \"z\" \"z\" \n0 2 t delete A.Port.1 \"\" \"\" \n");
    }
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(run(service, "0 1 t get A.Mode \"\" \"\"\n0 2 t get A.Port.1 \"\" \"\"\n"),
              "0 1 t get A.Mode \"\" \"z\" \n32 2 t get A.Port.1 \"\" \"\" \n");
    EXPECT_NE(test::read_file(current).find("A.Mode \"x\""), std::string::npos);
}

TEST_F(settings_service_test, a_change_that_cannot_be_written_fails) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    // Nothing can be created in the data folder any more.
    const std::string data = in_root("/var/dp");
    const std::string aside = in_root("/var/aside");
    ASSERT_EQ(rename(data.c_str(), aside.c_str()), 0);
    EXPECT_EQ(run(service, "0 1 t set A.Mode \"z\" \"\"\n0 2 t get A.Mode \"\" \"\"\n"),
              "56 1 t set A.Mode \"z\" \"\" \n0 2 t get A.Mode \"\" \"x\" \n");
    ASSERT_EQ(rename(aside.c_str(), data.c_str()), 0);
    EXPECT_EQ(run(service, "0 1 t set A.Mode \"z\" \"\"\n"), "0 1 t set A.Mode \"z\" \"z\" \n");
    EXPECT_NE(test::read_file(pending).find("A.Mode \"z\""), std::string::npos);
}

TEST_F(settings_service_test, the_history_has_the_changes_of_a_batch_and_its_journal_is_removed) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    run(service, "0 1 <cim-0> set A.Mode \"z\" \"\"\n0 2 <cim-0> set A.Mode \"q\" \"\"\n");
    const std::string line = test::read_file(history);
    EXPECT_THAT(line, testing::MatchesRegex("<cim-0,id=[0-9a-f]+,uid=[0-9]+> [-0-9T:+]+   A.Mode   "
                                            "\"z\"   was \"x\"\n"));
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
    run(service, "0 1 <cim-1> get A.Mode \"\" \"\"\n0 2 <cim-1> set A.Mode \"z\" \"\"\n");
    EXPECT_EQ(test::read_file(history), line);
    EXPECT_FALSE(fileexist(journal));
}

TEST_F(settings_service_test, values_that_cannot_be_put_in_place_leave_no_journal_and_no_history) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    // A folder cannot be replaced by a file.
    ASSERT_EQ(unlink(pending.c_str()), 0);
    std::filesystem::create_directory(pending);
    EXPECT_EQ(run(service, "0 1 t set A.Mode \"z\" \"\"\n"), "56 1 t set A.Mode \"z\" \"\" \n");
    EXPECT_FALSE(fileexist(journal));
    EXPECT_FALSE(fileexist(history));
}

TEST_F(settings_service_test, the_journal_has_the_lines_of_values_that_wait_for_a_lock) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    test::child_process reader([this](const test::child_process::parent_channel& parent) {
        const readlock lock(pending);
        parent.send('L');
        return parent.receive() == 'E' ? 0 : 1;
    });
    ASSERT_EQ(reader.receive(), 'L');
    test::stepped_time time;
    std::string written;
    time.on_sleep = [&](std::uint32_t) {
        if (written.empty()) {
            written = test::read_file(journal);
            EXPECT_EQ(test::read_file(pending), all_defaults);
            EXPECT_FALSE(fileexist(history));
            reader.send('E');
            EXPECT_EQ(reader.wait(), 0);
        }
    };
    run(service, "0 1 t set A.Mode \"z\" \"\"\n");
    EXPECT_TRUE(written.ends_with("   A.Mode   \"z\"   was \"x\"\n")) << written;
    EXPECT_TRUE(written.ends_with('\n' + test::read_file(history))) << written;
    EXPECT_FALSE(fileexist(journal));
}

TEST_F(settings_service_test, a_start_replays_a_journal_whose_values_are_in_place) {
    {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        run(service, "0 1 t set A.Mode \"z\" \"\"\n0 2 t set A.Size \"9\" \"\"\n");
    }
    const std::string lines = test::read_file(history);
    const std::string first = lines.substr(0, lines.find('\n') + 1);
    const auto start_with_journal = [&](const std::string& found) {
        const dp_host::history_journal left(journal, in_root("/var/dp/no_values_yet"), 1000);
        left.write(pending, lines);
        test::write_file(history, found);
        dp_host::settings_service service;
        EXPECT_TRUE(service.start());
        EXPECT_FALSE(fileexist(journal));
        return test::read_file(history);
    };
    EXPECT_EQ(start_with_journal(""), lines);
    EXPECT_EQ(start_with_journal("earlier\n"), "earlier\n" + lines);
    EXPECT_EQ(start_with_journal("earlier\n" + lines), "earlier\n" + lines);
    EXPECT_EQ(start_with_journal("earlier\n" + first + "<t>"), "earlier\n" + lines);
    // An unknown value makes the start write the file of values again.
    test::write_file(pending, "0 0 t set A.Mode \"z\" \"\"\n0 0 t set A.Odd \"1\" \"\"\n");
    EXPECT_EQ(start_with_journal("earlier\n"), "earlier\n" + lines);
}

TEST_F(settings_service_test,
       a_start_drops_a_journal_that_is_invalid_or_whose_values_are_not_in_place) {
    {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
    }
    test::write_file(pending + ".aside", "other values\n");
    const dp_host::history_journal left(journal, pending, 1000);
    left.write(pending + ".aside", "<t> a line\n");
    EXPECT_TRUE(fileexist(journal));
    EXPECT_TRUE(dp_host::settings_service().start());
    EXPECT_FALSE(fileexist(journal));
    test::write_file(journal, std::string(3'000'000, 'x'));
    test::recording_log log(sysipc::event_log::log_level::error);
    EXPECT_TRUE(dp_host::settings_service().start());
    EXPECT_FALSE(fileexist(journal));
    EXPECT_EQ(log.lines.size(), 1U);
    EXPECT_FALSE(fileexist(history));
}

TEST_F(settings_service_test, the_version_of_the_pending_values_changes_exactly_when_they_do) {
    // A file of another program, without a seal.
    test::write_file(pending,
                     "0 0 t set A.Mode \"y\" \"\"\n0 0 t set A.Size \"1\" \"\"\n"
                     "0 0 t set A.Gone \"old\" \"\"\n");
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    const std::string first = service.pending_version();
    EXPECT_EQ(first.size(), 16U);
    EXPECT_EQ(dp_service::values_seal::version_of(pending), first);

    run(service, "0 1 t set A.Mode \"z\" \"\"\n");
    const std::string second = service.pending_version();
    EXPECT_NE(second, first);
    EXPECT_EQ(dp_service::values_seal::version_of(pending), second);

    run(service, "0 1 t get A.Mode \"\" \"\"\n0 2 t set A.Mode \"z\" \"\"\n");
    run(service, "0 1 t set A.Mode \"bad\" \"\"\n");
    EXPECT_EQ(service.restart().status, 0);
    EXPECT_EQ(service.pending_version(), second);
    dp_host::settings_service again;
    ASSERT_TRUE(again.start());
    EXPECT_EQ(again.pending_version(), second);
}

TEST_F(settings_service_test, a_change_that_was_not_persisted_leaves_the_version) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    const std::string before_change = service.pending_version();
    std::filesystem::rename(in_root("/var/dp"), in_root("/var/aside"));
    run(service, "0 1 t set A.Mode \"z\" \"\"\n");
    EXPECT_EQ(service.pending_version(), before_change);
}

TEST_F(settings_service_test, a_restart_makes_pending_values_current) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    run(service, "0 1 t set A.Mode \"z\" \"\"\n");
    EXPECT_EQ(test::read_file(current), all_defaults);
    EXPECT_EQ(service.restart().status, 0);
    EXPECT_EQ(test::read_file(current), test::read_file(pending));
    EXPECT_NE(test::read_file(current), all_defaults);
}

TEST_F(settings_service_test, a_restart_that_cannot_be_written_fails) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    std::filesystem::rename(in_root("/var/dp"), in_root("/var/aside"));
    const auto outcome = service.restart();
    EXPECT_EQ(outcome.status, dp_service::service_status::not_persisted);
    EXPECT_NE(outcome.reason, "");
}

TEST_F(settings_service_test, an_update_keeps_values_that_are_still_valid) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    run(service,
        "0 1 t set A.Mode \"y\" \"\"\n0 2 t set A.Size \"50\" \"\"\n"
        "0 3 t set A.Port.2 \"9\" \"\"\n");
    prepare_update(after);
    const auto outcome = service.update();
    ASSERT_EQ(outcome.status, 0) << outcome.reason;
    // Mode is still valid, Size is too big, Port keeps the instance that still exists.
    const std::string expected = test::sealed(
        "0 0 uefi set A.Mode \"y\" \"\" \n0 0 uefi set A.Size \"2\" \"\" \n"
        "0 0 uefi set B.New \"fresh\" \"\" \n0 0 uefi set A.Port.2 \"9\" \"\" \n"
        "0 0 uefi set B.Fan.1 \"7\" \"\" \n0 0 uefi set B.Fan.2 \"7\" \"\" \n");
    EXPECT_EQ(test::read_file(pending), expected);
    EXPECT_EQ(test::read_file(current), expected);
    EXPECT_EQ(test::read_file(bios), records(after));
    EXPECT_EQ(test::read_file(vpd), "SERIAL=7\nUEFIID=B2\n");
    EXPECT_EQ(test::read_file(build_id), "B2\n");
    EXPECT_FALSE(fileexist(in_root("/var/dp/update/uefi_template.efi")));
    EXPECT_FALSE(fileexist(in_root("/tmp/dp/update_info.txt")));
    EXPECT_EQ(run(service, "0 1 t get A.Gone \"\" \"\"\n0 2 t set B.New \"n\" \"\"\n"),
              "16 1 t get ERR.INVALID_SETTING \"\" \"\" \n0 2 t set B.New \"n\" \"n\" \n");
}

TEST_F(settings_service_test, an_update_reports_and_records_what_became_of_the_values) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    run(service, "0 1 t set A.Size \"50\" \"\"\n");
    std::filesystem::remove(history);
    // One new menu gave all collections other names.
    prepare_update({test::choice("Setup", "Mode", "z", "x,z"),
                    test::number("Setup", "Size", "2", 0, 10, 1),
                    test::with_instances(test::number("Main", "Port", "6", 0, 10, 1), 1, 2)});
    const auto planned = service.plan_update();
    EXPECT_EQ(planned.status, 0) << planned.reason;
    EXPECT_EQ(test::read_file(bios), records(before));
    EXPECT_FALSE(fileexist(history));
    EXPECT_EQ(
        planned.report,
        (std::vector<std::string>{
            "kept 0 values, converted 3, lost 2", "converted A.Mode \"x\" to Setup.Mode",
            "converted A.Port.1 \"5\" to Main.Port.1", "converted A.Port.2 \"5\" to Main.Port.2",
            "lost A.Size \"50\": not valid any more; Setup.Size is \"2\"",
            "lost A.Gone \"old\": there is no such attribute any more"}));
    const auto updated = service.update("uid=7,gid=8,pid=9,program=/x");
    EXPECT_EQ(updated.status, 0) << updated.reason;
    EXPECT_EQ(updated.report, planned.report);
    EXPECT_EQ(test::read_file(pending), test::sealed("0 0 uefi set Setup.Mode \"x\" \"\" \n"
                                                     "0 0 uefi set Setup.Size \"2\" \"\" \n"
                                                     "0 0 uefi set Main.Port.1 \"5\" \"\" \n"
                                                     "0 0 uefi set Main.Port.2 \"5\" \"\" \n"));
    EXPECT_EQ(dp_service::values_seal::version_of(pending), service.pending_version());
    std::istringstream lines(test::read_file(history));
    std::string texts;
    for (std::string line; std::getline(lines, line);) {
        const auto change = dp_service::change_record::parse(line);
        ASSERT_TRUE(change) << line;
        const auto by = change->requested_by();
        EXPECT_EQ(by.transaction, dp_service::change_record::by_service);
        EXPECT_EQ(by.id.size(), 16U);
        EXPECT_EQ(by.client, "uid=7,gid=8,pid=9,program=/x");
        texts += change->target + '=' + change->value.value_or("(none)") + '\n';
    }
    EXPECT_EQ(texts,
              "(BIOS)=updated to B2: kept 0 values, converted 3, lost 2\nSetup.Size=2\n"
              "A.Gone=(none)\nSetup.Mode=x\nMain.Port.1=5\nMain.Port.2=5\n");
}

TEST_F(settings_service_test, an_update_records_lost_values_before_very_many_converted_ones) {
    std::vector<template_info> own = before;
    std::vector<template_info> updated;
    constexpr std::size_t count = 2000;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = "Attribute" + std::to_string(i);
        own.push_back(test::choice("A", name, "x", "x,y"));
        updated.push_back(test::choice("New", name, "x", "x,y"));
    }
    test::write_file(bios, records(own));
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(updated);
    ASSERT_EQ(service.update().status, 0);
    const std::string lines = test::read_file(history);
    const auto lost = lines.find("   A.Gone   was \"old\"   because");
    const auto converted = lines.find("   New.Attribute0   \"x\"   was \"x\"   because");
    EXPECT_LT(lost, converted);
    EXPECT_LT(converted, lines.size());
    const auto listed = static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n')) - 2;
    // The lost ones are Mode, Size, Gone and two ports.
    EXPECT_TRUE(lines.ends_with("   (BIOS)   \"" + std::to_string(count + 5 - listed) +
                                " more of these values are not listed\"\n"))
        << lines.substr(lines.size() - 200);
}

TEST_F(settings_service_test, a_plan_refuses_what_an_update_refuses) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(service.plan_update().status, dp_service::service_status::not_supported);
    prepare_update({test::choice("A", "X.Y", "", "")});
    EXPECT_EQ(service.plan_update().reason, "attribute 1 (A.X.Y): its name has a dot");
}

TEST_F(settings_service_test, values_follow_their_attributes_into_a_template_that_was_replaced) {
    {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        run(service, "0 1 t set A.Mode \"y\" \"\"\n0 1 t set A.Port.2 \"9\" \"\"\n");
    }
    test::write_file(
        bios,
        records({test::choice("Setup", "Mode", "z", "y,z"),
                 test::with_instances(test::number("M", "Port", "6", 0, 10, 1), 1, 2),
                 test::text("M", "Gone", "", 0, 0, ""), test::text("N", "Gone", "", 0, 0, "")}));
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(test::read_file(pending),
              test::sealed("0 0 uefi set Setup.Mode \"y\" \"\" \n"
                           "0 0 uefi set M.Port.1 \"5\" \"\" \n"
                           "0 0 uefi set M.Port.2 \"9\" \"\" \n"
                           "0 0 uefi set M.Gone \"\" \"\" \n0 0 uefi set N.Gone \"\" \"\" \n"));
}

TEST_F(settings_service_test, an_update_is_not_begun_while_another_process_locks_a_file) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(after);
    test::child_process reader([this](const test::child_process::parent_channel& parent) {
        const readlock lock(current);
        parent.send('L');
        return parent.receive() == 'E' ? 0 : 1;
    });
    ASSERT_EQ(reader.receive(), 'L');
    // The programs that are run end in real time, the waiting for the lock does not.
    test::stepped_time time;
    time.on_sleep = [](std::uint32_t ms) { usleep(ms == 5 ? 5000 : 0); };
    const auto refused = service.update();
    EXPECT_EQ(refused.status, dp_service::service_status::not_persisted);
    EXPECT_EQ(refused.reason, current + " is locked by process " + std::to_string(reader.pid()));
    EXPECT_EQ(test::read_file(bios), records(before));
    EXPECT_EQ(test::read_file(pending), all_defaults);
    EXPECT_EQ(test::read_file(vpd), "SERIAL=7\nUEFIID=B1\n");
    reader.send('E');
    EXPECT_EQ(reader.wait(), 0);
    EXPECT_EQ(service.update().status, 0);
}

TEST_F(settings_service_test, an_update_waits_for_all_its_locks_together_as_long_as_for_one) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(after);
    const auto hold_lock = [](const std::string& path) {
        return [path](const test::child_process::parent_channel& parent) {
            const readlock lock(path);
            parent.send('L');
            return parent.receive() == 'E' ? 0 : 1;
        };
    };
    test::child_process first(hold_lock(bios));
    test::child_process second(hold_lock(current));
    ASSERT_EQ(first.receive(), 'L');
    ASSERT_EQ(second.receive(), 'L');
    test::stepped_time time;
    std::uint32_t waited = 0;
    time.on_sleep = [&](std::uint32_t ms) {
        if (ms == 5) {  // for the end of a program, which takes real time
            usleep(5000);
            return;
        }
        waited += ms;
        if (waited == 6000) {
            first.send('E');
            EXPECT_EQ(first.wait(), 0);
        }
    };
    EXPECT_EQ(service.update().status, dp_service::service_status::not_persisted);
    EXPECT_EQ(waited, 10'000U);
    second.send('E');
    EXPECT_EQ(second.wait(), 0);
}

// An update that was decided, of which the first files are in place.
class settings_service_interrupted_update : public test::settings_service_fixture {
  protected:
    void SetUp() override {
        test::settings_service_fixture::SetUp();
        {
            dp_host::settings_service service;
            ASSERT_TRUE(service.start());
            run(service, "0 1 t set A.Mode \"y\" \"\"\n");
        }
        std::filesystem::remove(history);
        std::filesystem::create_directories(in_root("/var/dp/update"));
        ASSERT_TRUE(files.stage(bios, records(after)));
        ASSERT_TRUE(files.stage(pending, values));
        ASSERT_TRUE(files.stage(current, values));
        ASSERT_TRUE(files.stage(vpd, "SERIAL=7\nUEFIID=B2\n"));
    }

    void expect_all_in_place() const {
        EXPECT_EQ(test::read_file(bios), records(after));
        EXPECT_EQ(test::read_file(pending), values);
        EXPECT_EQ(test::read_file(current), values);
        EXPECT_EQ(test::read_file(vpd), "SERIAL=7\nUEFIID=B2\n");
        EXPECT_EQ(test::read_file(build_id), "B2\n");
        EXPECT_EQ(test::read_file(history), line);
        EXPECT_TRUE(std::filesystem::is_empty(in_root("/var/dp/update")));
    }

    const std::string values = test::sealed(
        "0 0 uefi set A.Mode \"y\" \"\" \n0 0 uefi set A.Size \"1\" \"\" \n"
        "0 0 uefi set B.New \"fresh\" \"\" \n0 0 uefi set A.Port.2 \"5\" \"\" \n"
        "0 0 uefi set B.Fan.1 \"7\" \"\" \n0 0 uefi set B.Fan.2 \"7\" \"\" \n");
    const std::string line = "<dp_settingsd> now   (BIOS)   \"updated\"\n";
    const dp_host::update_files files{in_root("/var/dp/update"), {bios, pending, current, vpd}};
};

TEST_F(settings_service_interrupted_update, is_completed_at_the_start_whatever_is_in_place) {
    ASSERT_TRUE(files.commit("2\n" + line));
    for (const auto& placed : {std::string(), bios, pending, current, vpd}) {
        if (!placed.empty()) {
            // The start before this one completed everything; now only this one is in place.
            for (const auto& [target, text] :
                 {std::pair(bios, records(after)), std::pair(pending, values),
                  std::pair(current, values),
                  std::pair(vpd, std::string("SERIAL=7\nUEFIID=B2\n"))}) {
                if (target != placed) {
                    ASSERT_TRUE(files.stage(target, text));
                    test::write_file(target, "the old file");
                }
            }
            ASSERT_TRUE(files.commit("2\n" + line));
        }
        dp_host::settings_service service;
        const auto started = service.start();
        ASSERT_TRUE(started) << started.reason();
        expect_all_in_place();
    }
}

TEST_F(settings_service_interrupted_update, also_removes_the_registry_that_it_does_not_have) {
    const std::string registry = in_root("/var/dp/uefi_registry.json");
    const dp_host::update_files with_registry{in_root("/var/dp/update"), {registry}};
    test::write_file(registry, "the old one");
    ASSERT_TRUE(with_registry.stage_removal(registry));
    ASSERT_TRUE(files.commit("2\n" + line));
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    expect_all_in_place();
    EXPECT_FALSE(fileexist(registry));
}

TEST_F(settings_service_interrupted_update, was_never_begun_without_its_marker) {
    const std::string text = test::read_file(pending);
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(test::read_file(bios), records(before));
    EXPECT_EQ(test::read_file(pending), text);
    EXPECT_EQ(test::read_file(vpd), "SERIAL=7\nUEFIID=B1\n");
    EXPECT_TRUE(std::filesystem::is_empty(in_root("/var/dp/update")));
    EXPECT_FALSE(fileexist(history));
}

TEST_F(settings_service_test, no_change_is_written_before_a_decided_update_is_in_place) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(after);
    // A folder cannot be replaced by a file.
    ASSERT_EQ(unlink(vpd.c_str()), 0);
    std::filesystem::remove(current);
    std::filesystem::create_directory(current);
    EXPECT_EQ(service.update().status, dp_service::service_status::not_persisted);
    EXPECT_EQ(test::read_file(bios), records(after));
    EXPECT_EQ(run(service, "0 1 t set B.New \"n\" \"\"\n"), "56 1 t set B.New \"n\" \"\" \n");
    std::filesystem::remove(current);
    EXPECT_EQ(run(service, "0 1 t set B.New \"n\" \"\"\n"), "0 1 t set B.New \"n\" \"n\" \n");
    EXPECT_TRUE(fileexist(current));
    EXPECT_EQ(test::read_file(vpd), "UEFIID=B2\n");
    EXPECT_NE(test::read_file(pending).find("B.New \"n\""), std::string::npos);
}

TEST_F(settings_service_test, an_update_determines_read_only_values_where_it_can) {
    const auto read_only_texts = [](const char* version, const char* serial) {
        return std::vector<template_info>{
            test::with_flags(test::text("A", "Version", version, 0, 0, ""),
                             dp_service::template_flags::read_only),
            test::with_flags(test::text("A", "Serial", serial, 0, 0, ""),
                             dp_service::template_flags::read_only)};
    };
    test::write_file(bios, records(read_only_texts("1.0", "")));
    test::write_file(pending, "0 0 t set A.Version \"1.0\" \"\"\n0 0 t set A.Serial \"S7\" \"\"\n");
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(read_only_texts("2.0", ""));
    ASSERT_EQ(service.update().status, 0);
    EXPECT_EQ(test::read_file(pending), test::sealed("0 0 uefi set A.Version \"2.0\" \"\" \n"
                                                     "0 0 uefi set A.Serial \"S7\" \"\" \n"));
}

TEST_F(settings_service_test, an_update_can_be_run_again) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(after);
    ASSERT_EQ(service.update().status, 0);
    const std::string once = test::read_file(pending);
    prepare_update(after);
    ASSERT_EQ(service.update().status, 0);
    EXPECT_EQ(test::read_file(pending), once);
}

TEST_F(settings_service_test, an_update_with_unusable_parts_changes_nothing) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(service.update().status, dp_service::service_status::not_supported);

    prepare_update({test::choice("A", "X.Y", "", "")});
    EXPECT_EQ(service.update().reason, "attribute 1 (A.X.Y): its name has a dot");
    prepare_update(after);
    test::write_file(in_root("/var/dp/update/build_id"), "\n");
    EXPECT_EQ(service.update().reason,
              in_root("/var/dp/update/build_id") + " contains no build id");
    test::write_file(in_root("/var/dp/update/build_id"), "B\t2\n");
    EXPECT_EQ(service.update().status, dp_service::service_status::malformed_line);
    std::filesystem::remove(in_root("/var/dp/update/build_id"));
    EXPECT_EQ(service.update().status, dp_service::service_status::malformed_line);
    prepare_update(after);
    test::write_script(in_root("/bin/dpspy"), "exit 1");
    EXPECT_EQ(service.update().reason, in_root("/bin/dpspy") + " failed with exit code 1");

    EXPECT_EQ(test::read_file(bios), records(before));
    EXPECT_EQ(test::read_file(pending), all_defaults);
    EXPECT_EQ(test::read_file(vpd), "SERIAL=7\nUEFIID=B1\n");
    EXPECT_EQ(run(service, "0 1 t get A.Gone \"\" \"\"\n"), "0 1 t get A.Gone \"\" \"old\" \n");
}

// A registry with the attributes of `after`, and what is to be kept of it.
const char* const registry_of_after = R"({"RegistryEntries":{"Attributes":[
{"AttributeName":"Mode","Type":"String"},{"AttributeName":"Size","Type":"Integer"},
{"AttributeName":"New","Type":"String"},{"AttributeName":"Port","Type":"Integer"},
{"AttributeName":"Fan","Type":"Integer","Colour":"red"}]}})";

TEST_F(settings_service_test, an_update_replaces_the_registry) {
    test::write_file(in_root("/var/dp/uefi_registry.json"), "the old one");
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(after);
    test::write_file(in_root("/var/dp/update/uefi_registry.json"), registry_of_after);
    EXPECT_EQ(service.plan_update().status, 0);
    EXPECT_EQ(test::read_file(in_root("/var/dp/uefi_registry.json")), "the old one");
    const auto updated = service.update();
    EXPECT_EQ(updated.status, 0) << updated.reason;
    EXPECT_EQ(test::read_file(in_root("/var/dp/uefi_registry.json")), registry_of_after);
    EXPECT_TRUE(std::filesystem::is_empty(in_root("/var/dp/update")));
}

TEST_F(settings_service_test, an_update_without_a_registry_removes_the_old_one) {
    test::write_file(in_root("/var/dp/uefi_registry.json"), "the old one");
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(after);
    ASSERT_EQ(service.update().status, 0);
    EXPECT_FALSE(fileexist(in_root("/var/dp/uefi_registry.json")));
    EXPECT_TRUE(std::filesystem::is_empty(in_root("/var/dp/update")));
}

TEST_F(settings_service_test, an_update_with_the_registry_of_another_template_is_refused) {
    test::write_file(in_root("/var/dp/uefi_registry.json"), "the old one");
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    const std::string path = in_root("/var/dp/update/uefi_registry.json");
    for (const auto& [text, reason] :
         {std::pair("{", path + ": is not JSON at byte 1"),
          std::pair("{}", path + ": /RegistryEntries: is not an object"),
          std::pair(R"({"RegistryEntries":{"Attributes":[]}})",
                    path + ": it is the registry of another template")}) {
        prepare_update(after);
        test::write_file(path, text);
        for (const auto& refused : {service.plan_update(), service.update()}) {
            EXPECT_EQ(refused.status, dp_service::service_status::malformed_line);
            EXPECT_EQ(refused.reason.substr(0, reason.size()), reason);
        }
    }
    EXPECT_EQ(test::read_file(bios), records(before));
    EXPECT_EQ(test::read_file(in_root("/var/dp/uefi_registry.json")), "the old one");
}

TEST_F(settings_service_test, an_update_folder_that_is_a_symlink_is_refused) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    prepare_update(after);
    std::filesystem::rename(in_root("/var/dp/update"), in_root("/var/elsewhere"));
    std::filesystem::create_directory_symlink(in_root("/var/elsewhere"), in_root("/var/dp/update"));
    EXPECT_EQ(service.update().reason, in_root("/var/dp/update") + " is a symlink");
}

TEST_F(settings_service_test, a_start_completes_an_update_that_was_interrupted_after_its_template) {
    {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        run(service, "0 1 t set A.Mode \"y\" \"\"\n");
    }
    test::write_file(bios, records(after));  // the update was interrupted here
    prepare_update(after);
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(run(service, "0 1 t get A.Mode \"\" \"\"\n"), "0 1 t get A.Mode \"\" \"y\" \n");
    ASSERT_EQ(service.update().status, 0);
    EXPECT_EQ(test::read_file(vpd), "SERIAL=7\nUEFIID=B2\n");
    EXPECT_NE(test::read_file(pending).find("A.Mode \"y\""), std::string::npos);
}

TEST_F(settings_service_test, huge_files_cost_nothing_to_refuse) {
    const off_t huge = off_t{3} << 30U;
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    const auto make_huge = [&](const std::string& path) {
        test::write_file(path, "");
        ASSERT_EQ(truncate(path.c_str(), huge), 0);
    };
    const std::clock_t begin = std::clock();
    prepare_update(after);
    make_huge(in_root("/var/dp/update/uefi_template.efi"));
    EXPECT_EQ(service.update().status, dp_service::service_status::malformed_line);
    prepare_update(after);
    make_huge(in_root("/var/dp/update/build_id"));
    EXPECT_EQ(service.update().status, dp_service::service_status::malformed_line);
    prepare_update(after);
    make_huge(vpd);
    EXPECT_EQ(service.update().status, dp_service::service_status::not_persisted);
    test::write_file(vpd, "UEFIID=B1\n");
    make_huge(history);
    run(service, "0 1 t set A.Mode \"z\" \"\"\n");
    EXPECT_LT(std::filesystem::file_size(history), 1000U);
    make_huge(journal);
    make_huge(pending);
    make_huge(current);
    dp_host::settings_service again;
    EXPECT_TRUE(again.start());
    EXPECT_NE(test::read_file(pending).find("A.Mode"), std::string::npos);
    EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC);
}

// The bytes that this process has written so far, to files and elsewhere; -1 when the kernel does
// not count them.
std::int64_t bytes_written() {
    std::ifstream io("/proc/self/io");
    std::string key;
    std::int64_t value = 0;
    while (io >> key >> value) {
        if (key == "wchar:") {
            return value;
        }
    }
    return -1;
}

TEST_F(settings_service_test, a_change_writes_the_values_once_and_its_lines_twice) {
    if (bytes_written() < 0) {
        GTEST_SKIP() << "the kernel does not count written bytes";
    }
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    for (const char* const value : {"y", "z", "x"}) {
        std::filesystem::remove(history);
        dp::batch_file_entry entry;
        entry.status = entry.detail = "0";
        entry.tid = "<t>";
        entry.operation = "set";
        entry.name.parse("A.Mode");
        entry.value_in = value;
        std::vector<dp::transaction_command> commands{{&service.registrar(), entry}};
        dp_host::batch_transaction transaction(commands);
        const std::int64_t begin = bytes_written();
        transaction.queue(service.registrar());
        service.registrar().run_queued();
        const auto written = static_cast<std::uintmax_t>(bytes_written() - begin);
        ASSERT_EQ(commands.front().status, 0);
        // The journal's first line has at most 74 bytes: two lengths and two hashes.
        EXPECT_LE(written, std::filesystem::file_size(pending) +
                               2 * std::filesystem::file_size(history) + 74);
        EXPECT_GT(written, std::filesystem::file_size(pending));
    }
}

TEST_F(settings_service_test, kept_files_are_bounded_whatever_happens_to_the_values) {
    for (int round = 0; round < 6; ++round) {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        run(service,
            round % 2 == 0 ? "0 1 t set A.Mode \"y\" \"\"\n" : "0 1 t set A.Mode \"z\" \"\"\n");
        ASSERT_EQ(service.restart().status, 0);
        for (const auto& path : {pending, current}) {
            std::filesystem::remove(path);
            test::write_file(path, "damaged");
        }
    }
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(in_root("/var/dp"))) {
        count += entry.path().filename().string().starts_with("uefi_settings.txt") ? 1U : 0U;
    }
    EXPECT_EQ(count, 5U);  // the file, its backup, and three damaged ones
}

TEST_F(settings_service_test, a_clock_that_jumps_loses_nothing_and_reorders_no_history) {
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    const char* const values[] = {"y", "z", "x", "y"};
    const std::time_t clocks[] = {1'700'000'000, 0, 4'000'000'000, 86'400};
    for (std::size_t i = 0; i < 4; ++i) {
        const test::stepped_time time(clocks[i]);
        run(service, std::string("0 1 t set A.Mode \"") + values[i] + "\" \"\"\n");
    }
    std::istringstream lines(test::read_file(history));
    std::string order;
    std::string years;
    for (std::string line; std::getline(lines, line);) {
        const auto change = dp_service::change_record::parse(line);
        ASSERT_TRUE(change) << line;
        order += *change->value;
        years += change->time.substr(0, 5);
    }
    EXPECT_EQ(order, "yzxy");
    EXPECT_EQ(years, "2023-1970-2096-1970-");
}

TEST_F(settings_service_test, the_times_of_its_files_do_not_matter) {
    {
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        run(service, "0 1 t set A.Mode \"y\" \"\"\n");
        run(service, "0 1 t set A.Mode \"z\" \"\"\n");
    }
    const std::string text = test::read_file(pending);
    const std::string changes = test::read_file(history);
    for (const std::time_t when : {std::time_t{0}, std::time_t{4'000'000'000}}) {
        for (const auto& path : {pending, pending + ".backup", current, history, bios, vpd}) {
            test::set_mtime(path, when);
        }
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        EXPECT_EQ(test::read_file(pending), text);
        EXPECT_EQ(test::read_file(history), changes);
        EXPECT_EQ(run(service, "0 1 t get A.Mode \"\" \"\"\n"), "0 1 t get A.Mode \"\" \"z\" \n");
    }
    // The damaged file is newer than its backup, or older.
    for (const std::time_t when : {std::time_t{0}, std::time_t{4'000'000'000}}) {
        std::filesystem::remove(pending);
        test::write_file(pending, text.substr(0, text.size() / 2));
        test::set_mtime(pending, when);
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        EXPECT_NE(test::read_file(pending).find("A.Mode \"y\""), std::string::npos);
    }
}

TEST_F(settings_service_test, continues_the_files_of_a_version_without_seals) {
    const std::string lines =
        "0 0 uefi set A.Mode \"y\" \"\" \n0 0 uefi set A.Size \"9\" \"\" \n"
        "0 0 uefi set A.Gone \"a \\\"b\\\" \\\\\" \"\" \n";
    const std::string earlier = "<cim-0> Tue Nov 14 22:13:20 2023   A.Mode   \"y\"\n";
    const std::string last = "<cim-1> Tue Nov 14 22:13:58 2023   A.Size   \"9\"\n";
    test::write_file(pending, lines);
    test::write_file(current, lines);
    test::write_file(history, earlier);
    // Length and hash of the values, and of the lines that were not appended yet.
    const dp_host::history_journal left(journal, in_root("/var/dp/no_values_yet"), 1000);
    left.write(pending, last);
    dp_host::settings_service service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(test::read_file(history), earlier + last);
    EXPECT_EQ(run(service, "0 1 <c> get A.Gone \"\" \"\"\n0 2 <c> set A.Size \"8\" \"\"\n"),
              "0 1 <c> get A.Gone \"\" \"a \\\"b\\\" \\\\\" \n"
              "0 2 <c> set A.Size \"8\" \"8\" \n");
    EXPECT_TRUE(test::read_file(history).starts_with(earlier + last + "<c,id="))
        << test::read_file(history);
    EXPECT_EQ(test::read_file(pending + ".backup"), lines);
    EXPECT_EQ(test::read_file(current), lines);
}

}  // namespace
