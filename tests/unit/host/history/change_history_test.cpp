#include "host/history/change_history.hpp"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "common/file_utilities.hpp"
#include "service_api/change_record.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/host/sample_service.hpp"

namespace {

class change_history_test : public test::sample_service {
  protected:
    void SetUp() override { test::clean_root(); }

    std::string path = test::root() + "/var/dp/history";

    void append(const dp_host::change_history& history,
                std::vector<dp::transaction_command> commands) {
        changes.clear();
        run(commands);
        history.append(history.lines_of("test-1", changes));
    }

    /// The lines of the file, with "T" for the times.
    std::string content() const {
        std::istringstream in(test::read_file(path));
        std::string text;
        for (std::string line; std::getline(in, line);) {
            auto record = dp_service::change_record::parse(line);
            if (record) {
                record->time = "T";
                line = record->line();
            }
            text += line + '\n';
        }
        return text;
    }
};

const std::string mode_line = "<test-1> T   Boot.Mode   \"Legacy\"   was \"UEFI\"\n";

TEST_F(change_history_test, has_a_line_for_every_change_of_every_transaction) {
    const dp_host::change_history history(path);
    append(history, {command("set", "Boot.Mode", "Legacy"), command("get", "Boot.Mode"),
                     command("set", "Boot.Label", "a \"b\" \\")});
    append(history, {command("set", "Boot.Mode", "CSM"), command("delete", "Ports.Speed.2")});
    EXPECT_EQ(content(), mode_line +
                             "<test-1> T   Boot.Label   \"a \\\"b\\\" \\\\\"   was \"disk\"\n"
                             "<test-1> T   Ports.Speed.2   was \"10\"\n");
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(info.st_mode & 07777, 0640U & ~mask);
}

TEST_F(change_history_test, is_not_created_when_nothing_changed) {
    const dp_host::change_history history(path);
    append(history, {command("get", "Boot.Mode"), command("set", "Boot.Mode", "UEFI"),
                     command("set", "Boot.Mode", "CSM")});
    append(history, {});
    EXPECT_FALSE(fileexist(path));
}

TEST_F(change_history_test, an_incomplete_last_line_is_removed) {
    for (const char* incomplete :
         {"<t> Tue No", "x", "<test-1> Tue Nov  4 22:13:20 2023   A.B   \"x\""}) {
        test::write_file(path, std::string("whole\n") + incomplete);
        append(dp_host::change_history(path), {command("set", "Boot.Mode", "Legacy")});
        EXPECT_EQ(content(), "whole\n" + mode_line);
        test::write_file(path, incomplete);
        append(dp_host::change_history(path), {command("set", "Boot.Mode", "UEFI")});
        EXPECT_EQ(content(), "<test-1> T   Boot.Mode   \"UEFI\"   was \"Legacy\"\n");
    }
}

TEST_F(change_history_test, has_the_cause_of_a_change) {
    const dp_host::change_history history(path);
    history.append(history.lines_of("t", {{"Boot.Delay", "5", "10", "Mode is Legacy"}}));
    EXPECT_EQ(content(), "<t> T   Boot.Delay   \"10\"   was \"5\"   because \"Mode is Legacy\"\n");
}

std::string dropped_line(int count) {
    return "<dp_settingsd> T   (history)   \"" + std::to_string(count) +
           " older records were dropped\"\n";
}

TEST_F(change_history_test, keeps_the_newest_lines_and_says_how_many_were_dropped) {
    constexpr std::size_t limit = 2000;
    const dp_host::change_history history(path, limit);
    std::size_t longest = 0;
    int first = 1;
    int prunings = 0;
    for (int i = 1; i <= 120; ++i) {
        append(history, {command("set", "Boot.Label", std::to_string(i))});
        const std::size_t size = test::read_file(path).size();
        ASSERT_LE(size, limit);
        const std::string now = content();
        const int kept =
            static_cast<int>(std::count(now.begin(), now.end(), '\n')) - (first > 1 ? 1 : 0);
        if (kept < i - first + 1) {
            ++prunings;
            EXPECT_LE(size, limit / 4 * 3);
            EXPECT_GT(size, limit / 2);
            first = i - kept + (first > 1 ? 1 : 2);
        }
        std::string expected = first > 1 ? dropped_line(first - 1) : "";
        for (int j = first; j <= i; ++j) {
            expected += "<test-1> T   Boot.Label   \"" + std::to_string(j) + "\"   was \"" +
                        (j == 1 ? "disk" : std::to_string(j - 1)) + "\"\n";
        }
        ASSERT_EQ(now, expected) << i;
        longest = std::max(longest, size);
    }
    EXPECT_GT(prunings, 3);
    EXPECT_GT(longest, limit - 120);
    EXPECT_FALSE(fileexist(path + ".new"));
}

TEST_F(change_history_test, keeps_the_newest_of_more_changes_than_fit) {
    std::vector<dp::transaction_command> commands;
    for (int i = 1; i <= 100; ++i) {
        commands.push_back(command("set", "Ports.Speed.1", std::to_string(1000 - i)));
    }
    test::write_file(path, "old\n");
    const std::string line =
        "<test-1> 2023-11-04T22:13:20+01:00   Ports.Speed.1   \"900\"   was \"901\"\n";
    append(dp_host::change_history(path, line.size() * 6), commands);
    const std::string text = content();
    // Lines that were never written count too, those of changes that no file can have do not.
    EXPECT_THAT(text, testing::MatchesRegex(
                          "<dp_settingsd> T   .history.   \"[0-9]+ older records were dropped\"\n"
                          "<test-1> T   Ports.Speed.1   \"902\"   was \"903\"\n"
                          "<test-1> T   Ports.Speed.1   \"901\"   was \"902\"\n"
                          "<test-1> T   Ports.Speed.1   \"900\"   was \"901\"\n"));
}

std::string numbered_lines(int count) {
    std::string lines;
    for (int i = 1; i <= count; ++i) {
        lines += "<t> line " + std::to_string(i) + '\n';
    }
    return lines;
}

TEST_F(change_history_test, complete_continues_an_append_that_was_interrupted_anywhere) {
    const std::string lines = numbered_lines(12);
    const dp_host::change_history history(path);
    for (const std::string before : {"", "earlier\n", "<t> line 1\nearlier\n"}) {
        for (std::size_t size = 0; size <= lines.size(); ++size) {
            test::write_file(path, before + lines.substr(0, size));
            history.complete(lines);
            ASSERT_EQ(test::read_file(path), before + lines) << size;
        }
    }
    ASSERT_EQ(unlink(path.c_str()), 0);
    history.complete(lines);
    EXPECT_EQ(test::read_file(path), lines);
}

TEST_F(change_history_test, complete_ignores_equal_lines_that_are_not_the_last) {
    const dp_host::change_history history(path);
    test::write_file(path, "<t> line 1\n<t> line 2\nlater\n");
    history.complete("<t> line 1\n<t> line 2\n");
    EXPECT_EQ(test::read_file(path), "<t> line 1\n<t> line 2\nlater\n<t> line 1\n<t> line 2\n");
}

TEST_F(change_history_test, complete_without_lines_creates_no_file) {
    dp_host::change_history(path).complete("");
    EXPECT_FALSE(fileexist(path));
}

TEST_F(change_history_test, complete_adds_nothing_after_an_append_that_dropped_the_oldest_lines) {
    const dp_host::change_history history(path, 300);
    for (int count = 1; count <= 60; ++count) {
        for (const std::string before : {"", "earlier\n", "much earlier lines\n"}) {
            const std::string lines = numbered_lines(count);
            test::write_file(path, before);
            history.append(lines);
            const std::string once = test::read_file(path);
            ASSERT_TRUE(once.ends_with("<t> line " + std::to_string(count) + '\n'));
            history.complete(lines);
            ASSERT_EQ(test::read_file(path), once);
        }
    }
}

TEST_F(change_history_test, complete_appends_to_a_file_of_garbage) {
    const std::string lines = numbered_lines(3);
    const dp_host::change_history history(path, 1000);
    for (const std::string& garbage :
         {std::string(100'000, 'x'), std::string(999, '\0'), std::string(5000, '\n')}) {
        test::write_file(path, garbage);
        history.complete(lines);
        const std::string text = test::read_file(path);
        EXPECT_LE(text.size(), garbage.size() + lines.size());
        // The first line may be dropped as the end of a line of garbage.
        EXPECT_TRUE(text.ends_with("<t> line 2\n<t> line 3\n"));
    }
}

TEST_F(change_history_test, a_file_of_garbage_is_replaced_when_it_is_too_large) {
    test::write_file(path, std::string(100'000, 'x'));
    const dp_host::change_history history(path, 1000);
    for (int i = 1; i <= 50; ++i) {
        append(history, {command("set", "Ports.Speed.1", std::to_string(i))});
    }
    const std::string text = test::read_file(path);
    EXPECT_LE(text.size(), 1000U);
    EXPECT_EQ(text.find('x'), std::string::npos);
    EXPECT_TRUE(text.ends_with("   Ports.Speed.1   \"50\"   was \"49\"\n"));
}

TEST_F(change_history_test, what_is_not_a_regular_file_is_unchanged_and_logged) {
    const std::string precious = test::root() + "/precious";
    test::write_file(precious, "precious\n");
    std::filesystem::create_symlink(precious, path);
    test::recording_log log(sysipc::event_log::log_level::error);
    append(dp_host::change_history(path), {command("set", "Boot.Mode", "Legacy")});
    EXPECT_EQ(test::read_file(precious), "precious\n");
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_NE(
        log.lines[0].text.find("changes are missing from the history: " + path + " is a symlink"),
        std::string::npos);
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    append(dp_host::change_history(path), {command("set", "Boot.Mode", "UEFI")});
    ASSERT_EQ(unlink(path.c_str()), 0);
    std::filesystem::create_directory(path);
    append(dp_host::change_history(path), {command("set", "Boot.Mode", "Legacy")});
    EXPECT_EQ(log.lines.size(), 3U);
    EXPECT_EQ(value_of("Boot.Mode"), "Legacy");
}

TEST_F(change_history_test, a_full_disk_leaves_complete_lines) {
    std::string before;
    while (before.size() < 4000) {
        before += "a line of an earlier time\n";
    }
    test::write_file(path, before);
    std::vector<dp::transaction_command> commands;
    for (int i = 1; i <= 10; ++i) {
        commands.push_back(command("set", "Ports.Speed.1", std::to_string(i)));
    }
    test::recording_log log(sysipc::event_log::log_level::error);
    // A limit on file sizes simulates the full disk.
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    append(dp_host::change_history(path), commands);
    append(dp_host::change_history(path, 4050), {command("delete", "Ports.Speed.1")});
    const std::string after = test::read_file(path);
    setrlimit(RLIMIT_FSIZE, &usual);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(log.lines.size(), 1U);
    const std::size_t second = after.find('\n') + 1;
    EXPECT_NE(after.substr(0, second).find("older records were dropped"), std::string::npos);
    EXPECT_TRUE(after.substr(second).starts_with("a line")) << after.substr(0, 200);
    EXPECT_TRUE(after.ends_with("   Ports.Speed.1   was \"10\"\n")) << after;
    EXPECT_EQ(after.find("was", second), after.rfind("was")) << after;
}

}  // namespace
