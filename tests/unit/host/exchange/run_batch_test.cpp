#include "host/exchange/run_batch.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include "batch/batch_file_loader.hpp"
#include "common/file_utilities.hpp"
#include "platform/posix/efi_compressor.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/host/exchange/answered_batch.hpp"
#include "tests/unit/host/sample_service.hpp"

namespace {

class run_batch_test : public test::sample_service {
  protected:
    void SetUp() override { test::clean_root(); }

    std::string run_file(const std::string& text) {
        test::write_file(path, text);
        return test::answer_to(path, registrar);
    }

    std::string path = test::root() + "/tmp/dp/batch.run";
    std::string status = test::root() + "/tmp/dp/status";
};

TEST_F(run_batch_test, answers_every_command_and_malformed_line_in_the_order_of_the_file) {
    EXPECT_EQ(run_file("# a comment\n"
                       "0 100 <cim-0> set Boot.Mode \"Legacy\" \"\" \n"
                       "0 101 <cim-0> set Boot.Mode \"CSM\" \"\" \n"
                       "\n"
                       "0 102 <cim-0> set Boot.Mode \"x\" \"\" two words\n"
                       "0 103 <cim-0> get Boot.Mode \"\" \"\" \n"
                       "0 104 <cim-0> get Boot.Gone \"\" \"\" \n"
                       "0 105 <cim-0> command import Boot.Mode \"\" \"\" \n"
                       "0 106 <cim-0> cmd_import Boot.Mode \"\" \"\" \n"),
              "0 100 <cim-0> set Boot.Mode \"Legacy\" \"Legacy\" \n"
              "48 101 <cim-0> set Boot.Mode \"CSM\" \"\" \n"
              "57 102 <cim-0> set Boot.Mode \"\" \"\" \n"
              "0 103 <cim-0> get Boot.Mode \"\" \"Legacy\" \n"
              "16 104 <cim-0> get ERR.INVALID_SETTING \"\" \"\" \n"
              "224 105 <cim-0> unknown Boot.Mode \"\" \"\" \n"
              "58 106 <cim-0> command import Boot.Mode \"\" \"\" \n");
}

TEST_F(run_batch_test, does_not_run_commands_that_have_a_status) {
    EXPECT_EQ(run_file("5 1 t set Boot.Mode \"Legacy\" \"\"\n"
                       "x 2 t set Boot.Mode \"Legacy\" \"\"\n"
                       "300 3 t set Boot.Mode \"Legacy\" \"\"\n"),
              "5 1 t set Boot.Mode \"Legacy\" \"\" \n"
              "255 2 t set Boot.Mode \"Legacy\" \"\" \n"
              "255 3 t set Boot.Mode \"Legacy\" \"\" \n");
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
}

TEST_F(run_batch_test, short_lines_keep_the_words_of_the_previous_line) {
    EXPECT_EQ(run_file("0 1 t get Boot.Mode \"\" \"\"\n0 2\n"),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n0 2 t get Boot.Mode \"\" \"UEFI\" \n");
}

TEST_F(run_batch_test, an_empty_batch_has_an_empty_answer) {
    EXPECT_EQ(run_file(""), "");
    EXPECT_EQ(run_file("# nothing\n\n"), "");
}

TEST_F(run_batch_test, escapes_values_so_that_a_reader_gives_them_back) {
    const std::string answer = run_file(
        "0 1 t set Boot.Label \"a\\\"b\\\\c\" \"\"\n"
        "0 2 t set Boot.Mode \"a\\\"b\" \"\"\n"
        "0 3 t set Boot.Label \"a\\\\b\" \"\"\n");
    std::vector<dp::batch_file_entry> entries;
    dp::batch_file_loader loader(&entries);
    std::istringstream in(answer);
    loader.read_file(in, nullptr);
    ASSERT_EQ(entries.size(), 3U) << answer;
    EXPECT_EQ(entries[0].value_out, "a\"b\\c");
    EXPECT_EQ(entries[1].status, "48");
    EXPECT_EQ(entries[2].status, "0");
    EXPECT_EQ(entries[2].value_in, "a\\b");
    EXPECT_EQ(entries[2].value_out, "a\\b");
}

TEST_F(run_batch_test, a_line_of_arbitrary_bytes_does_not_affect_the_next_line) {
    std::string garbage;
    for (int i = 0; i < 20000; ++i) {
        garbage += static_cast<char>((i * 7919 + i / 256) & 0xFF);
    }
    const std::string answer = run_file(garbage + "\n0 1 t get Boot.Mode \"\" \"\"\n");
    EXPECT_NE(answer.find("0 1 t get Boot.Mode \"\" \"UEFI\" \n"), std::string::npos);
}

TEST_F(run_batch_test, expands_a_compressed_batch) {
    EXPECT_EQ(run_file(dp_platform::efi_compress("0 1 t get Boot.Mode \"\" \"\"\n")),
              "0 1 t get Boot.Mode \"\" \"UEFI\" \n");
}

TEST_F(run_batch_test, runs_100000_commands_and_persists_them_once) {
    std::string text;
    for (int i = 0; i < 100'000; ++i) {
        text += "0 " + std::to_string(i) + " t set Ports.Speed." + std::to_string(i % 4 + 1) +
                " \"" + std::to_string(i % 1000 + 1) + "\" \"\"\n";
    }
    const std::string answer = run_file(text);
    EXPECT_EQ(std::count(answer.begin(), answer.end(), '\n'), 100'000);
    EXPECT_EQ(value_of("Ports.Speed.4"), "1000");
    EXPECT_EQ(persist_calls, 1);
}

TEST_F(run_batch_test, fails_every_command_of_a_file_that_is_too_large) {
    test::write_file(path, "0 1 t set Boot.Mode \"Legacy\" \"\"\n# no command\n0 2 t");
    // The rest of the file is a hole: one overlong line of null bytes.
    ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(dp_host::largest_batch + 1)), 0);
    test::recording_log log(sysipc::event_log::log_level::error);
    const std::string text = test::answer_to(path, registrar);
    EXPECT_EQ(text.substr(0, text.find('\n')), "255 1 t set Boot.Mode \"\" \"\" ");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
    EXPECT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
}

