#include "batch/batch_file_reader.hpp"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "batch/batch_file_checker.hpp"
#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_intf.hpp"
#include "batch/dropped_line_listener.hpp"
#include "tests/support/cpu_time.hpp"
#include "tests/support/open_descriptors.hpp"
#include "tests/support/reference_batch_reader.hpp"
#include "tests/support/rounds.hpp"
#include "tests/support/settings_model.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/batch/scripted_decompressor.hpp"

using dp::batch_file_entry;
using test::recording_log;

namespace {

using namespace std::string_literals;

// The ten texts of an entry.
using texts = std::array<std::string, 10>;

texts texts_of(const batch_file_entry& e) {
    return {
        e.status,       e.detail,        e.tid,      e.operation, e.command, e.name.configuration,
        e.name.setting, e.name.instance, e.value_in, e.value_out};
}

class collecting_processor final : public dp::batch_file_intf {
  public:
    void process_entry(batch_file_entry& entry, dp::registrar* reg) override {
        entries.push_back(texts_of(entry));
        registrars.push_back(reg);
    }
    std::vector<texts> entries;
    std::vector<dp::registrar*> registrars;
};

std::vector<texts> read(std::istream& in) {
    collecting_processor collected;
    dp::batch_file_reader reader(&collected);
    const int count = reader.read_file(in, nullptr);
    EXPECT_EQ(static_cast<std::size_t>(count), collected.entries.size());
    return collected.entries;
}

std::vector<texts> read(const std::string& file) {
    std::istringstream in(file);
    return read(in);
}

std::vector<texts> reference(const std::string& file) {
    std::istringstream in(file);
    std::vector<texts> all;
    const int count =
        test::reference_read_batch(in, [&](const auto& entry) { all.push_back(texts_of(entry)); });
    EXPECT_EQ(static_cast<std::size_t>(count), all.size());
    return all;
}

// The text, with unprintable bytes as numbers in angle brackets.
std::string shown(const std::string& text) {
    std::ostringstream os;
    for (const char c : text) {
        if (c >= ' ' && c <= '~') {
            os << c;
        } else {
            os << '<' << static_cast<int>(static_cast<unsigned char>(c)) << '>';
        }
    }
    return os.str();
}

using counts = std::pair<unsigned, unsigned>;

// The good and bad lines of a file, read by the reader or by the reference.
counts counted_by_checker(const std::string& file) {
    dp::batch_file_checker checker;
    std::istringstream in(file);
    dp::batch_file_reader(&checker).read_file(in, nullptr);
    return {checker.good, checker.bad};
}

counts checked_by_reference(const std::string& file) {
    dp::batch_file_checker checker;
    std::istringstream in(file);
    test::reference_read_batch(in, [&](auto& entry) { checker.process_entry(entry, nullptr); });
    return {checker.good, checker.bad};
}

// Returns whether the reader and the reference agree; reports a failure if they do not.
bool agrees_with_reference(const std::string& file) {
    if (counted_by_checker(file) != checked_by_reference(file)) {
        ADD_FAILURE() << "counted different good and bad lines in:\n" << shown(file);
        return false;
    }
    const auto actual = read(file);
    const auto expected = reference(file);
    if (actual == expected) {
        return true;
    }
    ADD_FAILURE() << "read " << actual.size() << " entries instead of " << expected.size()
                  << ", or different ones, from:\n"
                  << shown(file);
    return false;
}

// Generates files of well-formed and malformed lines.
class line_maker {
  public:
    explicit line_maker(unsigned seed) : random_(seed) {}

    std::string file() {
        std::string text;
        for (auto lines = below(9); lines > 0; --lines) {
            text += line() + (below(12) == 0 ? "\r\n" : "\n");
        }
        if (below(4) == 0 && !text.empty()) {
            text.pop_back();
        }
        if (below(2) == 0) {
            mangle(text);
        }
        return text;
    }

  private:
    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    std::string one_of(const std::vector<std::string>& all) {
        return all[below(static_cast<unsigned>(all.size()))];
    }

