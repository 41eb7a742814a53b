#include "host/history/history_journal.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "common/file_utilities.hpp"
#include "tests/support/test_platform.hpp"

namespace {

class history_journal_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        test::write_file(values, "old\n");
        test::write_file(staged, "new\n");
    }

    void put_in_place() const { ASSERT_EQ(rename(staged.c_str(), values.c_str()), 0); }

    static constexpr std::size_t limit = 1000;
    const std::string path = test::root() + "/var/dp/journal";
    const std::string values = test::root() + "/var/dp/values";
    const std::string staged = values + ".new";
    const std::string lines = "<t> one\n<t> two\n";
    const dp_host::history_journal journal{path, values, limit};
    test::recording_log log{sysipc::event_log::log_level::log |
                            sysipc::event_log::log_level::error};
};

TEST_F(history_journal_test, its_lines_are_replayed_when_its_values_are_in_place) {
    journal.write(staged, lines);
    put_in_place();
    EXPECT_EQ(journal.lines_to_replay(), lines);
    EXPECT_EQ(journal.lines_to_replay(), lines);  // again
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(info.st_mode & 07777, 0640U & ~mask);
    EXPECT_FALSE(fileexist(path + ".new"));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(history_journal_test, its_first_line_has_length_and_hash_of_values_and_lines) {
    test::write_file(staged, "a");
    journal.write(staged, "foobar");
    EXPECT_EQ(test::read_file(path), "1 af63dc4c8601ec8c 6 85944171f73967e8\nfoobar");
}

TEST_F(history_journal_test, its_lines_are_dropped_when_its_values_are_not_in_place) {
    journal.write(staged, lines);
    EXPECT_EQ(journal.lines_to_replay(), "");
    test::write_file(values, "neu\n");  // of the same length
    EXPECT_EQ(journal.lines_to_replay(), "");
    ASSERT_EQ(unlink(values.c_str()), 0);
    EXPECT_EQ(journal.lines_to_replay(), "");
    ASSERT_EQ(log.lines.size(), 3U);
    EXPECT_EQ(log.lines[0].level, "LOG");
    EXPECT_EQ(log.lines[2], log.lines[0]);
}

TEST_F(history_journal_test, is_not_written_for_values_that_do_not_change) {
    test::write_file(staged, "old\n");
    journal.write(staged, lines);
    EXPECT_FALSE(fileexist(path));
}

TEST_F(history_journal_test, is_replaced_by_the_next_journal) {
    journal.write(staged, lines);
    test::write_file(staged, "newer\n");
    journal.write(staged, "<t> three\n");
    put_in_place();
    EXPECT_EQ(journal.lines_to_replay(), "<t> three\n");
}

TEST_F(history_journal_test, is_written_for_the_first_values_too) {
    ASSERT_EQ(unlink(values.c_str()), 0);
    journal.write(staged, lines);
    put_in_place();
    EXPECT_EQ(journal.lines_to_replay(), lines);
}

TEST_F(history_journal_test, a_missing_journal_has_no_lines_and_is_not_logged) {
    EXPECT_EQ(journal.lines_to_replay(), "");
    journal.remove();
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(history_journal_test, remove_removes_it) {
    journal.write(staged, lines);
    put_in_place();
    journal.remove();
    EXPECT_FALSE(fileexist(path));
    EXPECT_EQ(journal.lines_to_replay(), "");
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(history_journal_test, an_invalid_journal_has_no_lines_and_is_logged) {
    journal.write(staged, lines);
    put_in_place();
    const std::string whole = test::read_file(path);
    std::vector<std::string> garbage{std::string(5000, '\0'), "\n\n\n", whole + lines,
                                     whole + std::string(limit, 'x'),
                                     "99999999999999999999 0 99999999999999999999 0\nx\n"};
    for (std::size_t size = 0; size < whole.size(); ++size) {
        garbage.push_back(whole.substr(0, size));
    }
    for (std::size_t i = whole.find('\n'); i < whole.size(); ++i) {
        garbage.push_back(whole);
        garbage.back()[i] ^= 1;
    }
    for (const std::string& text : garbage) {
        test::write_file(path, text);
        log.lines.clear();
        EXPECT_EQ(journal.lines_to_replay(), "") << text;
        ASSERT_EQ(log.lines.size(), 1U) << text;
        EXPECT_EQ(log.lines[0].level, "ERR");
        EXPECT_NE(log.lines[0].text.find("dropped the history's journal: " + path),
                  std::string::npos);
    }
    journal.remove();
    EXPECT_FALSE(fileexist(path));
}

TEST_F(history_journal_test, a_journal_beyond_the_limit_is_invalid) {
    const auto lines_of = [](std::size_t size) { return std::string(size - 1, 'x') + '\n'; };
    journal.write(staged, lines_of(limit));
    std::filesystem::copy(staged, values, std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(journal.lines_to_replay(), "");
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_NE(log.lines[0].text.find("is longer than 1000 bytes"), std::string::npos);
    test::write_file(values, "old\n");
    journal.write(staged, lines_of(limit - 100));
    put_in_place();
    EXPECT_EQ(journal.lines_to_replay(), lines_of(limit - 100));
}

TEST_F(history_journal_test, what_is_not_a_regular_file_has_no_lines_and_can_be_removed) {
    journal.write(staged, lines);
    put_in_place();
    const std::string real = path + ".real";
    ASSERT_EQ(rename(path.c_str(), real.c_str()), 0);
    std::filesystem::create_symlink(real, path);
    EXPECT_EQ(journal.lines_to_replay(), "");
    journal.remove();
    EXPECT_TRUE(fileexist(real));
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(journal.lines_to_replay(), "");
    journal.remove();
    std::filesystem::create_directories(path + "/full");
    EXPECT_EQ(journal.lines_to_replay(), "");
    journal.remove();
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(path)));
    ASSERT_EQ(log.lines.size(), 3U);
    EXPECT_NE(log.lines[0].text.find(path + " is a symlink"), std::string::npos);
    EXPECT_NE(log.lines[1].text.find(path + " is not a regular file"), std::string::npos);
}

TEST_F(history_journal_test, a_failure_to_write_it_is_logged) {
    std::filesystem::create_directories(path + "/full");
    journal.write(staged, lines);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].level, "ERR");
    EXPECT_NE(log.lines[0].text.find(
                  "no journal, so a kill may lose lines of the history: cannot replace"),
              std::string::npos);
}

}  // namespace
