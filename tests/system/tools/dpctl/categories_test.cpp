#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using nlohmann::json;
using testing::IsEmpty;
using testing::SizeIs;

class dpctl_categories : public testing::Test {
  protected:
    dpctl_categories() {
        test::clean_root();
        std::filesystem::create_directories(test::root() + "/tmp/DS");
    }

    static test::program_result categories(std::vector<std::string> more = {}) {
        more.insert(more.begin(), "categories");
        return test::run_program("dpctl", more);
    }

    const std::string file_ = test::root() + "/tmp/DS/uim_ras_category_mapping.cfg";
};

TEST_F(dpctl_categories, lists_the_table_in_the_order_of_the_file) {
    test::write_file(file_,
                     "# number = name :: meaning\n"
                     "12 = Fan :: Fan failure\n"
                     " 5 = Not :: this\n"
                     "3 = Memory :: Memory errors\n"
                     "3 = Memory :: again\n");
    const auto result = categories();
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "NUMBER  NAME    MEANING\n"
              "12      Fan     Fan failure\n"
              "3       Memory  Memory errors\n"
              "3       Memory  again\n");
    const json document = json::parse(categories({"--json"}).out);
    EXPECT_EQ(document["file"], file_);
    ASSERT_THAT(document["categories"], SizeIs(3));
    EXPECT_EQ(document["categories"][0],
              json::parse(R"({"number": 12, "name": "Fan", "meaning": "Fan failure"})"));
}

TEST_F(dpctl_categories, lists_thousands_of_categories) {
    std::string lines;
    for (int i = 0; i < 3000; ++i) {
        lines += std::to_string(i) + " = N" + std::to_string(i) + " :: M\n";
    }
    test::write_file(file_, lines);
    const json document = json::parse(categories({"--json"}).out);
    ASSERT_THAT(document["categories"], SizeIs(3000));
    EXPECT_EQ(document["categories"][2999]["name"], "N2999");
}

TEST_F(dpctl_categories, reports_an_empty_or_missing_file) {
    auto result = categories();
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "There are no event categories: " + file_ + " does not exist.\n");
    EXPECT_THAT(json::parse(categories({"--json"}).out)["categories"], IsEmpty());

    test::write_file(file_, "# nothing yet\n");
    result = categories();
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "There are no event categories: " + file_ +
                              " has no line such as \"3 = Memory :: Memory errors\".\n");
}

TEST_F(dpctl_categories, fails_if_the_file_is_a_folder) {
    std::filesystem::create_directory(file_);
    const auto result = categories();
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "dpctl: " + file_ + ": is not a file\n");
    EXPECT_THAT(json::parse(categories({"--json"}).out)["errors"], SizeIs(1));
}

TEST_F(dpctl_categories, does_not_wait_for_a_pipe) {
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    const auto result = categories();
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "dpctl: " + file_ + ": is not a file\n");
}

TEST_F(dpctl_categories, fails_without_permission_to_read_the_file) {
    test::write_file(file_, "3 = Memory :: Memory errors\n");
    std::filesystem::permissions(file_, std::filesystem::perms::none);
    std::filesystem::permissions(test::root(), std::filesystem::perms(0755));
    const auto result = test::run_program_unprivileged("dpctl", {"categories"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "dpctl: cannot read " + file_ + ": permission denied: run as root\n");
}

TEST_F(dpctl_categories, shows_no_raw_control_bytes_from_the_file) {
    test::write_file(file_, "3 = Mem\x1b[2J :: \xff\x07\n");
    const auto result = categories();
    EXPECT_EQ(result.out,
              "NUMBER  NAME        MEANING\n"
              "3       Mem\\x1b[2J  \\xff\\x07\n");
    EXPECT_TRUE(json::accept(categories({"--json"}).out));
}

}  // namespace