    std::string gap() {
        return below(8) == 0 ? one_of({"  ", "\t", "\v", "\f", "\r", " \t ", ""}) : " ";
    }

    std::string value() {
        std::string text = below(16) == 0 ? one_of({"", "x", "\\", "\\\""}) : "\"";
        for (auto length = below(8); length > 0; --length) {
            text +=
                one_of({"a", "b", " ", "\\\"", "\\\\", "\\x", "#", "\t", "'", "\xC3\xA4", "\0"s});
        }
        return text + (below(16) == 0 ? "" : "\"");
    }

    std::string line() {
        switch (below(16)) {
            case 0:
                return "";
            case 1:
                return "# 0 0 t set A.B \"\" \"\"";
            case 2:
                return std::string(below(5), below(4) == 0 ? '\t' : ' ');
            case 3:
                return " # 0 0 t set A.B \"\" \"\"";
            default:
                break;
        }
        std::vector<std::string> items{
            one_of({"0", "255", "16", "x", "-1"}),
            one_of({"0", "1", "100", "4294967295"}),
            one_of({"t", "<cim-1>", "<tid>"}),
            one_of({"set", "setv", "get", "command", "command import", "command ", "commands"}),
            one_of({"A.B", "A.B.3", "A.B.C.3", "B", ".", "..", "A.", "\"A.B\"", "A.B\"x\""}),
            value(),
            value(),
            one_of({"", "", "", "word", "two words", "#", "\"", "\"\""}),
        };
        items.resize(below(4) == 0 ? below(9) : items.size());
        std::string text = below(8) == 0 ? gap() : "";
        for (const auto& item : items) {
            text += item + gap();
        }
        if (below(2) == 0 && !text.empty()) {
            text.pop_back();
        }
        return text;
    }

    void mangle(std::string& text) {
        const std::string bytes = "\"\"\\\\  \n\t\r\v\f\0#.x\xFF"s;
        for (auto times = 1 + below(4); times > 0 && !text.empty(); --times) {
            const auto at = below(static_cast<unsigned>(text.size()));
            switch (below(4)) {
                case 0:
                    text[at] = bytes[below(static_cast<unsigned>(bytes.size()))];
                    break;
                case 1:
                    text.insert(at, 1, bytes[below(static_cast<unsigned>(bytes.size()))]);
                    break;
                case 2:
                    text.erase(at, 1 + below(6));
                    break;
                default:
                    text += text.substr(at, below(40));
                    break;
            }
        }
    }

    std::mt19937 random_;
};

// The entries read from a single line, which the reference must read alike.
std::vector<texts> accepted(const std::string& line) {
    EXPECT_TRUE(agrees_with_reference(line));
    return read(line);
}

}  // namespace

TEST(read_file, passes_on_the_words_and_values_of_a_line) {
    EXPECT_EQ(read("0 7 t1 set A.B.3 \"in\" \"out\"\n"),
              (std::vector<texts>{{"0", "7", "t1", "set", "", "A", "B", "3", "in", "out"}}));
    EXPECT_EQ(
        read("16 7 t1 command import A.B \"in\" \"out\" \n"),
        (std::vector<texts>{{"16", "7", "t1", "command", "import", "A", "B", "", "in", "out"}}));
}

TEST(read_file, passes_on_the_registrar) {
    test::registrar reg;
    collecting_processor collected;
    dp::batch_file_reader reader(&collected);
    std::istringstream in("0 0 t set A.B \"\" \"\"\n0 0 t set A.C \"\" \"\"\n");
    EXPECT_EQ(reader.read_file(in, &reg), 2);
    EXPECT_EQ(collected.registrars, (std::vector<dp::registrar*>{&reg, &reg}));
}

TEST(read_file, skips_comments_empty_lines_and_lines_of_spaces) {
    EXPECT_TRUE(read("").empty());
    EXPECT_TRUE(read("\n").empty());
    EXPECT_TRUE(read("# a comment\n\n   \n#\n# 0 0 t set A.B \"\" \"\"\n ").empty());
}

