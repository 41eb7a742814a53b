#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>

#include "common/file_locks.hpp"
#include "common/file_utilities.hpp"
#include "host/settings_service.hpp"
#include "service_api/change_record.hpp"
#include "service_api/values_seal.hpp"
#include "tests/support/child_process.hpp"
#include "tests/unit/host/settings_service_fixture.hpp"

namespace {

class settings_service_recovery : public test::settings_service_fixture {
  protected:
    // Leaves a server whose Mode was set to y, then restarted, then set to z: the pending value is
    // z, its backup and the current value are y, and the backup of the current value is x.
    void SetUp() override {
        test::settings_service_fixture::SetUp();
        dp_host::settings_service service;
        ASSERT_TRUE(service.start());
        run(service, "0 1 t set A.Mode \"y\" \"\"\n");
        ASSERT_EQ(service.restart().status, 0);
        run(service, "0 1 t set A.Mode \"z\" \"\"\n");
        std::filesystem::remove(history);
    }

    static std::string mode_in(const std::string& path) {
        const std::string text = test::read_file(path);
        const std::size_t at = text.find("A.Mode \"");
        return at == std::string::npos ? "none" : text.substr(at + 8, 1);
    }

    // Starts the service, and returns the pending and the current value of Mode.
    std::string modes_after_start() {
        dp_host::settings_service service;
        const auto started = service.start();
        EXPECT_TRUE(started) << started.reason();
        EXPECT_EQ(dp_service::values_seal::version_of(pending), service.pending_version());
        EXPECT_NE(dp_service::values_seal::examine(test::read_file(current)).found,
                  dp_service::values_seal::completeness::damaged);
        return mode_in(pending) + mode_in(current);
    }

    static void damage(const std::string& path) {
        const std::string text = test::read_file(path);
        std::filesystem::remove(path);
        test::write_file(path, text.substr(0, text.size() / 2));
    }

    [[nodiscard]] std::string history_texts() const {
        std::istringstream lines(test::read_file(history));
        std::string texts;
        for (std::string line; std::getline(lines, line);) {
            const auto event = dp_service::change_record::parse(line);
            EXPECT_TRUE(event) << line;
            texts += event ? event->who + ' ' + event->target + ' ' + *event->value + '\n' : "";
        }
        return texts;
    }