TEST_F(run_batch_test, fails_for_a_file_that_is_missing_or_not_regular) {
    dp_support::staged_file answer(path + ".out", dp_support::staged_file::volatile_file);
    EXPECT_FALSE(dp_host::run_batch(path, registrar, answer));
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(dp_host::run_batch(path, registrar, answer).reason(),
              path + " is not a regular file");
    EXPECT_FALSE(fileexist(status));
}

TEST_F(run_batch_test, the_status_file_reports_start_steps_answer_and_end) {
    run_file(
        "0 1 <cim-0> set Boot.Mode \"Legacy\" \"\"\n"
        "0 2 <cim-0> get Boot.Mode \"\" \"\"\n");
    EXPECT_EQ(test::read_file(status),
              "<dp-status> 0001 DP.MESSAGE init \n"
              "<cim-0> 0002 DP.WORKING 0\n"
              "<cim-0> 0003 DP.WORKING 1\n"
              "<cim-0> 0004 DP.OUTFILE " +
                  test::root() +
                  "/tmp/dp/batch.out\n"
                  "<cim-0> 0005 DP.DONE 0 2 0\n");
}

TEST_F(run_batch_test, completes_the_status_file_before_the_answer_is_in_place) {
    test::write_file(path, "0 1 t get Boot.Mode \"\" \"\"\n");
    const std::string result = path + ".out";
    dp_support::staged_file answer(result, dp_support::staged_file::volatile_file);
    ASSERT_TRUE(dp_host::run_batch(path, registrar, answer));
    EXPECT_FALSE(fileexist(result));
    EXPECT_NE(test::read_file(status).find("DP.OUTFILE " + result + "\n<t> 0005 DP.DONE 0 1 0\n"),
              std::string::npos);
    EXPECT_TRUE(answer.replace());
}