TEST(read_file, recognizes_comments_in_column_1_only) {
    const auto entries = read(" # 0 t set A.B \"x\" \"y\"\n");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0][0], "#");
}

TEST(read_file, does_not_skip_a_line_of_tabs) {
    const auto entries = read("0 1 t set A.B \"x\" \"y\"\n\t\t\n\r\n");
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[1], (texts{"0", "1", "t", "set", "", "A", "B", "", "", ""}));
    EXPECT_EQ(entries[2], entries[1]);
}

TEST(read_file, accepts_at_most_one_word_after_the_values) {
    const std::string line = R"(0 0 t1 set A.B "x" "y")";
    for (const auto* end : {"", " ", "    ", "\t", "\r", " word", "word", "  word", " #"}) {
        EXPECT_EQ(accepted(line + end).size(), 1U) << '[' << end << ']';
    }
    for (const auto* end : {" two words", "two words", " word\ttoo"}) {
        EXPECT_EQ(accepted(line + end).size(), 0U) << '[' << end << ']';
    }
}

TEST(read_file, drops_a_line_whose_extra_word_is_not_at_its_end) {
    const std::string line = R"(0 0 t1 set A.B "x" "y")";
    for (const auto* end : {" word ", "word ", " word\r", "w "}) {
        EXPECT_EQ(accepted(line + end).size(), 0U) << '[' << end << ']';
    }
}

TEST(read_file, accepts_short_lines) {
    EXPECT_EQ(accepted("0"), (std::vector<texts>{{"0", "", "", "", "", "err", "invalid_setting"}}));
    EXPECT_EQ(accepted("0 1 t get A.B"),
              (std::vector<texts>{{"0", "1", "t", "get", "", "A", "B"}}));
    EXPECT_EQ(accepted("0 1 t get A.B \"x"),
              (std::vector<texts>{{"0", "1", "t", "get", "", "A", "B", "", "x", ""}}));
    EXPECT_EQ(accepted("0 1 t get A.B \"x\" "),
              (std::vector<texts>{{"0", "1", "t", "get", "", "A", "B", "", "x", ""}}));
    EXPECT_EQ(accepted("0 1 t command"),
              (std::vector<texts>{{"0", "1", "t", "command", "", "err", "invalid_setting"}}));
}

TEST(read_file, keeps_the_words_but_not_the_values_of_the_previous_line) {
    const auto entries = read(
        "16 7 t1 command import A.B.3 \"in\" \"out\"\n"
        "0 8\n"
        "5\n"
        "0 9 t2 get C.D\n"
        "0 0 t3 command\n");
    EXPECT_EQ(entries, (std::vector<texts>{
                           {"16", "7", "t1", "command", "import", "A", "B", "3", "in", "out"},
                           {"0", "8", "t1", "command", "import", "A", "B", "3", "", ""},
                           {"5", "8", "t1", "command", "import", "A", "B", "3", "", ""},
                           {"0", "9", "t2", "get", "import", "C", "D", "", "", ""},
                           {"0", "0", "t3", "command", "import", "C", "D", "", "", ""},
                       }));
}

TEST(read_file, keeps_the_words_of_a_dropped_line) {
    const auto entries = read(
        "1 2 dropped command word A.B.3 \"in\" \"out\" two words\n"
        "0\n");
    EXPECT_EQ(
        entries,
        (std::vector<texts>{{"0", "2", "dropped", "command", "word", "A", "B", "3", "", ""}}));
}

TEST(read_file, keeps_nothing_of_a_skipped_line) {
    const auto entries = read("0 1 t set A.B \"x\" \"y\"\n# 9 9 9\n\n0\n");
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[1], (texts{"0", "1", "t", "set", "", "A", "B", "", "", ""}));
}

