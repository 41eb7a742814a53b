#include "logs/client_log.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "common/log.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/logs/fake_store.hpp"
#include "tests/unit/logs/sample_transaction.hpp"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A line that takes `bytes` bytes in the file, newline included, and begins with `mark`.
std::string line_of(std::size_t bytes, char mark = 'x') {
    return std::string(bytes - 1, mark);
}

class client_log : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    static std::string path() { return test::root() + "/tmp/client.log"; }
    static std::string text() { return test::read_file(path()); }

    dp::client_log log{path(), false};
};

TEST_F(client_log, writes_nothing_when_created_or_destroyed) {
    EXPECT_FALSE(std::filesystem::exists(path()));
    test::write_file(path(), "old\n");
    {
        const dp::client_log other(path(), false);
        EXPECT_EQ(text(), "old\n");
    }
    EXPECT_EQ(text(), "old\n");
}

TEST_F(client_log, rewrites_the_file_for_every_line) {
    test::write_file(path(), "something else\nthat is longer\n");
    log.write_line("one");
    EXPECT_EQ(text(), "one\n");
    test::write_file(path(), "scribbled over");
    log.write_line("two");
    EXPECT_EQ(text(), "one\ntwo\n");
    std::filesystem::remove(path());
    log.write_line("three");
    EXPECT_EQ(text(), "one\ntwo\nthree\n");
}

TEST_F(client_log, counts_an_empty_line_as_one_byte) {
    log.write_line("");
    EXPECT_EQ(text(), "\n");
    // With 8190 more bytes there are 8191: a second empty line fits, a third does not.
    log.write_line(line_of(8190));
    log.write_line("");
    EXPECT_EQ(text().size(), 8192U);
    log.write_line("");
    EXPECT_EQ(text(), "\n\n");
}

TEST_F(client_log, keeps_a_newline_inside_a_line) {
    log.write_line("a\nb");
    EXPECT_EQ(text(), "a\nb\n");
}

TEST_F(client_log, does_not_prune_exactly_8192_bytes) {
    for (int i = 0; i < 8; ++i) {
        log.write_line(line_of(1024));
    }
    EXPECT_EQ(text().size(), 8192U);
    log.prune();
    log.write_file();
    EXPECT_EQ(text().size(), 8192U);
}

TEST_F(client_log, prunes_8193_bytes_to_below_6144) {
    std::string expected;
    for (int i = 0; i < 8; ++i) {
        log.write_line(line_of(1024, static_cast<char>('a' + i)));
    }
    log.write_line("");
    // 8193 - 2 * 1024 = 6145 is not below 6144, 8193 - 3 * 1024 = 5121 is.
    for (int i = 3; i < 8; ++i) {
        expected += line_of(1024, static_cast<char>('a' + i)) + "\n";
    }
    expected += "\n";
    EXPECT_EQ(text(), expected);
}

TEST_F(client_log, does_not_stop_pruning_at_6144_bytes) {
    // 2049 + 6143 = 8192. One more byte makes 8193, which is 6144 without the first line.
    log.write_line(line_of(2049, 'a'));
    log.write_line(line_of(1, 'b'));
    log.write_line(line_of(6142, 'c'));
    EXPECT_EQ(text().size(), 8192U);
    log.write_line("");
    EXPECT_EQ(text(), line_of(6142, 'c') + "\n\n") << "one more line is pruned at 6144 bytes";
}

TEST_F(client_log, stops_pruning_at_6143_bytes) {
    log.write_line(line_of(2050, 'a'));
    log.write_line(line_of(6142, 'c'));
    EXPECT_EQ(text().size(), 8192U);
    log.write_line("");
    EXPECT_EQ(text().size(), 6143U);
}

TEST_F(client_log, does_not_count_pruned_lines) {
    for (int i = 0; i < 9; ++i) {
        log.write_line(line_of(1024));
    }
    const std::size_t left = text().size();
    EXPECT_EQ(left, 5U * 1024);
    log.write_line(line_of(8192 - left));
    EXPECT_EQ(text().size(), 8192U);
}

TEST_F(client_log, writes_a_line_beyond_the_limit_and_prunes_it_with_the_next) {
    log.write_line("before");
    log.write_line(line_of(9000));
    EXPECT_EQ(text(), line_of(9000) + "\n");
    log.write_line("after");
    EXPECT_EQ(text(), "after\n");
    log.write_line(line_of(8186));
    EXPECT_EQ(text().size(), 8192U) << "the total is correct again";
}

TEST_F(client_log, keeps_a_line_between_the_limits_alone) {
    log.write_line(line_of(2000, 'a'));
    log.write_line(line_of(7000, 'b'));
    EXPECT_EQ(text(), line_of(7000, 'b') + "\n");
    log.write_line(line_of(1192, 'c'));
    EXPECT_EQ(text().size(), 8192U);
    log.write_line("d");
    EXPECT_EQ(text(), line_of(1192, 'c') + "\nd\n");
}

