#include "common/file_utilities.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "common/log.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/coverage_counts.hpp"
#include "tests/support/open_descriptors.hpp"
#include "tests/support/process.hpp"
#include "tests/support/test_platform.hpp"

namespace fs = std::filesystem;
using test::recording_log;
using test::write_file;

namespace {

using namespace std::string_literals;
using lines = std::vector<recording_log::line>;

class in_folder : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        fs::create_directory(folder);
    }

    [[nodiscard]] std::string path(const std::string& name) const { return folder + "/" + name; }

    const std::string folder = test::root() + "/folder";
};

// Sets the process's file creation mask for a scope.
class creation_mask {
  public:
    explicit creation_mask(mode_t mask) : previous_(umask(mask)) {}
    ~creation_mask() { umask(previous_); }
    creation_mask(const creation_mask&) = delete;
    creation_mask& operator=(const creation_mask&) = delete;
    static mode_t now() {
        const mode_t mask = umask(0);
        umask(mask);
        return mask;
    }

  private:
    mode_t previous_;
};

mode_t mode_of(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777U : 0;
}

std::string bytes(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>(i * 131 + i / 256);
    }
    return text;
}

// A sparse file, which takes no space on the disk.
void write_sparse(const std::string& path, const std::string& head, std::int64_t size) {
    write_file(path, head);
    fs::resize_file(path, static_cast<std::uintmax_t>(size));
}

}  // namespace

using dirname_and_basename = testing::Test;

TEST_F(dirname_and_basename, split_at_the_last_separator) {
    EXPECT_EQ(dirname("/a/b"), "/a");
    EXPECT_EQ(basename(std::string("/a/b")), "b");
    EXPECT_EQ(dirname("/a"), "");
    EXPECT_EQ(basename(std::string("/a")), "a");
    EXPECT_EQ(dirname("/a/"), "/a");
    EXPECT_EQ(basename(std::string("/a/")), "");
    EXPECT_EQ(dirname("/"), "");
    EXPECT_EQ(basename(std::string("/")), "");
    EXPECT_EQ(dirname("a//b"), "a/");
}

TEST_F(dirname_and_basename, give_a_plain_name_back) {
    EXPECT_EQ(dirname("file"), "file");
    EXPECT_EQ(basename(std::string("file")), "file");
    EXPECT_EQ(dirname(""), "");
    EXPECT_EQ(basename(std::string()), "");
}

TEST_F(dirname_and_basename, count_a_backslash_as_a_separator) {
    EXPECT_EQ(dirname("a\\b"), "a");
    EXPECT_EQ(basename("a\\b"s), "b");
    EXPECT_EQ(dirname("/a\\b/c"), "/a\\b");
    EXPECT_EQ(basename("/a/b\\c"s), "c");
}

using istrmlength_test = in_folder;

TEST_F(istrmlength_test, is_the_file_size_and_leaves_the_position) {
    write_file(path("f"), "0123456789");
    std::ifstream in(path("f"), std::ios::binary);
    in.seekg(4);
    EXPECT_EQ(istrmlength(in), 10);
    EXPECT_EQ(in.tellg(), 4);
    EXPECT_EQ(in.get(), '4');
}

TEST_F(istrmlength_test, is_0_for_an_empty_file) {
    write_file(path("f"), "");
    std::ifstream in(path("f"), std::ios::binary);
    EXPECT_EQ(istrmlength(in), 0);
    EXPECT_TRUE(in.good());
}

