#include "host/history/history_note.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "common/file_utilities.hpp"
#include "tests/support/test_platform.hpp"

namespace {

class history_note_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        test::write_file(values, "old\n");
        test::write_file(staged, "new\n");
    }

    void put_in_place() const { ASSERT_EQ(rename(staged.c_str(), values.c_str()), 0); }

    static constexpr std::size_t limit = 1000;
    const std::string path = test::root() + "/var/dp/note";
    const std::string values = test::root() + "/var/dp/values";
    const std::string staged = values + ".new";
    const std::string lines = "<t> one\n<t> two\n";
    const dp_host::history_note note{path, values, limit};
    test::recording_log log{sysipc::event_log::log_level::log |
                            sysipc::event_log::log_level::error};
};

TEST_F(history_note_test, its_lines_are_in_force_when_the_values_took_their_place) {
    note.write(staged, lines);
    put_in_place();
    EXPECT_EQ(note.lines_in_force(), lines);
    EXPECT_EQ(note.lines_in_force(), lines);  // as often as one asks
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600U);
    EXPECT_FALSE(fileexist(path + ".new"));
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(history_note_test, its_first_line_tells_values_and_lines_by_length_and_hash) {
    test::write_file(staged, "a");
    note.write(staged, "foobar");
    EXPECT_EQ(test::read_file(path), "1 af63dc4c8601ec8c 6 85944171f73967e8\nfoobar");
}

TEST_F(history_note_test, its_lines_are_not_in_force_when_the_values_did_not_take_their_place) {
    note.write(staged, lines);
    EXPECT_EQ(note.lines_in_force(), "");
    test::write_file(values, "neu\n");  // as long as the new ones
    EXPECT_EQ(note.lines_in_force(), "");
    ASSERT_EQ(unlink(values.c_str()), 0);
    EXPECT_EQ(note.lines_in_force(), "");
    ASSERT_EQ(log.lines.size(), 3U);
    EXPECT_EQ(log.lines[0].level, "LOG");
    EXPECT_EQ(log.lines[2], log.lines[0]);
}

TEST_F(history_note_test, it_is_not_made_of_values_that_stay_as_they_are) {
    test::write_file(staged, "old\n");
    note.write(staged, lines);
    EXPECT_FALSE(fileexist(path));
}

TEST_F(history_note_test, a_newer_one_takes_its_place) {
    note.write(staged, lines);
    test::write_file(staged, "newer\n");
    note.write(staged, "<t> three\n");
    put_in_place();
    EXPECT_EQ(note.lines_in_force(), "<t> three\n");
}

TEST_F(history_note_test, the_first_values_ever_have_one_too) {
    ASSERT_EQ(unlink(values.c_str()), 0);
    note.write(staged, lines);
    put_in_place();
    EXPECT_EQ(note.lines_in_force(), lines);
}

TEST_F(history_note_test, without_one_there_are_no_lines_and_nothing_is_told) {
    EXPECT_EQ(note.lines_in_force(), "");
    note.remove();
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(history_note_test, once_removed_it_is_gone) {
    note.write(staged, lines);
    put_in_place();
    note.remove();
    EXPECT_FALSE(fileexist(path));
    EXPECT_EQ(note.lines_in_force(), "");
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(history_note_test, garbage_has_no_lines_and_is_told) {
    note.write(staged, lines);
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
        EXPECT_EQ(note.lines_in_force(), "") << text;
        ASSERT_EQ(log.lines.size(), 1U) << text;
        EXPECT_EQ(log.lines[0].level, "ERR");
        EXPECT_NE(log.lines[0].text.find("dropped what should be changes for the history: " + path),
                  std::string::npos);
    }
    note.remove();
    EXPECT_FALSE(fileexist(path));
}

TEST_F(history_note_test, one_longer_than_its_limit_is_garbage) {
    const auto lines_of = [](std::size_t size) { return std::string(size - 1, 'x') + '\n'; };
    note.write(staged, lines_of(limit));
    std::filesystem::copy(staged, values, std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(note.lines_in_force(), "");
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_NE(log.lines[0].text.find("is longer than 1000 bytes"), std::string::npos);
    test::write_file(values, "old\n");
    note.write(staged, lines_of(limit - 100));
    put_in_place();
    EXPECT_EQ(note.lines_in_force(), lines_of(limit - 100));
}

TEST_F(history_note_test, what_is_no_file_of_ours_has_no_lines_and_can_be_removed) {
    note.write(staged, lines);
    put_in_place();
    const std::string real = path + ".real";
    ASSERT_EQ(rename(path.c_str(), real.c_str()), 0);
    std::filesystem::create_symlink(real, path);
    EXPECT_EQ(note.lines_in_force(), "");
    note.remove();
    EXPECT_TRUE(fileexist(real));
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(note.lines_in_force(), "");
    note.remove();
    std::filesystem::create_directories(path + "/full");
    EXPECT_EQ(note.lines_in_force(), "");
    note.remove();
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(path)));
    ASSERT_EQ(log.lines.size(), 3U);
    EXPECT_NE(log.lines[0].text.find(path + " is a link"), std::string::npos);
    EXPECT_NE(log.lines[1].text.find(path + " is not a regular file"), std::string::npos);
}

TEST_F(history_note_test, one_that_cannot_be_made_is_told) {
    std::filesystem::create_directories(path + "/full");
    note.write(staged, lines);
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].level, "ERR");
    EXPECT_NE(log.lines[0].text.find("a kill would lose lines of the history: cannot replace"),
              std::string::npos);
}

}  // namespace
