#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST(dpctl_vet, shows_how_an_accepted_line_is_interpreted) {
    const auto result = test::run_program("dpctl", {"vet", "ls \"a b\" 2>&1 > list"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "accepted\n"
              "  Parameter 0   \"ls\"\n"
              "  Parameter 1   \"a b\"\n"
              "  Redirection   standard error to standard output\n"
              "  Redirection   standard output to the file \"list\" (overwritten)\n"
              "  Flag          0x14: standard output to a file, standard error to standard "
              "output\n");
}

TEST(dpctl_vet, shows_the_reason_of_a_refusal_and_the_accepted_part) {
    const auto result = test::run_program("dpctl", {"vet", "sort names | head"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "dpctl: refused: pipe is not supported\n");
    EXPECT_EQ(result.out,
              "Before the refusal:\n"
              "  Parameter 0   \"sort\"\n"
              "  Parameter 1   \"names\"\n");
}

TEST(dpctl_vet, shows_the_examined_part_of_the_line) {
    EXPECT_THAT(test::run_program("dpctl", {"vet", "ls &&"}).out,
                HasSubstr("accepted\n  Examined      \"ls &\"\n"));
}

TEST(dpctl_vet, runs_nothing_and_touches_no_file) {
    test::clean_root();
    const std::string kept = test::root() + "/kept";
    test::write_file(kept, "as it was");
    for (const std::string& line :
         {"touch " + test::root() + "/made", "echo x > " + test::root() + "/made",
          "echo x > " + kept, "echo $(touch " + test::root() + "/made)"}) {
        EXPECT_EQ(test::run_program("dpctl", {"vet", line}).exit_code, 0) << line;
    }
    EXPECT_FALSE(std::filesystem::exists(test::root() + "/made"));
    EXPECT_EQ(test::read_file(kept), "as it was");
}

TEST(dpctl_vet, prints_a_document_as_json) {
    auto result = test::run_program("dpctl", {"vet", "a >>f", "--json"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(json::parse(result.out), json::parse(R"({"command": "a >>f", "accepted": true,
                  "looked_at": "a >>f", "parameters": ["a"], "redirections":
                  [{"source": "1", "target": "f", "append": true}], "flag": 4,
                  "reason": null})"));
    result = test::run_program("dpctl", {"vet", "a | b", "--json"});
    EXPECT_EQ(result.exit_code, 1);
    const json refused = json::parse(result.out);
    EXPECT_EQ(refused["accepted"], false);
    EXPECT_EQ(refused["flag"], nullptr);
    EXPECT_EQ(refused["reason"], "pipe is not supported");
    EXPECT_EQ(refused["errors"], json({"refused: pipe is not supported"}));
}

TEST(dpctl_vet, shows_no_raw_control_bytes) {
    const auto result = test::run_program("dpctl", {"vet", "a\x1b[2J\x07 \xff"});
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
    EXPECT_THAT(result.out, HasSubstr("a\\x1b[2J\\x07"));
    const auto document = test::run_program("dpctl", {"vet", "a\x1b \xff", "--json"});
    EXPECT_TRUE(json::accept(document.out)) << document.out;
}

}  // namespace