TEST_F(client_log, may_become_empty_when_pruned_directly) {
    log.write_line(line_of(9000));
    log.prune();
    EXPECT_EQ(log.write_file(), 0);
    EXPECT_EQ(text(), "");
    log.prune();
    log.write_line(line_of(8192));
    log.write_line("");
    EXPECT_EQ(text(), "\n");
}

TEST_F(client_log, keeps_a_line_up_to_its_first_nul_but_counts_it_in_full) {
    using namespace std::string_literals;
    log.write_line("ab\0cd"s);
    EXPECT_EQ(text(), "ab\n");
    // 6 bytes are counted, so at most 8186 more fit.
    log.write_line(line_of(8186));
    EXPECT_EQ(text().size(), 3U + 8186);
    log.write_line("");
    EXPECT_EQ(text(), "\n");
}

TEST_F(client_log, subtracts_only_the_kept_bytes_of_a_pruned_line) {
    // Counts as 4001 bytes and keeps 1 + 1: pruning it leaves 3999 bytes too many in the total.
    log.write_line("a" + std::string(1, '\0') + std::string(3998, 'n'));
    log.write_line(line_of(2000, 'b'));
    log.write_line(line_of(1000, 'c'));
    log.write_line(line_of(1191, 'd'));
    EXPECT_EQ(text().size(), 2U + 2000 + 1000 + 1191) << "counted as 8192";
    log.write_line("");
    // 8193 - 2 - 2000 = 6191 is not below 6144, - 1000 = 5191 is.
    EXPECT_EQ(text(), line_of(1191, 'd') + "\n\n");
    // The total is 5191, although the text has 1192 bytes, so 3001 more fit.
    log.write_line(line_of(3001, 'e'));
    EXPECT_EQ(text().size(), 1192U + 3001);
    log.write_line("");
    EXPECT_EQ(text(), "\n");
}

TEST_F(client_log, corrects_the_total_when_no_older_line_is_left) {
    log.write_line(std::string(9000, '\0'));
    EXPECT_EQ(text(), "\n");
    log.write_line(line_of(100, 'b'));
    EXPECT_EQ(text(), line_of(100, 'b') + "\n");
    log.write_line(line_of(8092, 'c'));
    EXPECT_EQ(text().size(), 8192U);
    log.write_line("");
    EXPECT_EQ(text(), "\n");
}

TEST_F(client_log, ignores_a_file_that_cannot_be_opened) {
    dp::client_log other(test::root() + "/tmp/absent/client.log", false);
    other.write_line("one");
    EXPECT_EQ(other.write_file(), 0);
    std::filesystem::create_directory(test::root() + "/tmp/absent");
    other.write_line("two");
    EXPECT_EQ(test::read_file(test::root() + "/tmp/absent/client.log"), "one\ntwo\n")
        << "the lines were kept";
}

TEST_F(client_log, continues_on_a_full_disk) {
    dp::client_log full("/dev/full", false);
    full.write_line("one");
    EXPECT_EQ(full.write_file(), 0);
}

// ---- the data store

class client_log_in_store : public testing::Test {
  protected:
    static constexpr int mode = 0x1104;

    test::fake_store store;
    dp::client_log log{"status", true};
};

TEST_F(client_log_in_store, calls_nothing_for_an_empty_log) {
    EXPECT_EQ(log.write_dsfile(), 0);
    EXPECT_THAT(store.openings, IsEmpty());
    EXPECT_EQ(store.writes, 0);
    EXPECT_EQ(store.releases, 0);
}

TEST_F(client_log_in_store, writes_the_whole_text_for_every_line) {
    store.write_result = 7;
    log.write_line("one");
    EXPECT_EQ(store.text, "one\n");
    log.write_line("");
    EXPECT_EQ(store.text, "one\n\n");
    EXPECT_THAT(store.openings, ElementsAre(test::fake_store::opening{"status", mode, 4},
                                            test::fake_store::opening{"status", 4356, 5}));
    EXPECT_EQ(store.writes, 2);
    EXPECT_EQ(store.releases, 2);
    EXPECT_EQ(log.write_dsfile(), 7) << "the result of the write";
    EXPECT_FALSE(std::filesystem::exists("status"));
}

TEST_F(client_log_in_store, tries_to_open_twice) {
    store.open_results = {-5, 3};
    log.write_line("one");
    EXPECT_EQ(store.openings.size(), 2U);
    EXPECT_EQ(store.text, "one\n");
    EXPECT_EQ(store.releases, 1);
}

TEST_F(client_log_in_store, writes_nothing_after_two_failed_openings) {
    test::recording_log diagnostics(dp::log_level::trace_1);
    store.open_results = {-5, -6};
    log.write_line("one");
    EXPECT_EQ(store.openings.size(), 2U);
    EXPECT_EQ(store.writes, 0);
    EXPECT_EQ(store.releases, 0);
    EXPECT_THAT(diagnostics.lines,
                ElementsAre(test::recording_log::line{
                    "LOG", " add_entry: could not add entry to log file - rc = -6"}));
    store.open_results = {-5, -6};
    EXPECT_EQ(log.write_dsfile(), -6);
    store.open_results = {-5};
    EXPECT_EQ(log.write_dsfile(), 1);
    EXPECT_EQ(store.text, "one\n") << "the line was kept";
}

