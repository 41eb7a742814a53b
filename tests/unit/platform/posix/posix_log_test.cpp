#include "platform/posix/posix_log.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <regex>
#include <sstream>

#include "platform/sysipc/application_log.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/intercepted_call.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/unit/platform/allocations.hpp"
#include "tests/unit/platform/support.hpp"

namespace {

using test::program_result;
using test::run;
using test::scratch_folder;

const std::string writer = LOG_WRITER;

std::vector<std::string> lines_of(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(posix_log, is_absent_by_default) {
    const program_result result = run({writer, "ERR", " text"}, {});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "no log\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(run({writer}, {{"DP_LOG", "none"}}).out, "no log\n");
    EXPECT_EQ(run({writer}, {{"DP_LOG", ""}}).out, "no log\n");
}

TEST(posix_log, writes_time_process_level_and_text_to_stderr) {
    const program_result result =
        run({writer, "LOG", " first", "ERR", " ***ERROR*** second"}, {{"DP_LOG", "stderr"}});
    EXPECT_EQ(result.out, "mask 90000000 file 1 level 6\n");
    const auto lines = lines_of(result.err);
    ASSERT_EQ(lines.size(), 2U);
    const std::regex form(
        R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d)\.\d{3}Z platform_log_wr\w*\[\d+\] (.*))");
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(lines[0], parts, form)) << lines[0];
    EXPECT_EQ(parts[2], "LOG first");
    std::tm time{};
    ASSERT_NE(strptime(parts[1].str().c_str(), "%Y-%m-%dT%H:%M:%S", &time), nullptr);
    EXPECT_NEAR(static_cast<double>(timegm(&time)), static_cast<double>(std::time(nullptr)), 60.0);
    ASSERT_TRUE(std::regex_match(lines[1], parts, form)) << lines[1];
    EXPECT_EQ(parts[2], "ERR ***ERROR*** second");
}

TEST(posix_log, appends_to_a_file_that_only_owner_and_group_may_read) {
    const scratch_folder folder;
    const std::string path = folder.path("log");
    EXPECT_EQ(run({writer, "LOG", " one"}, {{"DP_LOG", "file:" + path}}).out,
              "mask 90000000 file 2 level 6\n");
    EXPECT_EQ(run({writer, "LOG", " two"}, {{"DP_LOG", "file:" + path}}).err, "");
    const auto lines = lines_of(test::read_file(path));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].ends_with("] LOG one")) << lines[0];
    EXPECT_TRUE(lines[1].ends_with("] LOG two")) << lines[1];
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U & ~0640U, 0U);
}

TEST(posix_log, never_takes_a_standard_descriptor_for_the_file) {
    const scratch_folder folder;
    const std::string path = folder.path("log");
    // What the program prints must not get into the log, nor end in a bad descriptor of the log.
    run({"/bin/sh", "-c", "exec \"$0\" LOG ' line' 0<&- 1>&- 2>&-", writer},
        {{"DP_LOG", "file:" + path}});
    const auto lines = lines_of(test::read_file(path));
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].ends_with("] LOG line")) << lines[0];
}

TEST(posix_log, leaves_closed_standard_descriptors_closed) {
    const scratch_folder folder;
    for (const char* name : {"DP_LOG", "DP_LOG_MASK", "DP_LOG_TAG"}) {
        unsetenv(name);
    }
    for (unsigned closed = 0; closed < 8; ++closed) {
        const std::string path = folder.path("log" + std::to_string(closed));
        test::child_process process([&](const test::child_process::parent_channel& /*parent*/) {
            const auto is_closed = [&](int descriptor) { return (closed >> descriptor & 1U) != 0; };
            for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                if (is_closed(descriptor)) {
                    close(descriptor);
                }
            }
            if (!dp_platform::configure_log({.sink = "file:" + path, .tag = "t"})) {
                return 1;
            }
            sysipc::application_log::app_streams->append("LOG", " line");
            for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
                if ((fcntl(descriptor, F_GETFD) == -1) != is_closed(descriptor)) {
                    return 2;
                }
            }
            return 0;
        });
        EXPECT_EQ(process.wait(), 0) << closed;
        EXPECT_EQ(lines_of(test::read_file(path)).size(), 1U) << closed;
    }
}

TEST(posix_log, takes_mask_and_tag_from_the_environment) {
    program_result result =
        run({writer, "LOG", " text"},
            {{"DP_LOG", "stderr"}, {"DP_LOG_MASK", "0xf0000007"}, {"DP_LOG_TAG", "me"}});
    EXPECT_EQ(result.out, "mask f0000007 file 1 level 7\n");
    EXPECT_NE(result.err.find("Z me["), std::string::npos) << result.err;
    result = run({writer}, {{"DP_LOG", "stderr"}, {"DP_LOG_MASK", "0X80000000"}});
    EXPECT_EQ(result.out, "mask 80000000 file 1 level 6\n");
    result = run({writer}, {{"DP_LOG", "stderr"}, {"DP_LOG_MASK", "268435456"}});
    EXPECT_EQ(result.out, "mask 10000000 file 1 level 3\n");
    result = run({writer}, {{"DP_LOG", "stderr"}, {"DP_LOG_MASK", "0"}});
    EXPECT_EQ(result.out, "mask 00000000 file 1 level 8\n");
}