    std::string backup = pending + ".backup";
};

TEST_F(settings_service_recovery, without_damage_nothing_is_recorded) {
    EXPECT_EQ(mode_in(backup) + mode_in(current + ".backup"), "yx");
    EXPECT_EQ(modes_after_start(), "zy");
    EXPECT_FALSE(fileexist(history));
    EXPECT_FALSE(fileexist(pending + ".damaged-1"));
}

TEST_F(settings_service_recovery, every_cut_of_the_pending_values_is_replaced_by_the_backup) {
    const std::string whole = test::read_file(pending);
    const std::string kept = test::read_file(backup);
    for (std::size_t size = 0; size + 1 < whole.size(); size += 7) {
        std::filesystem::remove(pending);
        std::filesystem::remove(backup);
        test::write_file(pending, whole.substr(0, size));
        test::write_file(backup, kept);
        ASSERT_EQ(modes_after_start(), "yy") << size;
        ASSERT_EQ(test::read_file(pending + ".damaged-1"), whole.substr(0, size));
    }
    EXPECT_FALSE(fileexist(pending + ".damaged-4"));
}

TEST_F(settings_service_recovery, is_logged_and_recorded_once) {
    damage(pending);
    test::recording_log log(sysipc::event_log::log_level::error);
    EXPECT_EQ(modes_after_start(), "yy");
    const std::string text = pending + " is damaged: it was cut off; using its backup";
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_NE(log.lines.front().text.find(text), std::string::npos) << log.lines.front().text;
    EXPECT_EQ(history_texts(), "dp_settingsd (pending) " + text + '\n');
    EXPECT_EQ(modes_after_start(), "yy");
    EXPECT_EQ(history_texts(), "dp_settingsd (pending) " + text + '\n');
    EXPECT_FALSE(fileexist(journal));
}

TEST_F(settings_service_recovery, uses_current_values_when_the_backup_is_damaged_too) {
    damage(pending);
    damage(backup);
    EXPECT_EQ(modes_after_start(), "yy");
    EXPECT_NE(history_texts().find("; using the current values"), std::string::npos);
    EXPECT_TRUE(fileexist(pending + ".damaged-1"));
    EXPECT_TRUE(fileexist(pending + ".damaged-2"));
}

TEST_F(settings_service_recovery, uses_the_backup_of_the_current_values_next) {
    damage(pending);
    damage(backup);
    damage(current);
    EXPECT_EQ(modes_after_start(), "xx");
}

TEST_F(settings_service_recovery, uses_the_defaults_only_when_every_file_is_damaged) {
    for (const auto& path : {pending, backup, current, current + ".backup"}) {
        damage(path);
    }
    EXPECT_EQ(modes_after_start(), "xx");
    EXPECT_NE(history_texts().find("(pending) " + pending +
                                   " is damaged: it was cut off; using "
                                   "the defaults\n"),
              std::string::npos);
    EXPECT_NE(history_texts().find("(current) "), std::string::npos);
}

TEST_F(settings_service_recovery, damaged_current_values_are_replaced_by_their_backup) {
    damage(current);
    EXPECT_EQ(modes_after_start(), "zx");
    EXPECT_EQ(history_texts(), "dp_settingsd (current) " + current +
                                   " is damaged: it was cut off; using its backup\n");
    EXPECT_TRUE(fileexist(current + ".damaged-1"));
}

TEST_F(settings_service_recovery, lost_current_values_are_taken_from_the_pending_ones) {
    std::filesystem::remove(current);
    std::filesystem::remove(current + ".backup");
    EXPECT_EQ(modes_after_start(), "zz");
}

TEST_F(settings_service_recovery, a_missing_file_is_replaced_by_its_backup_and_recorded) {
    std::filesystem::remove(pending);
    EXPECT_EQ(modes_after_start(), "yy");
    EXPECT_EQ(history_texts(),
              "dp_settingsd (pending) " + pending + " is missing; using its backup\n");
}

TEST_F(settings_service_recovery, a_start_gives_up_when_another_process_keeps_a_file_locked) {
    // No template is expanded: its program would not end in stepped time.
    const std::string text = in_root("/tmp/dp/uefi_info.txt");
    std::filesystem::last_write_time(
        text, std::filesystem::last_write_time(text) + std::chrono::hours(1));
    for (const auto& path : {bios, pending, current}) {
        test::child_process writer([&path](const test::child_process::parent_channel& parent) {
            const writelock lock(path);
            parent.send('L');
            return parent.receive() == 'E' ? 0 : 1;
        });
        ASSERT_EQ(writer.receive(), 'L');
        test::stepped_time time;
        dp_host::settings_service service;
        const auto started = service.start();
        EXPECT_EQ(started.code(), EBUSY);
        EXPECT_EQ(started.reason(), path + " is locked by process " + std::to_string(writer.pid()));
        writer.send('E');
        EXPECT_EQ(writer.wait(), 0);
    }
    EXPECT_EQ(modes_after_start(), "zy");
    EXPECT_FALSE(fileexist(history));
}

TEST_F(settings_service_recovery, a_file_of_an_earlier_version_is_used_without_a_seal) {
    for (const auto& path : {pending, current}) {
        std::string text = test::read_file(path);
        text = text.substr(text.find('\n') + 1);
        text.resize(text.rfind('\n', text.size() - 2) + 1);
        std::filesystem::remove(path);
        test::write_file(path, text);
    }
    EXPECT_EQ(modes_after_start(), "zy");
    EXPECT_FALSE(fileexist(history));
}

}  // namespace
