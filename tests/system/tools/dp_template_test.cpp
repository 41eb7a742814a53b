#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/system/tools/tool_test.hpp"

namespace {

using test::run_program;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class dp_template : public test::tool_test {};

TEST_F(dp_template, writes_all_files_and_prints_a_summary) {
    const auto result = run_program("dp-template", {test::sample_registry, "-o", "u.efi",
                                                    "--settings", "s.txt", "--current", "c.txt"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.out, testing::MatchesRegex("154 attributes in 11 collections \\(System 12, "
                                                  ".*\\), template [0-9]+ bytes for [0-9]+ of "
                                                  "text, 1 password left out\n"));
    EXPECT_THAT(result.err, HasSubstr(": notice: /RegistryEntries/Attributes/"));
    EXPECT_EQ(read("s.txt"), read("c.txt"));
    EXPECT_LT(read("u.efi").size() * 4, std::filesystem::file_size(test::sample_registry));
    EXPECT_THAT(temporary_files("."), IsEmpty());
}

TEST_F(dp_template, writes_the_registry_beside_the_template) {
    write("r.json", test::small_registry);
    const std::string kept =
        R"({"RegistryEntries":{"Attributes":[{"AttributeName":"A","Type":"String",)"
        R"("DefaultValue":"v","MenuPath":"./Boot"}]}})"
        "\n";
    std::filesystem::create_directory(path("out"));
    ASSERT_EQ(run_program("dp-template", {"r.json", "-o", "out/u.efi"}).exit_code, 0);
    EXPECT_EQ(read("out/uefi_registry.json"), kept);
    ASSERT_EQ(
        run_program("dp-template", {"r.json", "-o", "u.efi", "--registry", "k.json"}).exit_code, 0);
    EXPECT_EQ(read("k.json"), kept);
    EXPECT_FALSE(exists("uefi_registry.json"));
    EXPECT_EQ(run_program("dp-template", {"r.json", "-o", "/dev/null"}).exit_code, 0);
    EXPECT_FALSE(std::filesystem::exists("/dev/uefi_registry.json"));
}

TEST_F(dp_template, reports_dependencies_that_cannot_be_evaluated_and_keeps_them) {
    write("r.json", R"({"RegistryEntries": {"Attributes": [
  {"AttributeName": "A", "Type": "String", "DefaultValue": "v"}], "Dependencies": [
  {"Dependency": {"MapToAttribute": "B"}}]}})");
    const auto result = run_program("dp-template", {"r.json", "-o", "u.efi"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err,
              "r.json:3:37: warning: /RegistryEntries/Dependencies/0/Dependency/MapToAttribute: "
              "there is no attribute \"B\"; the dependency is ignored\n");
    EXPECT_THAT(read("uefi_registry.json"), HasSubstr(R"({"Dependency":{"MapToAttribute":"B"}})"));
}

TEST_F(dp_template, refuses_unfit_attributes_with_their_places_and_writes_nothing) {
    write("r.json", R"({"RegistryEntries": {"Attributes": [
  {"AttributeName": "A.B", "Type": "String"},
  {"AttributeName": "C", "Type": "Integer", "LowerBound": -5},
  {"AttributeName": "D", "Type": "String", "DefaultValue": ""}]}})");
    write("u.efi", "old");
    const auto result =
        run_program("dp-template", {"r.json", "-o", "u.efi", "--settings", "s.txt"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err,
                StartsWith("r.json:2:21: /RegistryEntries/Attributes/0/AttributeName: the name "
                           "\"A.B\" contains a dot"));
    EXPECT_THAT(result.err,
                HasSubstr("\nr.json:3:59: /RegistryEntries/Attributes/1/LowerBound: -5 is not"));
    EXPECT_THAT(result.err, HasSubstr("2 unfit attributes"));
    EXPECT_EQ(read("u.efi"), "old");
    EXPECT_FALSE(exists("s.txt"));
}

TEST_F(dp_template, skips_unfit_attributes_on_request) {
    write("r.json", R"({"RegistryEntries": {"Attributes": [
  {"AttributeName": "A.B", "Type": "String"},
  {"AttributeName": "D", "Type": "String", "DefaultValue": "d"}]}})");
    const auto result = run_program(
        "dp-template", {"r.json", "-o", "u.efi", "--settings", "s.txt", "--skip-unfit"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.err, StartsWith("r.json:2:21: warning: left out: /RegistryEntries/"
                                       "Attributes/0/AttributeName: the name \"A.B\""));
    EXPECT_THAT(result.out, HasSubstr("1 attributes in 1 collection (BIOS 1)"));
    EXPECT_THAT(result.out, HasSubstr("1 unfit left out"));
    EXPECT_EQ(read("s.txt"), "0 0 uefi set BIOS.D \"d\" \"\" \n");
}

TEST_F(dp_template, fails_without_any_fit_attribute) {
    write("none.json", R"({"RegistryEntries": {"Attributes": []}})");
    write("unfit.json", R"({"RegistryEntries": {"Attributes": [7]}})");
    for (const char* name : {"none.json", "unfit.json"}) {
        const auto result = run_program("dp-template", {name, "-o", "u.efi", "--skip-unfit"});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_THAT(result.err, HasSubstr("there are no attributes for a template"));
    }
    EXPECT_FALSE(exists("u.efi"));
}