TEST(posix_log, keeps_the_default_mask_when_the_variable_is_not_a_32_bit_number) {
    for (const char* mask : {"all", "0x", "12 ", "-1", "0x100000000", "4294967296"}) {
        const program_result result = run({writer}, {{"DP_LOG", "stderr"}, {"DP_LOG_MASK", mask}});
        EXPECT_EQ(result.out, "mask 90000000 file 1 level 6\n") << mask;
        EXPECT_EQ(lines_of(result.err).size(), 1U) << result.err;
        EXPECT_NE(result.err.find("DP_LOG_MASK"), std::string::npos);
    }
}

TEST(posix_log, reports_a_file_that_cannot_be_opened) {
    const scratch_folder folder;
    for (const std::string& path : {folder.path("missing/log"), folder.path(), std::string()}) {
        const program_result result = run({writer, "ERR", " text"}, {{"DP_LOG", "file:" + path}});
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_EQ(result.out, "no log\n");
        EXPECT_EQ(lines_of(result.err).size(), 1U) << result.err;
        EXPECT_NE(result.err.find("log file"), std::string::npos);
    }
}

TEST(posix_log, reports_an_unknown_sink) {
    const program_result result = run({writer, "ERR", " text"}, {{"DP_LOG", "printer"}});
    EXPECT_EQ(result.out, "no log\n");
    EXPECT_EQ(lines_of(result.err).size(), 1U) << result.err;
    EXPECT_NE(result.err.find("\"printer\""), std::string::npos);
}

TEST(posix_log, escapes_control_bytes_in_the_text) {
    const program_result result = run({writer, "LOG",
                                       " a\nb\r\tc\x1b[2J\x7f caf\xc3\xa9 \xc2\x9b"
                                       "31m \xc2\xa7 \xc2\x1f \x95"},
                                      {{"DP_LOG", "stderr"}});
    const auto lines = lines_of(result.err);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].ends_with(
        "LOG a\\x0ab\\x0d\\x09c\\x1b[2J\\x7f caf\xc3\xa9 \xc2\\x9b31m \xc2\xa7 \xc2\\x1f \x95"))
        << lines[0];
}

TEST(posix_log, escapes_exactly_the_control_characters_of_utf_8) {
    const program_result result =
        run({writer, "LOG", " \xc2\x80 \xc2\x9f \xc2\xa0 \xc3\x80 \x1f ~"}, {{"DP_LOG", "stderr"}});
    EXPECT_TRUE(result.err.ends_with("LOG \xc2\\x80 \xc2\\x9f \xc2\xa0 \xc3\x80 \\x1f ~\n"))
        << result.err;
}

TEST(posix_log, escapes_control_bytes_in_level_and_tag) {
    const program_result result =
        run({writer, "L\nG", " text"}, {{"DP_LOG", "stderr"}, {"DP_LOG_TAG", "a\nb"}});
    const auto lines = lines_of(result.err);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("a\\x0ab["), std::string::npos);
    EXPECT_TRUE(lines[0].ends_with("] L\\x0aG text"));
}

TEST(posix_log, does_not_mix_the_lines_of_several_processes) {
    const scratch_folder folder;
    const std::string path = folder.path("log");
    setenv("DP_LOG", ("file:" + path).c_str(), 1);
    std::vector<pid_t> children;
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        const std::string text = " " + std::string(3000, letter);
        const pid_t child = fork();
        if (child == 0) {
            const int null = open("/dev/null", O_WRONLY);
            dup2(null, STDOUT_FILENO);
            execl(writer.c_str(), writer.c_str(), "--repeat", "200", "LOG", text.c_str(), nullptr);
            _exit(127);
        }
        children.push_back(child);
    }
    unsetenv("DP_LOG");
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0);
    }
    const auto lines = lines_of(test::read_file(path));
    EXPECT_EQ(lines.size(), 800U);
    for (const auto& line : lines) {
        ASSERT_GT(line.size(), 3000U);
        const std::string text = line.substr(line.size() - 3000);
        ASSERT_EQ(text.find_first_not_of(text[0]), std::string::npos);
        ASSERT_TRUE(line.substr(0, line.size() - 3000).ends_with("] LOG ")) << line.substr(0, 100);
    }
}

TEST(posix_log, drops_lines_instead_of_waiting_for_a_full_pipe) {
    const scratch_folder folder;
    const std::string path = folder.path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    const program_result result =
        run({writer, "--repeat", "5000", "LOG", " " + std::string(100, 'x')},
            {{"DP_LOG", "file:" + path}});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "mask 90000000 file 2 level 6\n");
    close(reader);
}

