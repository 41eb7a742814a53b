#include "batch/batch_file_checker.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "batch/batch_file_reader.hpp"

namespace {

dp::batch_file_checker checked(const std::string& file) {
    dp::batch_file_checker checker;
    dp::batch_file_reader reader(&checker);
    std::istringstream in(file);
    reader.read_file(in, nullptr);
    return checker;
}

bool is_good(const std::string& line) {
    const auto checker = checked(line);
    EXPECT_EQ(checker.good + checker.bad, 1U) << line;
    return checker.good == 1;
}

}  // namespace

TEST(batch_file_checker, counts_clean_set_commands_as_good) {
    EXPECT_TRUE(is_good(R"(0 0 t set A.B "1" "")"));
    EXPECT_TRUE(is_good(R"(0 0 t setv A.B.3 "1" "x")"));
    EXPECT_TRUE(is_good(R"(0 0 t set B "1" "")")) << "the configuration is \"err\", not empty";
    EXPECT_TRUE(is_good("0 0 t set")) << "as in a line without a name";
}

TEST(batch_file_checker, counts_other_entries_as_bad) {
    for (const char* line :
         {R"(0 1 t set A.B "1" "")", R"(1 0 t set A.B "1" "")", R"(00 0 t set A.B "1" "")",
          R"(0 00 t set A.B "1" "")", R"(0 0 t get A.B "" "")", R"(0 0 t getv A.B "" "")",
          R"(0 0 t delete A.B "" "")", R"(0 0 t Set A.B "1" "")",
          R"(0 0 t command import A.B "" "")", R"(0 0 t set .B "1" "")", R"(0 0 t set A. "1" "")",
          R"(0 0 t set . "1" "")", "0"}) {
        EXPECT_FALSE(is_good(line)) << line;
    }
}

TEST(batch_file_checker, counts_all_accepted_lines_from_0) {
    const auto checker = checked(
        "# comment\n"
        "0 0 t set A.B \"1\" \"\"\n"
        "\n"
        "0 0 t get A.B \"\" \"\"\n"
        "0 0 t setv A.B \"1\" \"\"\n"
        "0 0 t set A.B \"1\" \"\" dropped line\n");
    EXPECT_EQ(checker.good, 2U);
    EXPECT_EQ(checker.bad, 1U);
    EXPECT_EQ(checked("").good, 0U);
    EXPECT_EQ(checked("").bad, 0U);
}