TEST_F(dp_template, names_the_place_of_a_json_error) {
    write("r.json", "{\"a\": 1,\n \"b\" 2}");
    const auto result = run_program("dp-template", {"r.json", "-o", "u.efi"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, StartsWith("r.json:2:6: not JSON: "));
}

TEST_F(dp_template, refuses_files_that_are_not_registries) {
    write("empty", "");
    write("bomb", std::string(3'000'000, '['));
    write("huge", std::string((32U << 20U) + 1, ' '));
    write("binary", std::string("\0\xFF\xFE{\x01", 5));
    write("latin1",
          "{\"name\": \"stra\xDF"
          "e\"}");
    write("number", "1");
    for (const char* name : {"empty", "bomb", "huge", "binary", "latin1", "number", "missing",
                             "tmp", "/dev/zero", "/dev/null"}) {
        const auto result = run_program("dp-template", {name, "-o", "u.efi"});
        EXPECT_EQ(result.exit_code, 1) << name;
        EXPECT_THAT(result.err, HasSubstr(name));
        EXPECT_LT(result.err.size(), 1000U) << name;
        EXPECT_FALSE(exists("u.efi")) << name;
    }
}

TEST_F(dp_template, writes_either_all_files_or_none) {
    write("r.json", test::small_registry);
    write("u.efi", "old");
    for (const char* bad : {"missing/s.txt", "tmp", "./u.efi", "r.json", "/dev/full"}) {
        const auto result =
            run_program("dp-template", {"r.json", "-o", "u.efi", "--settings", bad});
        EXPECT_EQ(result.exit_code, 1) << bad;
        EXPECT_THAT(result.err, HasSubstr(bad));
        EXPECT_EQ(read("u.efi"), "old") << bad;
    }
    EXPECT_EQ(read("r.json"), test::small_registry);
    EXPECT_THAT(temporary_files("."), IsEmpty());
}

TEST_F(dp_template, reports_files_and_folders_without_permission) {
    if (!unprivileged_user_can_run("dp-template")) {
        GTEST_SKIP() << "an unprivileged user cannot start the programs here";
    }
    write("r.json", test::small_registry);
    write("secret.json", test::small_registry);
    chmod(path("r.json").c_str(), 0644);
    chmod(path("secret.json").c_str(), 0000);
    std::filesystem::create_directory(path("locked"));
    chmod(path("locked").c_str(), 0555);
    const auto output =
        test::run_program_unprivileged("dp-template", {"r.json", "-o", "locked/u.efi"});
    EXPECT_EQ(output.exit_code, 1);
    EXPECT_THAT(output.err, HasSubstr("locked/u.efi: Permission denied"));
    const auto input =
        test::run_program_unprivileged("dp-template", {"secret.json", "-o", "/dev/null"});
    EXPECT_EQ(input.exit_code, 1);
    EXPECT_THAT(input.err, HasSubstr("secret.json: Permission denied"));
    chmod(path("locked").c_str(), 0755);
}

TEST_F(dp_template, distinguishes_wrong_usage_from_failure) {
    write("r.json", test::small_registry);
    for (const auto& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"r.json"},
                                               {"-o", "u.efi"},
                                               {"r.json", "r.json", "-o", "u.efi"},
                                               {"r.json", "-o", "u.efi", "--unknown"},
                                               {"r.json", "-o", "u.efi", "--collection", "a b"},
                                               {"r.json", "-o", "u.efi", "--collection", ""},
                                               {"r.json", "-o", "u.efi", "--collection", "a.b"}}) {
        const auto result = run_program("dp-template", arguments);
        EXPECT_EQ(result.exit_code, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "");
    }
    const auto help = run_program("dp-template", {"--help"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_THAT(help.out, HasSubstr("Exit codes: 0 done, 1 failed, 2 wrong usage."));
}

TEST_F(dp_template, checks_a_registry_without_writing_a_file) {
    write("r.json", test::small_registry);
    const auto result = run_program("dp-template", {"r.json", "-o", "/dev/null"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.out, StartsWith("1 attributes in 1 collection"));
}

TEST_F(dp_template, puts_all_attributes_into_a_given_collection) {
    ASSERT_EQ(
        run_program("dp-template", {test::sample_registry, "-o", "u.efi", "--collection", "Setup"})
            .exit_code,
        0);
    ASSERT_EQ(run_program("dpspy", {"-sc", "-i", "u.efi", "-o", "c.txt"}).exit_code, 0);
    EXPECT_EQ(read("c.txt"), "Setup\n");
}

TEST_F(dp_template, survives_damaged_registries) {
    const std::string text = test::read_file(test::sample_registry);
    std::mt19937 random(4711);
    for (int round = 0; round < 25; ++round) {
        std::string damaged = text;
        for (int hit = 0; hit < 1 + round % 3; ++hit) {
            const std::size_t at = random() % damaged.size();
            if (round % 2 == 0) {
                damaged.erase(at, random() % 200);
            } else {
                damaged[at] = static_cast<char>(random());
            }
        }
        write("r.json", damaged);
        const auto result = run_program("dp-template", {"r.json", "-o", "u.efi", "--skip-unfit"});
        EXPECT_TRUE(result.exit_code == 0 || result.exit_code == 1) << result.exit_code;
        EXPECT_EQ(result.exit_code == 0, exists("u.efi"));
        std::filesystem::remove(path("u.efi"));
    }
}

}  // namespace
