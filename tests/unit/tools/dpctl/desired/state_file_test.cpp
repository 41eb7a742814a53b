#include "tools/dpctl/desired/state_file.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/scratch_files.hpp"

namespace dpctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using kinds = state_entry::kinds;

std::vector<std::string> entries_of(const state_file& state) {
    std::vector<std::string> texts;
    for (const auto& entry : state.entries) {
        const char* const kind = entry.kind == kinds::text      ? ""
                                 : entry.kind == kinds::boolean ? " (boolean)"
                                                                : " (number)";
        texts.push_back(std::to_string(entry.line) + ' ' + entry.name + '=' + entry.value + kind);
    }
    return texts;
}

std::vector<std::string> problems_of(const state_file& state) {
    std::vector<std::string> texts;
    for (const auto& problem : state.problems) {
        texts.push_back(state.place_of(problem.line) + problem.message);
    }
    return texts;
}

TEST(parse_state, reads_json_as_redfish_writes_it) {
    const auto state = parse_state("s", R"({
  "@odata.id": "/redfish/v1/Systems/1/Bios",
  "RegistryVersion": "1.4.2",
  "BuildId": null,
  "Attributes": {
    "Boot.Mode": "UEFI", "Delay": 15,
    "SrIov": true, "Ari": false,
    "Big": 123456789012345678901234567890, "Tag": ""
  }
})");
    EXPECT_THAT(problems_of(state), IsEmpty());
    EXPECT_EQ(state.registry_version, "1.4.2");
    EXPECT_EQ(state.build_id, "");
    EXPECT_THAT(entries_of(state),
                ElementsAre("6 Boot.Mode=UEFI", "6 Delay=15 (number)", "7 SrIov=true (boolean)",
                            "7 Ari=false (boolean)",
                            "8 Big=123456789012345678901234567890 (number)", "8 Tag="));
}

TEST(parse_state, reads_lines) {
    const auto state = parse_state("s",
                                   "# a comment\n"
                                   "Boot.Mode=UEFI\r\n"
                                   "\n"
                                   "  Delay = 15\n"
                                   "Tag=a=b # kept ");
    EXPECT_THAT(problems_of(state), IsEmpty());
    EXPECT_THAT(entries_of(state),
                ElementsAre("2 Boot.Mode=UEFI", "4 Delay= 15", "5 Tag=a=b # kept "));
}

TEST(parse_state, accepts_a_byte_order_mark) {
    EXPECT_THAT(entries_of(parse_state("s", "\xEF\xBB\xBF{\"Attributes\": {\"A\": \"1\"}}")),
                ElementsAre("1 A=1"));
    EXPECT_THAT(entries_of(parse_state("s",
                                       "\xEF\xBB\xBF"
                                       "A=1")),
                ElementsAre("1 A=1"));
}

TEST(parse_state, takes_bytes_that_are_not_utf8_from_a_member_beside_the_value) {
    const auto state = parse_state("f", R"({"Attributes": {
"A_bytes": "61fF", "A": "a\ufffd", "B": "b", "B_bytes": "62", "C": "\ufffd", "C_bytes": "6x"}})");
    EXPECT_THAT(problems_of(state), IsEmpty());
    EXPECT_THAT(entries_of(state), ElementsAre("2 A=a\xff", "2 B=b", "2 B_bytes=62",
                                               "2 C=\xEF\xBF\xBD", "2 C_bytes=6x"));
}

TEST(parse_state, takes_an_empty_text_for_a_mistake) {
    EXPECT_THAT(problems_of(parse_state("f", "")), ElementsAre("f: is empty"));
    EXPECT_THAT(problems_of(parse_state("f", " \r\n")), ElementsAre("f: is empty"));
    EXPECT_THAT(problems_of(parse_state("f", "# nothing\n")), IsEmpty());
    EXPECT_THAT(problems_of(parse_state("f", "{\"Attributes\": {}}")), IsEmpty());
}

TEST(parse_state, reports_malformed_json_with_its_line) {
    const auto problems = problems_of(parse_state("f.json", "{\n \"Attributes\": {\n  \"A\" 1}}"));
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_THAT(problems[0], testing::StartsWith("f.json:3: is not JSON: "));
    EXPECT_THAT(problems_of(parse_state("f", "{\"Attributes\": {\"A\": \"1\"}")), SizeIs(1));
    EXPECT_THAT(problems_of(parse_state("f", "{} {}")), SizeIs(1));
}

TEST(parse_state, reports_every_wrong_member_and_keeps_the_others) {
    const auto state = parse_state("f", R"({"Attributes": {
"A": "1",
"B": null,
"C": [1],
"A": "2",
"D": {}
}, "BuildId": 7})");
    EXPECT_THAT(problems_of(state),
                ElementsAre("f:7: \"BuildId\" is a number, not a text", "f:5: \"A\" is given twice",
                            "f:3: \"B\" is null, not a value", "f:4: \"C\" is a list, not a value",
                            "f:6: \"D\" is an object, not a value"));
    EXPECT_THAT(entries_of(state), ElementsAre("2 A=1"));
}

TEST(parse_state, reports_json_that_is_not_a_state) {
    EXPECT_THAT(problems_of(parse_state("f", "[1]")), ElementsAre("f:1: is a list, not an object"));
    EXPECT_THAT(problems_of(parse_state("f", "{\"A\": \"1\"}")),
                ElementsAre("f:1: has no \"Attributes\""));
    EXPECT_THAT(problems_of(parse_state("f", "{\"Attributes\": {}, \"ReadOnlyAttributes\": 1}")),
                ElementsAre("f:1: \"ReadOnlyAttributes\" is a number, not an object"));
    EXPECT_THAT(problems_of(parse_state("f", "{\"Attributes\": \"x\"}")),
                ElementsAre("f:1: \"Attributes\" is a text, not an object"));
}

TEST(parse_state, reports_lines_that_are_not_assignments) {
    const auto state = parse_state("f", "A=1\nnonsense\n=5\nB=2\n");
    EXPECT_THAT(problems_of(state), ElementsAre("f:2: \"nonsense\" is not NAME=VALUE",
                                                "f:3: \"=5\" is not NAME=VALUE"));
    EXPECT_THAT(entries_of(state), ElementsAre("1 A=1", "4 B=2"));
}

class read_state_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    const std::string path_ = test::root() + "/state";
};

TEST_F(read_state_test, reads_a_file) {
    test::write_file(path_, "A=1\n");
    const auto state = read_state(path_);
    ASSERT_TRUE(state) << state.reason();
    EXPECT_EQ(state->source, path_);
    EXPECT_THAT(entries_of(*state), ElementsAre("1 A=1"));
}

TEST_F(read_state_test, refuses_what_is_not_a_file_of_bounded_size) {
    EXPECT_THAT(read_state(path_).reason(), HasSubstr("No such file"));
    EXPECT_EQ(read_state(test::root()).reason(), test::root() + ": is not a file");
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    EXPECT_EQ(read_state(path_).reason(), path_ + ": is not a file");
    std::filesystem::remove(path_);
    test::write_file(path_, "");
    std::filesystem::resize_file(path_, 100'000'000);
    EXPECT_THAT(read_state(path_).reason(), HasSubstr(path_ + ": is larger than 16777216 bytes"));
}

}  // namespace
}  // namespace dpctl
