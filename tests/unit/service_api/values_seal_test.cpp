#include "service_api/values_seal.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "service_api/fnv1a_64.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/sealed_values.hpp"

namespace {

using dp_service::values_seal::completeness;
using dp_service::values_seal::examine;
using dp_service::values_seal::version_of;

const std::string lines =
    "0 0 uefi set A.Mode \"x\" \"\" \n0 0 uefi set A.Text \"# dp-values end\" \"\" \n";

completeness found(const std::string& text) {
    return examine(text).found;
}

TEST(values_seal_test, the_last_line_has_the_count_and_the_hash_of_all_bytes_before_it) {
    const std::string text = "first\nsecond\n";
    dp_service::fnv1a_64 hash;
    hash.add(text);
    EXPECT_EQ(dp_service::values_seal::end_line(text, 12), "# dp-values end 12 " + hash.str());
}

TEST(values_seal_test, a_sealed_text_is_complete_and_its_version_is_its_hash) {
    const std::string text = test::sealed(lines);
    const auto examined = examine(text);
    EXPECT_EQ(examined.found, completeness::sealed) << examined.problem;
    EXPECT_EQ(text.substr(text.size() - 17, 16), examined.version);
    EXPECT_EQ(found(test::sealed("")), completeness::sealed);
    EXPECT_NE(examine(test::sealed("")).version, examined.version);
}

TEST(values_seal_test, the_format_is_the_documented_one) {
    EXPECT_EQ(test::sealed("0 0 uefi set Boot.Mode \"Uefi\" \"\" \n"),
              "# dp-values begin: the last line proves that this file is complete\n"
              "0 0 uefi set Boot.Mode \"Uefi\" \"\" \n"
              "# dp-values end 1 3db578f79e48135d\n");
}

TEST(values_seal_test, every_cut_of_a_sealed_text_is_damaged) {
    const std::string text = test::sealed(lines);
    // Without its final newline alone, the file lost nothing.
    EXPECT_EQ(found(text.substr(0, text.size() - 1)), completeness::sealed);
    for (std::size_t size = 0; size + 1 < text.size(); ++size) {
        EXPECT_EQ(found(text.substr(0, size)), completeness::damaged) << size;
    }
    for (std::size_t begin = 1; begin < text.size() - 1; ++begin) {
        EXPECT_EQ(found(text.substr(begin)), completeness::damaged) << begin;
    }
}

TEST(values_seal_test, every_changed_byte_of_a_sealed_text_is_noticed) {
    const std::string text = test::sealed(lines);
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        for (const char other : {'\0', '\n', '"', '#', 'x'}) {
            std::string changed = text;
            changed[i] = other;
            if (changed != text) {
                EXPECT_EQ(found(changed), completeness::damaged) << i << ' ' << other;
            }
        }
    }
}

TEST(values_seal_test, a_line_after_the_last_one_is_damage) {
    EXPECT_EQ(found(test::sealed(lines) + "0 0 t set A.Late \"1\" \"\"\n"), completeness::damaged);
    EXPECT_EQ(found(test::sealed(lines) + test::sealed(lines)), completeness::damaged);
}

TEST(values_seal_test, a_text_without_seal_is_accepted_when_every_line_is_complete) {
    EXPECT_EQ(found(lines), completeness::unsealed);
    EXPECT_EQ(found("# by hand\n\n  \n0 7 t setv A.B.1 \"1\"\n"), completeness::unsealed);
    EXPECT_NE(examine(lines).version, examine(lines + lines).version);
    for (const char* const text :
         {"", "\n", "# only a comment\n", "0 0 t set A.B \"5", "0 0 t set A.B \"50\" \"\"",
          "0 0 t set A.B\n", "0 0 t get A.B \"\" \"\"\n", "0 0 t set A. \"1\" \"\"\n",
          "0 0 t set A.B \"1\" \"\" two words\n", "0 0 t set A.B \"1\" \"\"\nA.C \"1\" \"\"\n"}) {
        EXPECT_EQ(found(text), completeness::damaged) << text;
    }
    EXPECT_EQ(examine("0 0 t set A.B \"1\" \"\"\n0 0 t").problem, "its last line is incomplete");
    EXPECT_EQ(examine("0 0 t set A.B \"1\" \"\"\n\nx\n").problem,
              "its line 3 is not a set command");
    EXPECT_EQ(found(std::string(4096, '\0')), completeness::damaged);
    EXPECT_EQ(found("0 0 t set A.B" + std::string(100, '\0') + " \"1\" \"\"\n"),
              completeness::damaged);
}

class values_version_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
    std::string path = test::root() + "/values";
};

TEST_F(values_version_test, is_that_of_the_text) {
    test::write_file(path, test::sealed(lines));
    EXPECT_EQ(version_of(path), examine(test::sealed(lines)).version);
    test::write_file(path, lines);
    EXPECT_EQ(version_of(path), examine(lines).version);
}

TEST_F(values_version_test, files_that_cannot_be_used_have_none) {
    EXPECT_EQ(version_of(path), std::nullopt);
    test::write_file(path, "damaged");
    EXPECT_EQ(version_of(path), std::nullopt);
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(version_of(path), std::nullopt);
}

TEST_F(values_version_test, files_that_are_or_would_become_too_large_are_not_read) {
    test::write_file(path, test::sealed(lines));
    const off_t limit = dp_service::values_seal::size_limit;
    ASSERT_EQ(truncate(path.c_str(), limit + 1), 0);
    EXPECT_EQ(version_of(path), std::nullopt);
    // The header of an image whose text has 0x0F000000 bytes.
    test::write_file(path, std::string("\x04\0\0\0\0\0\0\x0F", 8) + "data");
    EXPECT_EQ(version_of(path), std::nullopt);
}

}  // namespace