TEST_F(run_batch_test, the_status_file_names_no_answer_that_could_not_be_written) {
    test::write_file(path, "0 1 t get Boot.Mode \"\" \"\"\n");
    dp_support::staged_file answer(test::root() + "/no/folder/batch.out",
                                   dp_support::staged_file::volatile_file);
    ASSERT_TRUE(dp_host::run_batch(path, registrar, answer));
    EXPECT_EQ(test::read_file(status),
              "<dp-status> 0001 DP.MESSAGE init \n"
              "<t> 0002 DP.WORKING 0\n"
              "<t> 0003 DP.WORKING 1\n"
              "<t> 0004 DP.DONE 0 1 0\n");
}

TEST_F(run_batch_test, a_last_line_without_a_newline_was_cut_off_and_is_malformed) {
    EXPECT_EQ(run_file("0 1 t set Boot.Mode \"Legacy\" \"\"\n"
                       "0 2 t set Boot.Delay \"50\" \"\""),
              "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n"
              "57 2 t set Boot.Delay \"\" \"\" \n");
    EXPECT_EQ(value_of("Boot.Mode"), "Legacy");
    EXPECT_EQ(value_of("Boot.Delay"), "5");
    EXPECT_EQ(run_file("0 2 t set Boot.De"), "57 2 t set Boot.De \"\" \"\" \n");
    EXPECT_EQ(run_file("0 2"), "57 2 <none> unknown ERR.INVALID_SETTING \"\" \"\" \n");
    EXPECT_EQ(run_file("0 2 t get Boot.Mode \"\" \"\"\n# comment"),
              "0 2 t get Boot.Mode \"\" \"Legacy\" \n");
    EXPECT_EQ(run_file("0 2 t get Boot.Mode \"\" \"\"\n   "),
              "0 2 t get Boot.Mode \"\" \"Legacy\" \n");
    EXPECT_EQ(run_file(std::string(70'000, 'x')).substr(0, 3), "57 ");
}

TEST_F(run_batch_test, a_batch_that_uses_up_the_memory_is_answered_and_changes_nothing) {
    memory_is_full = true;
    EXPECT_EQ(run_file("0 1 t set Boot.Mode \"Legacy\" \"\"\n"
                       "0 2 t get Boot.Mode \"\" \"\"\n"),
              "255 1 t set Boot.Mode \"\" \"\" \n"
              "255 2 t get Boot.Mode \"\" \"\" \n");
    memory_is_full = false;
    EXPECT_EQ(run_file("0 2 t get Boot.Mode \"\" \"\"\n0 1 t set Boot.Delay \"10\" \"\"\n"),
              "0 2 t get Boot.Mode \"\" \"UEFI\" \n"
              "0 1 t set Boot.Delay \"10\" \"10\" \n");
    EXPECT_EQ(on_disk.find("Legacy"), std::string::npos);
}

TEST_F(run_batch_test, a_text_is_run_for_a_client_and_reports_its_progress) {
    std::istringstream text("0 1 <t> set Boot.Mode \"Legacy\" \"\"\n");
    std::ostringstream answer;
    std::uint32_t done = 0;
    dp_host::batch_observer observer;
    observer.client = "uid=1";
    observer.on_progress = [&](std::uint32_t now, std::uint32_t total) {
        done = now;
        EXPECT_EQ(total, 1U);
    };
    test::recording_log log(sysipc::event_log::log_level::log);
    dp_host::run_batch_text(text, registrar, answer, observer);
    EXPECT_EQ(answer.str(), "0 1 <t> set Boot.Mode \"Legacy\" \"Legacy\" \n");
    EXPECT_EQ(done, 1U);
    ASSERT_FALSE(log.lines.empty());
    EXPECT_THAT(log.lines.back().text,
                testing::ContainsRegex("batch t,id=[0-9a-f]+,uid=1: 1 commands"));
}

}  // namespace