TEST(read_file, reads_escaped_values) {
    EXPECT_EQ(read(R"(0 0 t set A.B "a\"b\\c" "\x")")[0][8], R"(a"b\c)");
    EXPECT_EQ(read(R"(0 0 t set A.B "a\"b\\c" "\x")")[0][9], "x");
}

TEST(read_file, reads_a_last_line_without_a_newline) {
    EXPECT_EQ(read("0 1 t set A.B \"x\" \"y\"\n0 2 t set A.B \"x\" \"y\"").size(), 2U);
}

TEST(read_file, reads_lines_that_end_with_a_carriage_return) {
    EXPECT_EQ(read("0 1 t set A.B \"x\" \"y\"\r\n"), read("0 1 t set A.B \"x\" \"y\"\n"));
}

TEST(read_file, reads_nothing_from_a_stream_that_failed_or_ended) {
    for (const auto state : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
        std::istringstream in("0 1 t set A.B \"x\" \"y\"\n");
        in.setstate(state);
        EXPECT_TRUE(read(in).empty());
    }
}

TEST(read_file, stops_when_the_processor_ends_or_fails_the_stream) {
    class ending_processor final : public dp::batch_file_intf {
      public:
        ending_processor(std::istream& stream, std::ios::iostate end) : in_(stream), end_(end) {}
        void process_entry(batch_file_entry& entry, dp::registrar*) override {
            details += entry.detail;
            if (entry.detail == "2") {
                in_.setstate(end_);
            }
        }
        std::string details;

      private:
        std::istream& in_;
        std::ios::iostate end_;
    };
    // Lines in the common form, and others.
    for (const char* line_end : {"\n", "  \n", "\n# comment\n\n"}) {
        for (const auto end : {std::ios::failbit, std::ios::badbit, std::ios::eofbit}) {
            std::string file;
            for (const char* detail : {"1", "2", "3", "4"}) {
                file += "0 "s + detail + " t set A.B \"\" \"\"" + line_end;
            }
            std::istringstream in(file);
            ending_processor processor(in, end);
            EXPECT_EQ(dp::batch_file_reader(&processor).read_file(in, nullptr), 2);
            EXPECT_EQ(processor.details, "12");
            EXPECT_EQ(in.rdstate(), end);
        }
    }
}

TEST(read_file, begins_at_the_position_of_the_stream) {
    std::istringstream in("0 1 t set A.B \"x\" \"y\"\n0 2 t set A.B \"x\" \"y\"\n");
    in.seekg(10);
    const auto entries = read(in);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0][0], "A.B");
    EXPECT_EQ(entries[1][1], "2");
}

TEST(read_file, keeps_all_bytes_unchanged) {
    const std::string line = "0\0 \xFF t set A\0.B \"\0\x01\xFE\" \"\xC3\xA4\"\n"s;
    EXPECT_EQ(read(line), (std::vector<texts>{{"0\0"s, "\xFF", "t", "set", "", "A\0"s, "B", "",
                                               "\0\x01\xFE"s, "\xC3\xA4"}}));
}