TEST_F(client_log_in_store, treats_an_opening_that_returns_0_as_failed_without_an_error) {
    test::recording_log diagnostics(0xFFFFFFFF);
    store.open_results = {-1, 0};
    log.write_line("one");
    EXPECT_EQ(store.openings.size(), 2U);
    EXPECT_EQ(store.writes, 0);
    EXPECT_THAT(diagnostics.lines, IsEmpty());
    store.open_results = {0, 0};
    EXPECT_EQ(log.write_dsfile(), 0);
}

TEST_F(client_log_in_store, logs_a_failed_write_and_releases_the_file) {
    test::recording_log diagnostics(dp::log_level::trace_1);
    store.write_result = -28;
    log.write_line("one");
    EXPECT_EQ(store.openings.size(), 1U);
    EXPECT_EQ(store.releases, 1);
    EXPECT_EQ(diagnostics.lines.size(), 1U);
    EXPECT_EQ(diagnostics.lines[0].text, " add_entry: could not add entry to log file - rc = -28");
    diagnostics.mask_value = ~dp::log_level::trace_1;
    log.write_line("two");
    EXPECT_EQ(diagnostics.lines.size(), 1U) << "only with the value-1 bit";
}

TEST_F(client_log_in_store, prunes_the_text_as_in_a_file) {
    log.write_line(line_of(8192));
    log.write_line("after");
    EXPECT_EQ(store.text, "after\n");
    EXPECT_EQ(store.openings.back().size, 6);
}

TEST_F(client_log_in_store, agrees_with_a_plain_model_for_random_lines) {
    std::mt19937 random(11);
    std::vector<std::string> kept;
    std::size_t total = 0;
    for (int i = 0; i < 5000; ++i) {
        const std::string line =
            line_of(random() % (i % 10 == 0 ? 9000 : 700) + 1, static_cast<char>('a' + i % 26));
        kept.push_back(line);
        total += line.size() + 1;
        if (total > 8192) {
            while (total >= 6144 && kept.size() > 1) {
                total -= kept.front().size() + 1;
                kept.erase(kept.begin());
            }
        }
        log.write_line(line);
        std::string expected;
        for (const std::string& k : kept) {
            expected += k + "\n";
        }
        ASSERT_EQ(store.text, expected) << i;
    }
}

// ---- transactions

TEST_F(client_log, writes_four_lines_for_a_transaction) {
    test::sample_transaction sample("T");
    sample.add(&sample.b, "", 0, "1");
    sample.add(&sample.b, "", 18, "");
    sample.add(&sample.c, "", 0, "2");
    auto& t = sample.transaction;
    log.start(&t);
    EXPECT_EQ(t.progress, 0) << "the start does not count";
    log.add_progress(&t);
    log.add_progress(&t);
    EXPECT_EQ(t.progress, 2);
    log.stop(&t);
    EXPECT_EQ(text(), "<T> start\n<T>0\n<T>1\n<T>stop 1 2 1\n");
}

TEST_F(client_log, stops_with_zeros_after_success) {
    test::sample_transaction sample("all well");
    sample.add(&sample.b, "", 0, "1");
    log.stop(&sample.transaction);
    test::sample_transaction empty("");
    log.stop(&empty.transaction);
    EXPECT_EQ(text(), "<all well>stop 0 1 0\n<>stop 0 0 0\n");
}

TEST_F(client_log, stop_counts_the_commands_again) {
    test::sample_transaction sample("T");
    auto& late = sample.add(&sample.b, "", 0, "");
    sample.transaction.commands.update_status();
    late.status = 5;
    sample.add(&sample.c, "", 255, "").complete = false;
    log.stop(&sample.transaction);
    EXPECT_EQ(text(), "<T>stop 1 1 1\n") << "an incomplete command is not an error";
}

TEST_F(client_log, writes_no_progress_without_steps) {
    test::sample_transaction sample("T");
    sample.transaction.step = 0;
    sample.transaction.progress = 4;
    log.add_progress(&sample.transaction);
    EXPECT_EQ(sample.transaction.progress, 4);
    EXPECT_FALSE(std::filesystem::exists(path()));
    sample.transaction.step = 1;
    log.add_progress(&sample.transaction);
    EXPECT_EQ(text(), "<T>4\n");
}

TEST_F(client_log, may_be_overridden_by_a_derived_log) {
    struct silent : dp::client_log {
        using dp::client_log::client_log;
        void start(dp::setting_transaction*) override { write_line("mine"); }
    };
    const std::unique_ptr<dp::client_log> derived = std::make_unique<silent>(path(), false);
    derived->start(nullptr);
    EXPECT_EQ(text(), "mine\n");
}

}  // namespace
