#include "bios/uefi_build_id.hpp"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bios/cim_helper.hpp"
#include "common/file_locks.hpp"
#include "common/log.hpp"
#include "tests/unit/bios/bios_service.hpp"

namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::StartsWith;
using line = test::recording_log::line;

class uefi_build_id : public test::bios_service {
  protected:
    void report_id(const std::string& id) {
        test::write_script(sysvpd, "printf '%s\\n' \"$*\" >> " + calls_file + "\necho " + id);
    }

    std::vector<std::string> temporary_files() {
        std::vector<std::string> names;
        for (const auto& file : std::filesystem::directory_iterator(test::root() + "/tmp")) {
            if (file.is_regular_file()) {
                names.push_back(file.path().filename());
            }
        }
        return names;
    }

    const std::string calls_file = test::root() + "/calls";
};

TEST_F(uefi_build_id, first_update_creates_the_file_and_the_second_changes_nothing) {
    report_id("ABC123");
    EXPECT_EQ(update_uefi_build_id_file(), 1);
    EXPECT_EQ(test::read_file(build_id_file), "ABC123\n");
    EXPECT_EQ(update_uefi_build_id_file(), 0);
    EXPECT_EQ(test::read_file(calls_file), "-g UEFIID\n-g UEFIID\n");
}

TEST_F(uefi_build_id, class_operation_does_the_same) {
    report_id("ABC123");
    EXPECT_EQ(dp::cim_helper::update_uefi_build_id_file(), 1);
    EXPECT_EQ(update_uefi_build_id_file(), 0);
}

TEST_F(uefi_build_id, different_id_replaces_the_file) {
    report_id("A-LONGER-ID");
    update_uefi_build_id_file();
    report_id("B");
    EXPECT_EQ(update_uefi_build_id_file(), 1);
    EXPECT_EQ(test::read_file(build_id_file), "B\n");
}

TEST_F(uefi_build_id, same_id_does_not_touch_the_file) {
    write_aged(build_id_file, "A\n", 1000);
    report_id("A");
    EXPECT_EQ(update_uefi_build_id_file(), 0);
    EXPECT_EQ(std::filesystem::last_write_time(build_id_file),
              std::filesystem::file_time_type(std::chrono::file_clock::from_sys(
                  std::chrono::sys_seconds(std::chrono::seconds(time.now() - 1000)))));
}

TEST_F(uefi_build_id, temporary_file_is_removed) {
    report_id("A");
    update_uefi_build_id_file();
    EXPECT_THAT(temporary_files(), IsEmpty());
    report_id("A; rm " + test::root() + "/tmp/uefiinfo_*");
    test::recording_log log(0xFFFFFFFF);
    update_uefi_build_id_file();
    EXPECT_THAT(log.lines, IsEmpty()) << "a file that is already removed is not a failure";
}

TEST_F(uefi_build_id, temporary_file_that_cannot_be_removed_is_logged) {
    // The tool replaces its output file by a folder that is not empty.
    test::write_script(
        sysvpd, "for f in " + test::root() + "/tmp/uefiinfo_*; do rm $f; mkdir -p $f/inside; done");
    test::recording_log log(dp::log_level::trace_4);
    update_uefi_build_id_file();
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].level, "LOG");
    EXPECT_THAT(log.lines[0].text, StartsWith(" remove " + test::root() + "/tmp/uefiinfo_"));
    EXPECT_THAT(log.lines[0].text,
                testing::EndsWith(" failed, errno= " + std::to_string(ENOTEMPTY)));
}

TEST_F(uefi_build_id, failed_run_is_logged_and_its_output_used) {
    test::write_script(sysvpd, "echo partial; exit 3");
    test::recording_log log(dp::log_level::error);
    EXPECT_EQ(update_uefi_build_id_file(), 1);
    EXPECT_EQ(test::read_file(build_id_file), "partial\n");
    EXPECT_EQ(log.lines, (std::vector<line>{{"ERR", " ***ERROR*** Failed running sysvpd"}}));
    test::recording_log silent(~dp::log_level::error);
    EXPECT_EQ(update_uefi_build_id_file(), 0);
    EXPECT_THAT(silent.lines, IsEmpty());
}

TEST_F(uefi_build_id, empty_id_of_a_missing_tool_replaces_a_valid_id) {
    write_aged(build_id_file, "GOOD\n", 100);
    test::recording_log log(dp::log_level::error);
    EXPECT_EQ(update_uefi_build_id_file(), 1);
    EXPECT_EQ(test::read_file(build_id_file), "");
    EXPECT_THAT(log.lines, Contains(line{"ERR", " ***ERROR*** Failed running sysvpd"}));
    EXPECT_EQ(update_uefi_build_id_file(), 0) << "two empty files are identical";
}

TEST_F(uefi_build_id, update_without_a_folder_for_temporary_files_clears_the_id) {
    // In a folder that the library does not use, so that only the exchange folder remains.
    write_aged(build_id_file, "GOOD\n", 100);
    report_id("NEW");
    const std::string tmp = test::root() + "/tmp";
    std::filesystem::rename(tmp, tmp + ".away");
    test::recording_log log(dp::log_level::error);
    EXPECT_EQ(update_uefi_build_id_file(), 1);
    EXPECT_THAT(log.lines, Contains(line{"ERR", " ***ERROR*** Failed running sysvpd"}));
    std::filesystem::rename(tmp + ".away", tmp);
    EXPECT_EQ(test::read_file(build_id_file), "GOOD\n") << "the folder could not be used";
}

TEST_F(uefi_build_id, update_needs_no_service_and_is_detected_by_a_service) {
    write_aged(configs_file, "Main\n", 50);
    report_id("ONE");
    ASSERT_EQ(update_uefi_build_id_file(), 1);
    test::set_mtime(build_id_file, time.now() - 10);
    ASSERT_EQ(dp_api_initialize(), 0);
    EXPECT_EQ(dp_bios_need_reinit("Main"), 0);
    time.advance(60);
    report_id("TWO");
    ASSERT_EQ(update_uefi_build_id_file(), 1);
    EXPECT_EQ(dp_bios_need_reinit("Main"), 6);
    EXPECT_EQ(dp_bios_need_reinit("Main"), 0);
    dp_api_uninitialize();
    dp_api_initialize();
    EXPECT_EQ(dp_bios_need_reinit("Main"), 0);
}

TEST_F(uefi_build_id, update_waits_for_a_reader) {
    write_aged(build_id_file, "old\n", 100);
    report_id("new");
    test::child_process reader([&](const test::child_process::parent_channel& parent) {
        const readlock lock(build_id_file);
        parent.send('r');
        test::pause_for_a_waiter();
        return test::read_file(build_id_file) == "old\n" ? 0 : 1;
    });
    EXPECT_EQ(reader.receive(), 'r');
    EXPECT_EQ(update_uefi_build_id_file(), 1);
    EXPECT_EQ(reader.wait(), 0);
    EXPECT_EQ(test::read_file(build_id_file), "new\n");
}

}  // namespace