TEST(posix_log, is_absent_for_a_pipe_without_a_reader) {
    const scratch_folder folder;
    const std::string path = folder.path("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(run({writer}, {{"DP_LOG", "file:" + path}}).out, "no log\n");
}

TEST(posix_log, writes_to_the_system_log) {
    const program_result result =
        run({writer, "ERR", " text %s %n", "LOG", " text", "DBG", " text"}, {{"DP_LOG", "syslog"}});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "mask 90000000 file 3 level 6\n");
    EXPECT_EQ(result.err, "");
}

TEST(configure_log, uses_the_defaults_of_the_program) {
    const program_result result =
        run({writer, "--defaults", "stderr", "0x10000000", "ERR", " text"}, {});
    EXPECT_EQ(result.out, "configured 1\nmask 10000000 file 1 level 3\n");
    EXPECT_EQ(lines_of(result.err).size(), 1U);
}

TEST(configure_log, prefers_the_environment_to_the_defaults) {
    EXPECT_EQ(run({writer, "--defaults", "stderr", "1"}, {{"DP_LOG", "none"}}).out,
              "configured 1\nno log\n");
    EXPECT_EQ(run({writer, "--defaults", "none", "1"},
                  {{"DP_LOG", "stderr"}, {"DP_LOG_MASK", "0x80000000"}})
                  .out,
              "configured 1\nmask 80000000 file 1 level 6\n");
}

TEST(configure_log, reports_a_sink_that_cannot_be_opened) {
    EXPECT_EQ(run({writer, "--defaults", "file:/nonexistent/log", "1"}, {}).out,
              "configured 0\nno log\n");
}

/// The log of this process, without settings from the environment.
class own_posix_log : public testing::Test {
  protected:
    own_posix_log() {
        for (const char* name : {"DP_LOG", "DP_LOG_MASK", "DP_LOG_TAG"}) {
            unsetenv(name);
        }
    }
    ~own_posix_log() override { dp_platform::configure_log({}); }

    [[nodiscard]] bool open_file() const {
        return dp_platform::configure_log({.sink = "file:" + folder.path("log"), .tag = "me"});
    }
    static void append(const std::string& text) {
        sysipc::application_log::app_streams->append("LOG", text);
    }
    [[nodiscard]] std::vector<std::string> logged() const {
        return lines_of(test::read_file(folder.path("log")));
    }

    const scratch_folder folder;
};

TEST_F(own_posix_log, has_lines_without_a_time_when_the_clock_has_none) {
    ASSERT_TRUE(open_file());
    {
        const test::intercepted_call no_clock(test::libc_call::clock_gettime, EINVAL);
        append(" one");
    }
    {
        // In a year that has no number.
        const test::stopped_clocks stopped({std::time_t{1} << 60U, 0});
        append(" two");
    }
    const auto lines = logged();
    ASSERT_EQ(lines.size(), 2U);
    const std::string begin = "- me[" + std::to_string(getpid()) + "] LOG ";
    EXPECT_EQ(lines[0], begin + "one");
    EXPECT_EQ(lines[1], begin + "two");
}

TEST_F(own_posix_log, drops_a_line_for_which_there_is_no_memory_and_keeps_errno) {
    ASSERT_TRUE(open_file());
    const std::string text = " " + std::string(10'000, 'x');
    errno = EXDEV;
    {
        const test::allocation_watch watch(5'000);
        append(text);
    }
    EXPECT_EQ(errno, EXDEV);
    append(" short");
    ASSERT_EQ(logged().size(), 1U);
    EXPECT_TRUE(logged()[0].ends_with("] LOG short"));
}

TEST_F(own_posix_log, may_change_from_the_system_log_to_a_file) {
    ASSERT_TRUE(dp_platform::configure_log({.sink = "syslog", .tag = "me"}));
    EXPECT_EQ(sysipc::application_log::app_streams->file(), 3);
    ASSERT_TRUE(open_file());
    EXPECT_EQ(sysipc::application_log::app_streams->file(), 2);
    append(" text");
    EXPECT_EQ(logged().size(), 1U);
}

using configure_log_test = own_posix_log;

TEST_F(configure_log_test, replaces_the_sink_of_the_running_process_and_keeps_errno) {
    ASSERT_TRUE(dp_platform::configure_log({.sink = "file:" + folder.path("a"), .tag = "first"}));
    errno = EXDEV;
    sysipc::application_log::app_streams->append("LOG", " one");
    EXPECT_EQ(errno, EXDEV);
    ASSERT_TRUE(dp_platform::configure_log({.sink = "file:" + folder.path("b"), .tag = "second"}));
    sysipc::application_log::app_streams->append("LOG", " two");
    ASSERT_TRUE(dp_platform::configure_log({}));
    EXPECT_EQ(sysipc::application_log::app_streams, nullptr);
    EXPECT_NE(
        test::read_file(folder.path("a")).find("first[" + std::to_string(getpid()) + "] LOG one\n"),
        std::string::npos);
    EXPECT_NE(test::read_file(folder.path("b"))
                  .find("second[" + std::to_string(getpid()) + "] LOG two\n"),
              std::string::npos);
}

}  // namespace