TEST(read_file, reads_names_of_dots_and_words_of_a_megabyte) {
    const std::string big(1'000'000, 'w');
    const std::string dots(1'000'000, '.');
    EXPECT_EQ(read(big + " 0 t set " + dots + " \"" + big + "\" \"\"\n"),
              (std::vector<texts>{
                  {big, "0", "t", "set", "", "", std::string(999'998, '.'), "", big, ""}}));
    EXPECT_EQ(read("0 0 t set .. \"\" \"\"\n"),
              (std::vector<texts>{{"0", "0", "t", "set", "", "", "", "", "", ""}}));
}

TEST(read_file, logs_each_parsed_line_when_the_mask_contains_4) {
    const std::string file =
        "0 0 t1 set A.B \"in\" \"out\"\n"
        "# comment\n"
        "0 0 t2 set A.B.C.3 \"\" \"out\" two words\n"
        "0 0 t3\n";
    recording_log log(4);
    EXPECT_EQ(read(file).size(), 2U);
    const std::string begin = " batch_file_reader::read_file, tid=";
    EXPECT_EQ(log.lines, (std::vector<recording_log::line>{
                             {"LOG", begin + "t1, setting_name=B, setting_value_in=in"},
                             {"LOG", begin + "t2, setting_name=B.C.3, setting_value_in="},
                             {"LOG", begin + "t3, setting_name=B.C.3, setting_value_in="},
                         }));
    log.mask_value = ~4U;
    log.lines.clear();
    EXPECT_EQ(read(file).size(), 2U);
    EXPECT_TRUE(log.lines.empty());
}

TEST(read_file, agrees_with_stream_extraction_on_generated_and_mangled_files) {
    line_maker maker(99);
    std::size_t entries = 0;
    const int files = test::rounds(20'000);
    for (int i = 0; i < files; ++i) {
        const std::string file = maker.file();
        if (!agrees_with_reference(file)) {
            return;
        }
        entries += read(file).size();
    }
    EXPECT_GT(entries, 2U * static_cast<unsigned>(files)) << "the files contain too few entries";
}

TEST(read_file, agrees_with_stream_extraction_on_random_bytes) {
    std::mt19937 random(3);
    for (int i = 0; i < test::rounds(5'000); ++i) {
        std::string file;
        for (auto length = random() % 300; length > 0; --length) {
            file +=
                random() % 3 == 0 ? static_cast<char>(random() % 256) : "\" \\\n#."[random() % 6];
        }
        if (!agrees_with_reference(file)) {
            return;
        }
    }
}

TEST(read_file, agrees_with_stream_extraction_on_every_part_of_a_line) {
    const std::string line = "0 7 t1 command import A.B.3 \"a\\\"b\" \"c\\\\\" word\r";
    for (std::size_t end = 0; end <= line.size(); ++end) {
        for (std::size_t begin = 0; begin <= end; ++begin) {
            if (!agrees_with_reference("9 9 t9 set C.D \"\" \"\"\n" +
                                       line.substr(begin, end - begin))) {
                return;
            }
        }
    }
}

TEST(read_file, reads_a_million_lines) {
    std::string file;
    for (int i = 0; i < 1'000'000; ++i) {
        file += "0 " + std::to_string(i) + " t set A.B.1 \"v\" \"\" \n";
    }
    class counting_processor final : public dp::batch_file_intf {
      public:
        void process_entry(batch_file_entry& entry, dp::registrar*) override {
            in_order = in_order && entry.detail == std::to_string(count++);
        }
        int count = 0;
        bool in_order = true;
    } counted;
    dp::batch_file_reader reader(&counted);
    std::istringstream in(file);
    const double bound = 100 * test::cost_of_100_000_calls();
    const test::cpu_time used;
    EXPECT_EQ(reader.read_file(in, nullptr), 1'000'000);
    EXPECT_LT(used.seconds(), bound);
    EXPECT_TRUE(counted.in_order);
}

namespace {

class decompress : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    void TearDown() override { test::decompressor_script = nullptr; }

    const std::string path = test::root() + "/tmp/dp/batch";
    collecting_processor collected;
    dp::batch_file_reader reader{&collected};
};

}  // namespace

TEST_F(decompress, copies_a_plain_file) {
    std::string every_byte = "0 0 t set A.B \"\" \"\"\r\n";
    for (int i = 0; i < 100'000; ++i) {
        every_byte += static_cast<char>(i * 7);
    }
    test::write_file(path, every_byte);
    std::stringstream out;
    EXPECT_TRUE(reader.decompress(path, out));
    EXPECT_EQ(out.str(), every_byte);
}

TEST_F(decompress, writes_nothing_for_an_empty_file_and_leaves_the_output_good) {
    test::write_file(path, "");
    std::stringstream out;
    EXPECT_TRUE(reader.decompress(path, out));
    EXPECT_EQ(out.str(), "");
    EXPECT_TRUE(out.good());
}

TEST_F(decompress, writes_the_plain_text_of_a_compressed_file) {
    test::write_file(path, "compressed");
    test::decompressor_script = [](std::istream& in) {
        std::string word;
        in >> word;
        const std::string plain = word == "compressed" ? "0 0 t set A.B \"x\" \"\"\n\0\xFF"s : "";
        return std::vector<unsigned char>(plain.begin(), plain.end());
    };
    std::stringstream out;
    EXPECT_TRUE(reader.decompress(path, out));
    EXPECT_EQ(out.str(), "0 0 t set A.B \"x\" \"\"\n\0\xFF"s);
    EXPECT_EQ(reader.read_file(out, nullptr), 2);
    EXPECT_EQ(collected.entries[0][8], "x");
}

TEST_F(decompress, passes_the_whole_file_to_the_decompressor) {
    test::write_file(path, "whole\nfile");
    std::string seen;
    test::decompressor_script = [&](std::istream& in) {
        std::ostringstream copy;
        copy << in.rdbuf();
        seen = copy.str();
        in.setstate(std::ios::badbit);
        return std::vector<unsigned char>();
    };
    std::stringstream out;
    EXPECT_TRUE(reader.decompress(path, out));
    EXPECT_EQ(seen, "whole\nfile");
    EXPECT_EQ(out.str(), "whole\nfile") << "in any state that the decompressor leaves";
}

TEST_F(decompress, fails_only_for_a_file_that_cannot_be_opened) {
    bool called = false;
    test::decompressor_script = [&](std::istream&) {
        called = true;
        return std::vector<unsigned char>();
    };
    std::stringstream out;
    EXPECT_FALSE(reader.decompress(path, out));
    EXPECT_FALSE(reader.decompress("", out));
    EXPECT_FALSE(called);
    EXPECT_EQ(out.str(), "");
}

TEST_F(decompress, closes_the_file_when_the_decompressor_throws) {
    test::write_file(path, "x");
    test::decompressor_script = [](std::istream&) -> std::vector<unsigned char> {
        throw std::runtime_error("out of order");
    };
    const auto before = test::open_descriptors();
    std::stringstream out;
    EXPECT_THROW(reader.decompress(path, out), std::runtime_error);
    EXPECT_EQ(test::open_descriptors(), before);
    EXPECT_EQ(out.str(), "");
}

TEST_F(decompress, keeps_no_file_open) {
    test::write_file(path, "x");
    const auto before = test::open_descriptors();
    std::stringstream out;
    EXPECT_TRUE(reader.decompress(path, out));
    EXPECT_EQ(test::open_descriptors(), before);
}

namespace {

// The outcomes of the lines of a file, in order.
class line_outcomes final : public dp::batch_file_intf, public dp::dropped_line_listener {
  public:
    void process_entry(batch_file_entry& entry, dp::registrar*) override {
        all.push_back("processed " + entry.value_in);
    }
    void on_dropped_line(std::string_view line) override {
        all.push_back("dropped " + std::string(line));
    }
    std::vector<std::string> all;
};

std::vector<std::string> outcomes_of(const std::string& file,
                                     std::uint32_t longest_line = 0xFFFFFFFF) {
    line_outcomes outcomes;
    dp::batch_file_reader reader(&outcomes);
    std::istringstream in(file);
    reader.read_file_reporting_dropped_lines(in, nullptr, outcomes, longest_line);
    return outcomes.all;
}

}  // namespace

TEST(read_file_reporting_dropped_lines, reports_dropped_lines_between_the_processed_ones) {
    EXPECT_EQ(outcomes_of("0 1 t set A.B \"1\" \"\" two words\n"
                          "0 2 t set A.B \"2\" \"\"\n"
                          "0 3 t set A.B \"3\" \"\" x y\n"
                          "# 0 9 t set A.B \"9\" \"\" x y\n"
                          "\n   \n"
                          "0 4 t set A.B \"a\"b\" \"\" \n"
                          "0 5 t set A.B \"5\" \"\"\n"
                          "0 6 t set A.B \"6\" \"\" x y"),
              (std::vector<std::string>{"dropped 0 1 t set A.B \"1\" \"\" two words", "processed 2",
                                        "dropped 0 3 t set A.B \"3\" \"\" x y",
                                        "dropped 0 4 t set A.B \"a\"b\" \"\" ", "processed 5",
                                        "dropped 0 6 t set A.B \"6\" \"\" x y"}));
}

TEST(read_file_reporting_dropped_lines, processes_what_read_file_processes) {
    const std::string file =
        "# comment\n\n   \n0 1 t set A.B \"1\" \"\"\n0 2\n  # 3 t set A.B \"3\" \"\"\n"
        "1 2 t command word A.B \"x\" \"\" two words\n0 4 t set A.B \"4\" \"\"";
    collecting_processor collected;
    line_outcomes outcomes;
    test::registrar reg;
    std::istringstream in(file);
    EXPECT_EQ(dp::batch_file_reader(&collected)
                  .read_file_reporting_dropped_lines(in, &reg, outcomes, 0xFFFFFFFF),
              4);
    EXPECT_EQ(collected.entries, read(file));
    EXPECT_EQ(collected.registrars, std::vector<dp::registrar*>(4, &reg));
    EXPECT_EQ(outcomes.all.size(), 1U);
}

TEST(read_file_reporting_dropped_lines, drops_a_line_beyond_the_limit_and_reports_its_beginning) {
    const std::string fits = R"(0 7 t set A.B "1234" "")";
    const auto limit = static_cast<std::uint32_t>(fits.size());
    // In the common form, in another form, at the end of the file, and longer than any buffer.
    for (const std::string& extra : {" "s, "  "s, "x"s, std::string(100'000, 'x')}) {
        for (const std::string end : {"\n0 8 t set A.B \"next\" \"\"", ""}) {
            std::vector<std::string> expected{"processed 1234", "dropped " + fits};
            if (!end.empty()) {
                expected.emplace_back("processed next");
            }
            EXPECT_EQ(outcomes_of(fits + "\n" + fits + extra + end, limit), expected)
                << extra.size();
        }
    }
}

TEST(read_file_reporting_dropped_lines, keeps_no_words_of_a_line_beyond_the_limit) {
    EXPECT_EQ(
        outcomes_of("0 1 t set A.B \"1\" \"\"\n9 9 other get C.D \"23456789\" \"\"\n0", 22),
        (std::vector<std::string>{"processed 1", "dropped 9 9 other get C.D \"234", "processed "}));
}

TEST(read_file_reporting_dropped_lines, skips_long_comments_and_long_lines_of_spaces) {
    EXPECT_EQ(outcomes_of("#" + std::string(200, 'x') + "\n" + std::string(200, ' ') + "\n", 100),
              std::vector<std::string>{});
}

TEST(read_file_reporting_dropped_lines, needs_no_memory_for_a_line_beyond_the_limit) {
    // A line of 1 GiB, made as it is read.
    class endless_line final : public std::streambuf {
      public:
        std::size_t left = std::size_t{1} << 30;

      protected:
        int_type underflow() override {
            if (left == 0) {
                return traits_type::eof();
            }
            left -= piece_.size();
            setg(piece_.data(), piece_.data(), piece_.data() + piece_.size());
            return traits_type::to_int_type(piece_.front());
        }

      private:
        std::string piece_ = std::string(std::size_t{1} << 20, 'x');
    };
    endless_line bytes;
    std::istream in(&bytes);
    line_outcomes outcomes;
    EXPECT_EQ(dp::batch_file_reader(&outcomes).read_file_reporting_dropped_lines(in, nullptr,
                                                                                 outcomes, 1000),
              0);
    EXPECT_EQ(bytes.left, 0U);
    EXPECT_EQ(outcomes.all, std::vector<std::string>{"dropped " + std::string(1000, 'x')});
}

TEST(read_file_reporting_dropped_lines, reads_nothing_without_a_processor) {
    line_outcomes outcomes;
    std::istringstream in("0 1 t set A.B \"1\" \"\" two words\n");
    EXPECT_EQ(dp::batch_file_reader().read_file_reporting_dropped_lines(in, nullptr, outcomes, 10),
              0);
    EXPECT_TRUE(outcomes.all.empty());
}