TEST_F(istrmlength_test, is_at_most_the_greatest_int) {
    write_sparse(path("f"), "", 5'000'000'000);
    std::ifstream in(path("f"), std::ios::binary);
    EXPECT_EQ(istrmlength(in), INT_MAX);
}

TEST_F(istrmlength_test, is_negative_when_the_stream_is_not_open) {
    std::ifstream in(path("missing"), std::ios::binary);
    EXPECT_EQ(istrmlength(in), -1);
}

using mtime_test = in_folder;

TEST_F(mtime_test, is_in_seconds_since_the_epoch) {
    write_file(path("f"), "x");
    test::set_mtime(path("f"), 1'234'567'890);
    EXPECT_EQ(mtime(path("f")), 1'234'567'890);
}

TEST_F(mtime_test, is_0_when_the_file_cannot_be_examined) {
    EXPECT_EQ(mtime(path("missing")), 0);
    EXPECT_EQ(mtime(""), 0);
    EXPECT_EQ(mtime(std::string(10'000, 'x')), 0);
    fs::create_symlink("missing", path("dangling"));
    EXPECT_EQ(mtime(path("dangling")), 0);
}

TEST_F(mtime_test, follows_symlinks) {
    write_file(path("f"), "x");
    test::set_mtime(path("f"), 1000);
    fs::create_symlink("f", path("link"));
    EXPECT_EQ(mtime(path("link")), 1000);
}

TEST_F(mtime_test, wraps_around_at_32_bits) {
    write_file(path("f"), "x");
    const std::int64_t late = 0x80000005LL;
    test::set_mtime(path("f"), static_cast<time_t>(late));
    struct stat info {};
    ASSERT_EQ(stat(path("f").c_str(), &info), 0);
    if (info.st_mtime != late) {
        GTEST_SKIP() << "this file system has no times past 2038";
    }
    EXPECT_EQ(mtime(path("f")), INT_MIN + 5);
}

using file_times = in_folder;

TEST_F(file_times, compare_strictly_for_older_and_otherwise_newer) {
    write_file(path("old"), "");
    write_file(path("new"), "");
    write_file(path("same"), "");
    test::set_mtime(path("old"), 1000);
    test::set_mtime(path("new"), 1001);
    test::set_mtime(path("same"), 1001);
    EXPECT_TRUE(file_older_than(path("old"), path("new")));
    EXPECT_FALSE(file_older_than(path("new"), path("old")));
    EXPECT_FALSE(file_older_than(path("new"), path("same")));
    EXPECT_TRUE(file_newer_than(path("new"), path("old")));
    EXPECT_FALSE(file_newer_than(path("old"), path("new")));
    EXPECT_TRUE(file_newer_than(path("new"), path("same")));
    EXPECT_TRUE(file_newer_than(path("same"), path("same")));
}

TEST_F(file_times, compare_whole_times_past_2038) {
    write_file(path("before"), "");
    write_file(path("after"), "");
    write_file(path("later"), "");
    test::set_mtime(path("before"), 0x7FFFFFFF);
    test::set_mtime(path("after"), static_cast<time_t>(0x80000000LL));
    test::set_mtime(path("later"), static_cast<time_t>(0x80000001LL));
    struct stat info {};
    ASSERT_EQ(stat(path("after").c_str(), &info), 0);
    if (info.st_mtime != 0x80000000LL) {
        GTEST_SKIP() << "this file system has no times past 2038";
    }
    EXPECT_TRUE(file_older_than(path("before"), path("after")));
    EXPECT_TRUE(file_newer_than(path("after"), path("before")));
    EXPECT_FALSE(file_newer_than(path("before"), path("after")));
    EXPECT_TRUE(file_older_than(path("after"), path("later")));
    EXPECT_TRUE(file_older_than(path("missing"), path("after")));
    EXPECT_FALSE(file_newer_than(path("missing"), path("after")));
}

TEST_F(file_times, count_a_missing_file_as_the_oldest) {
    write_file(path("f"), "");
    EXPECT_TRUE(file_older_than(path("missing"), path("f")));
    EXPECT_TRUE(file_newer_than(path("f"), path("missing")));
    EXPECT_TRUE(file_newer_than(path("missing"), path("missing too")));
    EXPECT_FALSE(file_older_than(path("missing"), path("missing too")));
}

using touch_test = in_folder;

TEST_F(touch_test, creates_a_missing_file) {
    EXPECT_EQ(touch(path("f").c_str()), 0);
    EXPECT_TRUE(fs::exists(path("f")));
    EXPECT_EQ(fs::file_size(path("f")), 0U);
}

TEST_F(touch_test, leaves_contents_and_time_of_an_existing_file) {
    write_file(path("f"), "content");
    test::set_mtime(path("f"), 1000);
    EXPECT_EQ(touch(path("f").c_str()), 0);
    EXPECT_EQ(test::read_file(path("f")), "content");
    EXPECT_EQ(mtime(path("f")), 1000);
}

TEST_F(touch_test, returns_0_even_when_it_fails) {
    EXPECT_EQ(touch(path("missing/f").c_str()), 0);
    EXPECT_EQ(touch(folder.c_str()), 0);
    EXPECT_EQ(touch(""), 0);
}

using fileexist_test = in_folder;

TEST_F(fileexist_test, is_true_for_a_file_that_can_be_read) {
    write_file(path("f"), "");
    EXPECT_TRUE(fileexist(path("f")));
    fs::create_symlink("f", path("link"));
    EXPECT_TRUE(fileexist(path("link")));
}

TEST_F(fileexist_test, is_false_for_a_missing_file) {
    EXPECT_FALSE(fileexist(path("missing")));
    EXPECT_FALSE(fileexist(""));
    fs::create_symlink("missing", path("dangling"));
    EXPECT_FALSE(fileexist(path("dangling")));
}

TEST_F(fileexist_test, is_false_for_a_folder_and_a_symlink_to_a_folder) {
    EXPECT_FALSE(fileexist(folder));
    fs::create_symlink(folder, path("link"));
    EXPECT_FALSE(fileexist(path("link")));
}

TEST_F(fileexist_test, is_false_for_an_unreadable_file) {
    write_file(path("readable"), "");
    write_file(path("unreadable"), "");
    fs::permissions(test::root(), fs::perms{0755});
    fs::permissions(path("readable"), fs::perms{0444});
    fs::permissions(path("unreadable"), fs::perms::none);
    test::child_process child([this](const auto&) {
        if (!test::drop_privileges()) {
            return 2;
        }
        return fileexist(path("readable")) && !fileexist(path("unreadable")) ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
}

using compfile_test = in_folder;

TEST_F(compfile_test, is_1_for_the_same_bytes_at_sizes_around_the_chunk_size) {
    for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 8191U, 8192U, 8193U, 1'000'000U}) {
        write_file(path("a"), bytes(size));
        write_file(path("b"), bytes(size));
        EXPECT_EQ(compfile(path("a"), path("b")), 1) << size;
    }
}

TEST_F(compfile_test, is_0_for_a_single_different_byte) {
    for (const std::size_t size : {1U, 4095U, 4096U, 4097U, 8192U, 8193U, 1'000'000U}) {
        write_file(path("a"), bytes(size));
        for (const std::size_t at : {std::size_t{0}, size / 2, size - 1}) {
            std::string other = bytes(size);
            other[at] = static_cast<char>(other[at] ^ 0x40);
            write_file(path("b"), other);
            EXPECT_EQ(compfile(path("a"), path("b")), 0) << size << ' ' << at;
        }
    }
}

TEST_F(compfile_test, is_0_for_different_lengths) {
    write_file(path("a"), bytes(4096));
    write_file(path("b"), bytes(4097));
    write_file(path("empty"), "");
    EXPECT_EQ(compfile(path("a"), path("b")), 0);
    EXPECT_EQ(compfile(path("b"), path("a")), 0);
    EXPECT_EQ(compfile(path("a"), path("empty")), 0);
    EXPECT_EQ(compfile(path("empty"), path("a")), 0);
}

TEST_F(compfile_test, is_0_when_a_file_cannot_be_opened) {
    write_file(path("a"), "");
    EXPECT_EQ(compfile(path("a"), path("missing")), 0);
    EXPECT_EQ(compfile(path("missing"), path("a")), 0);
    EXPECT_EQ(compfile(path("missing"), path("missing")), 0);
}

TEST_F(compfile_test, is_0_for_folders) {
    write_file(path("a"), "");
    EXPECT_EQ(compfile(folder, folder), 0);
    EXPECT_EQ(compfile(path("a"), folder), 0);
    EXPECT_EQ(compfile("/proc", "/proc"), 0) << "whose length is 0";
}

TEST_F(compfile_test, is_0_when_reading_ends_before_the_length) {
    // The kernel reports a length of one page for such a file, but fewer bytes can be read.
    const std::string file = "/sys/devices/system/cpu/online";
    std::error_code missing;
    if (fs::file_size(file, missing) <= test::read_file(file).size() || missing) {
        GTEST_SKIP() << "this machine has no " << file;
    }
    EXPECT_EQ(compfile(file, file), 0);
}

TEST_F(compfile_test, is_1_for_a_file_and_itself) {
    write_file(path("a"), bytes(10'000));
    EXPECT_EQ(compfile(path("a"), path("a")), 1);
}

TEST_F(compfile_test, does_not_confuse_lengths_that_differ_by_4_gigabytes) {
    write_sparse(path("a"), "x", 10);
    write_sparse(path("b"), "x", 10 + (std::int64_t{1} << 32));
    EXPECT_EQ(compfile(path("a"), path("b")), 0);
}

using isValidEfiFile_test = in_folder;

TEST_F(isValidEfiFile_test, is_true_when_the_first_word_counts_the_bytes_after_the_header) {
    write_file(path("f"), "\x04\0\0\0????abcd"s);
    EXPECT_TRUE(isValidEfiFile(path("f").c_str()));
    write_file(path("f"), "\x01\0\0\0\0\0\0\0x"s);
    EXPECT_TRUE(isValidEfiFile(path("f").c_str()));
    write_file(path("f"), "\x02\x01\0\0\0\0\0\0"s + std::string(0x102, 'x'));
    EXPECT_TRUE(isValidEfiFile(path("f").c_str()));
}

TEST_F(isValidEfiFile_test, is_false_for_any_other_length) {
    for (const std::string& content :
         {"\x03\0\0\0????abcd"s, "\x05\0\0\0????abcd"s, "\0\0\0\x04????abcd"s,
          "\x0C\0\0\0????abcd"s, "\xFF\xFF\xFF\xFF????abcd"s}) {
        write_file(path("f"), content);
        EXPECT_FALSE(isValidEfiFile(path("f").c_str()));
    }
}

TEST_F(isValidEfiFile_test, is_false_for_a_file_no_longer_than_the_header) {
    for (const std::string& content : {""s, "\0"s, "\0\0\0\0"s, "\0\0\0\0\0\0\0\0"s}) {
        write_file(path("f"), content);
        EXPECT_FALSE(isValidEfiFile(path("f").c_str())) << content.size();
    }
}

TEST_F(isValidEfiFile_test, is_false_for_a_missing_file_and_a_folder) {
    EXPECT_FALSE(isValidEfiFile(path("missing").c_str()));
    EXPECT_FALSE(isValidEfiFile(folder.c_str()));
}

TEST_F(isValidEfiFile_test, reads_all_four_bytes_of_the_first_word) {
    write_sparse(path("f"), "\x04\x03\x02\x01"s, 0x01020304 + 8);
    EXPECT_TRUE(isValidEfiFile(path("f").c_str()));
    write_sparse(path("f"), "\x04\x03\x01\x01"s, 0x01020304 + 8);
    EXPECT_FALSE(isValidEfiFile(path("f").c_str()));
}

TEST_F(isValidEfiFile_test, compares_lengths_beyond_32_bits) {
    constexpr std::int64_t four_gigabytes = std::int64_t{1} << 32;
    write_sparse(path("f"), "\xFF\xFF\xFF\xFF"s, four_gigabytes - 1 + 8);
    EXPECT_TRUE(isValidEfiFile(path("f").c_str()));
    write_sparse(path("f"), "\x04\0\0\0"s, four_gigabytes + 12);
    EXPECT_FALSE(isValidEfiFile(path("f").c_str()));
}

using tempname_test = in_folder;

TEST_F(tempname_test, creates_an_empty_file_with_the_given_prefix) {
    const std::string name = tempname(folder, "prefix");
    const std::string begin = folder + "/prefix_";
    ASSERT_EQ(name.size(), begin.size() + 6);
    EXPECT_EQ(name.substr(0, begin.size()), begin);
    EXPECT_NE(name.substr(begin.size()), "XXXXXX");
    EXPECT_TRUE(fs::is_regular_file(name));
    EXPECT_EQ(fs::file_size(name), 0U);
}

TEST_F(tempname_test, never_returns_a_name_twice) {
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) {
        names.insert(tempname(folder, "p"));
    }
    EXPECT_EQ(names.size(), 100U);
    EXPECT_EQ(names.count(""), 0U);
}

TEST_F(tempname_test, creates_with_mode_0600_and_restores_the_creation_mask) {
    for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
        const creation_mask set(mask);
        const std::string name = tempname(folder, "p");
        EXPECT_EQ(mode_of(name), 0600U) << std::oct << mask;
        EXPECT_EQ(creation_mask::now(), mask);
    }
}

TEST_F(tempname_test, is_empty_for_a_missing_folder_and_restores_the_creation_mask) {
    const creation_mask set(0027);
    EXPECT_EQ(tempname(path("missing"), "p"), "");
    EXPECT_EQ(creation_mask::now(), 0027U);
}

TEST_F(tempname_test, keeps_no_descriptor_open) {
    const auto before = test::open_descriptors();
    EXPECT_NE(tempname(folder, "p"), "");
    EXPECT_EQ(test::open_descriptors(), before);
}

TEST_F(tempname_test, accepts_a_name_of_255_bytes) {
    const std::string prefix(255 - folder.size() - 1 - 7, 'p');
    const std::string name = tempname(folder, prefix);
    EXPECT_EQ(name.size(), 255U);
    EXPECT_TRUE(fs::exists(name));
}

using tempname_death_test = in_folder;

TEST_F(tempname_death_test, aborts_when_the_name_does_not_fit) {
    const std::string prefix(256 - folder.size() - 1 - 7, 'p');
    EXPECT_EXIT(tempname(folder, prefix), testing::KilledBySignal(SIGABRT),
                "^tempname: the name of a temporary file does not fit 256 bytes\n");
    EXPECT_EXIT(tempname(folder, std::string(1'000'000, 'p')), testing::KilledBySignal(SIGABRT),
                "tempname: ");
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(tempname_test, treats_descriptor_0_as_a_failure_and_removes_the_file) {
    test::child_process child([this](const auto&) {
        close(STDIN_FILENO);
        const bool empty = tempname(folder, "p").empty();
        const bool closed = fcntl(STDIN_FILENO, F_GETFD) == -1;
        test::write_coverage_counts();
        return empty && closed ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_TRUE(fs::is_empty(folder));
}

using copyfile_test = in_folder;

TEST_F(copyfile_test, copies_every_byte) {
    const recording_log log(0xFFFFFFFF);
    for (const std::size_t size : {1U, 4096U, 1'000'003U}) {
        write_file(path("from"), bytes(size));
        EXPECT_EQ(copyfile(path("from"), path("to")), 0);
        EXPECT_EQ(test::read_file(path("to")), bytes(size));
    }
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(copyfile_test, truncates_the_destination) {
    write_file(path("from"), "short");
    write_file(path("to"), "something longer");
    EXPECT_EQ(copyfile(path("from"), path("to")), 0);
    EXPECT_EQ(test::read_file(path("to")), "short");
}

TEST_F(copyfile_test, empties_the_destination_and_succeeds_when_the_source_is_missing) {
    const recording_log log(0xFFFFFFFF);
    write_file(path("to"), "old");
    EXPECT_EQ(copyfile(path("missing"), path("to")), 0);
    EXPECT_TRUE(fs::exists(path("to")));
    EXPECT_EQ(test::read_file(path("to")), "");
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(copyfile_test, fails_and_logs_for_an_empty_source) {
    const recording_log log(dp::log_level::error);
    write_file(path("from"), "");
    EXPECT_EQ(copyfile(path("from"), path("to")), 1);
    EXPECT_EQ(test::read_file(path("to")), "");
    EXPECT_EQ(
        log.lines,
        (lines{{"ERR", " ***ERROR*** failed copying " + path("from") + " to " + path("to")}}));
}

TEST_F(copyfile_test, fails_and_logs_for_an_unwritable_destination) {
    const recording_log log(dp::log_level::error);
    write_file(path("from"), "x");
    EXPECT_EQ(copyfile(path("from"), folder), 1);
    EXPECT_EQ(copyfile(path("missing"), path("missing/to")), 1);
    EXPECT_EQ(log.lines,
              (lines{{"ERR", " ***ERROR*** failed copying " + path("from") + " to " + folder},
                     {"ERR", " ***ERROR*** failed copying " + path("missing") + " to " +
                                 path("missing/to")}}));
}

TEST_F(copyfile_test, logs_only_with_the_error_bit) {
    const recording_log log(~dp::log_level::error);
    write_file(path("from"), "x");
    EXPECT_EQ(copyfile(path("from"), folder), 1);
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(copyfile_test, fails_for_a_folder_as_source) {
    EXPECT_EQ(copyfile(folder, path("to")), 1);
}

TEST_F(copyfile_test, fails_on_a_full_disk) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "no /dev/full";
    }
    write_file(path("from"), "x");
    EXPECT_EQ(copyfile(path("from"), "/dev/full"), 1);
}

using create_dir_test = in_folder;

TEST_F(create_dir_test, creates_one_folder_of_mode_0600_less_the_creation_mask) {
    const recording_log log(0xFFFFFFFF);
    {
        const creation_mask set(0);
        EXPECT_EQ(create_dir(path("a").c_str()), 0);
    }
    {
        const creation_mask set(0277);
        EXPECT_EQ(create_dir(path("b").c_str()), 0);
    }
    EXPECT_TRUE(fs::is_directory(path("a")));
    EXPECT_EQ(mode_of(path("a")), 0600U);
    EXPECT_EQ(mode_of(path("b")), 0400U);
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(create_dir_test, fails_without_a_log_line_when_the_path_exists) {
    const recording_log log(0xFFFFFFFF);
    write_file(path("file"), "");
    EXPECT_EQ(create_dir(folder.c_str()), -1);
    EXPECT_EQ(create_dir(path("file").c_str()), -1);
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(create_dir_test, logs_the_error_number_of_other_failures) {
    recording_log log(dp::log_level::log);
    write_file(path("file"), "");
    EXPECT_EQ(create_dir(path("a/b").c_str()), -1);
    EXPECT_EQ(create_dir(path("file/b").c_str()), -1);
    const lines expected{
        {"LOG", " create_dir " + path("a/b") + ", errno=" + std::to_string(ENOENT)},
        {"LOG", " create_dir " + path("file/b") + ", errno=" + std::to_string(ENOTDIR)}};
    EXPECT_EQ(log.lines, expected);
    log.mask_value = ~dp::log_level::log;
    EXPECT_EQ(create_dir(path("a/b").c_str()), -1);
    EXPECT_EQ(log.lines, expected);
}

class wait_for_file_exists_test : public in_folder {
  protected:
    // Creates the file during the `count`-th pause.
    void appear_after(std::size_t count) {
        time.on_sleep = [this, count](std::uint32_t) {
            if (time.sleeps.size() == count) {
                write_file(file, "");
            }
        };
    }

    const std::string file = path("awaited");
    test::stepped_time time;
};

TEST_F(wait_for_file_exists_test, finds_an_existing_file_without_a_pause) {
    const recording_log log(dp::log_level::log);
    write_file(file, "");
    EXPECT_TRUE(wait_for_file_exists(file, 3, 1500));
    EXPECT_TRUE(time.sleeps.empty());
    EXPECT_EQ(log.lines, (lines{{"LOG", " wait_for_file: waiting on " + file + " for 4 seconds"},
                                {"LOG", " wait_for_file: found " + file}}));
}

TEST_F(wait_for_file_exists_test, gives_up_after_two_more_tests_than_tries) {
    const recording_log log(dp::log_level::log);
    EXPECT_FALSE(wait_for_file_exists(file, 3, 1000));
    EXPECT_EQ(time.sleeps, (std::vector<std::uint32_t>{1000, 1000, 1000, 1000}));
    EXPECT_EQ(log.lines, (lines{{"LOG", " wait_for_file: waiting on " + file + " for 3 seconds"},
                                {"LOG", " wait_for_file: gave up waiting on " + file}}));
}

TEST_F(wait_for_file_exists_test, tests_after_every_pause) {
    constexpr int tries = 5;
    for (std::size_t k = 1; k <= tries + 1; ++k) {
        fs::remove(file);
        time.sleeps.clear();
        appear_after(k);
        EXPECT_TRUE(wait_for_file_exists(file, tries, 10)) << k;
        EXPECT_EQ(time.sleeps.size(), k);
    }
    fs::remove(file);
    time.sleeps.clear();
    appear_after(tries + 2);
    EXPECT_FALSE(wait_for_file_exists(file, tries, 10));
    EXPECT_EQ(time.sleeps.size(), std::size_t{tries + 1});
}

TEST_F(wait_for_file_exists_test, returns_false_without_a_test_for_0_tries) {
    const recording_log log(0xFFFFFFFF);
    write_file(file, "");
    EXPECT_FALSE(wait_for_file_exists(file, 0, 1000));
    EXPECT_TRUE(time.sleeps.empty());
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(wait_for_file_exists_test, tests_once_for_negative_tries) {
    const recording_log log(dp::log_level::log);
    EXPECT_FALSE(wait_for_file_exists(file, -1, 1000));
    EXPECT_TRUE(time.sleeps.empty());
    EXPECT_EQ(log.lines, (lines{{"LOG", " wait_for_file: waiting on " + file + " for -1 seconds"},
                                {"LOG", " wait_for_file: gave up waiting on " + file}}));
    write_file(file, "");
    EXPECT_TRUE(wait_for_file_exists(file, INT_MIN, 1));
}

TEST_F(wait_for_file_exists_test, logs_whole_seconds_rounded_down) {
    recording_log log(dp::log_level::log);
    write_file(file, "");
    const auto first_line = [&](int tries, int interval) {
        log.lines.clear();
        EXPECT_TRUE(wait_for_file_exists(file, tries, interval));
        return log.lines.at(0).text;
    };
    const std::string begin = " wait_for_file: waiting on " + file + " for ";
    EXPECT_EQ(first_line(1, 999), begin + "0 seconds");
    EXPECT_EQ(first_line(60, 1000), begin + "60 seconds");
    EXPECT_EQ(first_line(INT_MAX, INT_MAX), begin + "4611686014132420 seconds");
}

TEST_F(wait_for_file_exists_test, finds_a_folder_but_not_a_dangling_symlink) {
    EXPECT_TRUE(wait_for_file_exists(folder, 1, 1));
    fs::create_symlink("missing", file);
    EXPECT_FALSE(wait_for_file_exists(file, 1, 1));
}

TEST_F(wait_for_file_exists_test, finds_a_file_that_may_not_be_opened) {
    write_file(file, "");
    fs::permissions(test::root(), fs::perms{0755});
    fs::permissions(file, fs::perms::none);
    test::child_process child([this](const auto&) {
        if (!test::drop_privileges()) {
            return 2;
        }
        return !fileexist(file) && wait_for_file_exists(file, -1, 1) ? 0 : 1;
    });
    EXPECT_EQ(child.wait(), 0);
}

TEST_F(wait_for_file_exists_test, logs_only_with_the_top_bit) {
    const recording_log log(~dp::log_level::log);
    EXPECT_FALSE(wait_for_file_exists(file, 1, 1));
    write_file(file, "");
    EXPECT_TRUE(wait_for_file_exists(file, 1, 1));
    EXPECT_EQ(log.lines, lines{});
}

TEST_F(wait_for_file_exists_test, treats_a_negative_interval_as_0) {
    EXPECT_FALSE(wait_for_file_exists(file, 1, -5));
    EXPECT_EQ(time.sleeps, (std::vector<std::uint32_t>{0, 0}));
}
