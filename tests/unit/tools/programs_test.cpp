#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "batch/batch_file_settings_rdr.hpp"
#include "bios/template_info.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/test_data.hpp"

// The programs as processes, in a scratch folder.

namespace {

using test::program_result;
using test::run_program;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string sample = std::string(DP_SOURCE_DIR) + "/examples/registry/server.registry.json";
const std::string updated_sample =
    std::string(DP_SOURCE_DIR) + "/examples/registry/server-update.registry.json";

/// A registry of one attribute.
constexpr const char* small_registry =
    R"({"RegistryEntries": {"Attributes": [
  {"AttributeName": "A", "Type": "String", "DefaultValue": "v", "MenuPath": "./Boot"}]}})";

class programs : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }

    [[nodiscard]] static std::string path(const std::string& name) {
        return test::root() + "/" + name;
    }
    [[nodiscard]] static bool exists(const std::string& name) {
        return std::filesystem::exists(path(name));
    }
    static void write(const std::string& name, const std::string& content) {
        test::write_file(path(name), content);
    }
    [[nodiscard]] static std::string read(const std::string& name) {
        return test::read_file(path(name));
    }
    /// The names in a folder that begin with a dot: temporary files that were forgotten.
    [[nodiscard]] static std::vector<std::string> litter(const std::string& folder) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path(folder))) {
            const std::string name = entry.path().filename();
            if (name.starts_with('.')) {
                names.push_back(name);
            }
        }
        return names;
    }
    /// A user without rights must be able to reach the scratch folder and start the programs.
    static bool unprivileged_user_can_run(const std::string& program) {
        chmod(test::root().c_str(), 0755);
        return test::run_program_unprivileged(program, {"--help"}).exit_code == 0;
    }

    /// Compiles a registry to u.efi, s.txt and t.txt.
    static void compile(const std::string& registry) {
        const auto result = run_program(
            "dp-template", {registry, "-o", "u.efi", "--settings", "s.txt", "--text", "t.txt"});
        ASSERT_EQ(result.exit_code, 0) << result.err;
    }
};

class dp_template : public programs {};
class dpspy : public programs {};
class sysvpd : public programs {};
class dp_server : public programs {};

// --- dp-template

TEST_F(dp_template, writes_all_files_and_one_line_about_them) {
    const auto result = run_program(
        "dp-template", {sample, "-o", "u.efi", "--settings", "s.txt", "--current", "c.txt"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.out, testing::MatchesRegex("154 attributes in 11 collections \\(System 12, "
                                                  ".*\\), template [0-9]+ bytes for [0-9]+ of "
                                                  "text, 1 password left out\n"));
    EXPECT_THAT(result.err, HasSubstr(": notice: /RegistryEntries/Attributes/"));
    EXPECT_EQ(read("s.txt"), read("c.txt"));
    EXPECT_LT(read("u.efi").size() * 4, std::filesystem::file_size(sample));
    EXPECT_THAT(litter("."), IsEmpty());
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
                           "\"A.B\" holds a dot"));
    EXPECT_THAT(result.err,
                HasSubstr("\nr.json:3:59: /RegistryEntries/Attributes/1/LowerBound: -5 is not"));
    EXPECT_THAT(result.err, HasSubstr("2 unfit attributes"));
    EXPECT_EQ(read("u.efi"), "old");
    EXPECT_FALSE(exists("s.txt"));
}

TEST_F(dp_template, skips_unfit_attributes_when_told_to) {
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

TEST_F(dp_template, fails_when_no_attribute_is_left) {
    write("none.json", R"({"RegistryEntries": {"Attributes": []}})");
    write("unfit.json", R"({"RegistryEntries": {"Attributes": [7]}})");
    for (const char* name : {"none.json", "unfit.json"}) {
        const auto result = run_program("dp-template", {name, "-o", "u.efi", "--skip-unfit"});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_THAT(result.err, HasSubstr("no attribute to put into a template"));
    }
    EXPECT_FALSE(exists("u.efi"));
}

TEST_F(dp_template, names_the_place_where_a_file_stops_being_json) {
    write("r.json", "{\"a\": 1,\n \"b\" 2}");
    const auto result = run_program("dp-template", {"r.json", "-o", "u.efi"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, StartsWith("r.json:2:6: not JSON: "));
}

TEST_F(dp_template, survives_whatever_it_is_given) {
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

TEST_F(dp_template, writes_all_files_or_none) {
    write("r.json", small_registry);
    write("u.efi", "old");
    for (const char* bad : {"missing/s.txt", "tmp", "./u.efi", "r.json", "/dev/full"}) {
        const auto result =
            run_program("dp-template", {"r.json", "-o", "u.efi", "--settings", bad});
        EXPECT_EQ(result.exit_code, 1) << bad;
        EXPECT_THAT(result.err, HasSubstr(bad));
        EXPECT_EQ(read("u.efi"), "old") << bad;
    }
    EXPECT_EQ(read("r.json"), small_registry);
    EXPECT_THAT(litter("."), IsEmpty());
}

TEST_F(dp_template, reports_a_folder_that_it_may_not_write_to) {
    if (!unprivileged_user_can_run("dp-template")) {
        GTEST_SKIP() << "a user without rights can't start the programs here";
    }
    write("r.json", small_registry);
    write("secret.json", small_registry);
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

TEST_F(dp_template, tells_wrong_usage_from_failure) {
    write("r.json", small_registry);
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
    write("r.json", small_registry);
    const auto result = run_program("dp-template", {"r.json", "-o", "/dev/null"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_THAT(result.out, StartsWith("1 attributes in 1 collection"));
}

TEST_F(dp_template, puts_all_into_one_collection_when_told_to) {
    ASSERT_EQ(
        run_program("dp-template", {sample, "-o", "u.efi", "--collection", "Setup"}).exit_code, 0);
    ASSERT_EQ(run_program("dpspy", {"-sc", "-i", "u.efi", "-o", "c.txt"}).exit_code, 0);
    EXPECT_EQ(read("c.txt"), "Setup\n");
}

TEST_F(dp_template, survives_damaged_registries) {
    const std::string text = test::read_file(sample);
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

// --- dpspy

/// The command lines that the library runs, through the shell as it does.
TEST_F(dpspy, expands_and_lists_by_the_librarys_command_lines) {
    compile(sample);
    const std::string program = path("bin/dpspy");
    std::filesystem::create_symlink(test::program_path("dpspy"), program);
    ASSERT_EQ(std::system((program + " -sf  -i " + path("u.efi") + " -o " + path("info")).c_str()),
              0);
    ASSERT_EQ(std::system((program + " -sc -i " + path("u.efi") + " -o " + path("list")).c_str()),
              0);
    EXPECT_EQ(read("info"), read("t.txt"));
    EXPECT_EQ(read("list"),
              "System\nProcessor\nMemory\nPCIe\nStorage\nBoot\nNetwork\nSecurity\nPower\nIO\n"
              "Management\n");
}

TEST_F(dpspy, gives_the_library_every_attribute_and_value_of_a_registry) {
    std::vector<std::string> registries{sample, updated_sample};
    constexpr const char* real_registry = "server-a.registry.json";
    if (test::missing_data(real_registry).empty()) {
        registries.push_back(test::data_file(real_registry));
    }
    for (const auto& registry : registries) {
        compile(registry);
        ASSERT_EQ(run_program("dpspy", {"-sf", "-i", "u.efi", "-o", "info"}).exit_code, 0);
        std::ifstream info(path("info"), std::ios::binary);
        std::vector<template_info> entries;
        template_info::read_settings(info, entries, "");
        std::ifstream settings(path("s.txt"), std::ios::binary);
        std::vector<std::string> names;
        std::vector<std::string> values;
        dp::batch_file_settings_rdr reader(&names, &values);
        reader.read_file(settings, nullptr);
        ASSERT_EQ(names.size(), entries.size());
        EXPECT_GT(entries.size(), 150U);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(names[i], entries[i].cfg + "." + entries[i].id);
        }
    }
}

TEST_F(dpspy, passes_attribute_text_through) {
    compile(sample);
    ASSERT_EQ(run_program("dpspy", {"-sf", "-i", "t.txt", "-o", "info"}).exit_code, 0);
    EXPECT_EQ(read("info"), read("t.txt"));
    ASSERT_EQ(run_program("dpspy", {"-sc", "-i", "t.txt", "-o", "list"}).exit_code, 0);
    EXPECT_THAT(read("list"), StartsWith("System\nProcessor\n"));
}

TEST_F(dpspy, expands_images_of_an_independent_encoder) {
    if (const auto reason = test::missing_data("efi/records.uefi"); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const std::string folder = test::data_file("efi/");
    for (const std::string name : {"empty", "one-byte", "random-20k", "zeros-100k", "records"}) {
        const auto result =
            run_program("dpspy", {"-sf", "-i", folder + name + ".uefi", "-o", "info"});
        EXPECT_EQ(result.exit_code, 0) << name << result.err;
        EXPECT_EQ(read("info"), test::read_file(folder + name + ".bin")) << name;
    }
    ASSERT_EQ(run_program("dpspy", {"-sc", "-i", folder + "records.uefi", "-o", "list"}).exit_code,
              0);
    EXPECT_EQ(read("list"), "Setup\n");
}

TEST_F(dpspy, keeps_the_old_output_when_the_template_is_no_good) {
    compile(sample);
    const std::string image = read("u.efi");
    write("empty", "");
    write("garbage", std::string("\x01\x02\x03garbage\0\xFF", 12));
    write("cut", image.substr(0, image.size() - 10));
    write("sizes", std::string("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 8) + image.substr(8));
    write("long", "id:" + std::string(20'000, 'x') + "\xA7\n");
    write("info", "old");
    for (const char* mode : {"-sf", "-sc"}) {
        for (const char* bad : {"empty", "garbage", "cut", "sizes", "long", "missing", "tmp"}) {
            const auto result = run_program("dpspy", {mode, "-i", bad, "-o", "info"});
            EXPECT_EQ(result.exit_code, 1) << bad;
            EXPECT_THAT(result.err, HasSubstr(std::string("dpspy: ") + bad));
            EXPECT_EQ(result.out, "");
            EXPECT_EQ(read("info"), "old") << bad;
        }
        for (const char* bad : {"missing/info", "tmp", "/dev/full"}) {
            const auto result = run_program("dpspy", {mode, "-i", "u.efi", "-o", bad});
            EXPECT_EQ(result.exit_code, 1) << bad;
            EXPECT_THAT(result.err, HasSubstr(bad));
        }
    }
    EXPECT_THAT(litter("."), IsEmpty());
}

TEST_F(dpspy, survives_damaged_images) {
    compile(sample);
    const std::string image = read("u.efi");
    std::mt19937 random(99);
    for (int round = 0; round < 40; ++round) {
        std::string damaged = image;
        for (int hit = 0; hit < 1 + round % 4; ++hit) {
            damaged[8 + random() % (damaged.size() - 8)] = static_cast<char>(random());
        }
        write("damaged", damaged);
        const auto result =
            run_program("dpspy", {round % 2 == 0 ? "-sf" : "-sc", "-i", "damaged", "-o", "info"});
        EXPECT_TRUE(result.exit_code == 0 || result.exit_code == 1) << result.exit_code;
    }
}

TEST_F(dpspy, a_reader_sees_the_old_output_or_the_new_one) {
    compile(sample);
    ASSERT_EQ(run_program("dpspy", {"-sf", "-i", "u.efi", "-o", "info"}).exit_code, 0);
    const std::string whole = read("info");
    std::atomic<bool> stop = false;
    std::atomic<int> torn = 0;
    std::thread reader([&] {
        while (!stop) {
            if (read("info") != whole) {
                ++torn;
            }
        }
    });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(run_program("dpspy", {"-sf", "-i", "u.efi", "-o", "info"}).exit_code, 0);
    }
    stop = true;
    reader.join();
    EXPECT_EQ(torn, 0);
}

TEST_F(dpspy, tells_wrong_usage_from_failure) {
    compile(sample);
    for (const auto& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"-sf"},
                                               {"-s", "-i", "u.efi", "-o", "info"},
                                               {"-f", "-i", "u.efi", "-o", "info"},
                                               {"-sfc", "-i", "u.efi", "-o", "info"},
                                               {"-sx", "-i", "u.efi", "-o", "info"},
                                               {"-sf", "-i", "u.efi"},
                                               {"-sf", "-o", "info"},
                                               {"-sf", "-i", "u.efi", "-o", "info", "more"}}) {
        EXPECT_EQ(run_program("dpspy", arguments).exit_code, 2);
    }
    EXPECT_FALSE(exists("info"));
}

// --- sysvpd

TEST_F(sysvpd, prints_the_value_of_a_key) {
    write("var/dp/vpd.txt", "MODEL=Halden 2200\nUEFIID=HLD-1.4.2=x\nEMPTY=\nnonsense\n\nUEFIID=2");
    const auto result = run_program("sysvpd", {"-g", "UEFIID"});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.out, "HLD-1.4.2=x\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(run_program("sysvpd", {"-g", "MODEL"}).out, "Halden 2200\n");
    EXPECT_EQ(run_program("sysvpd", {"-g", "EMPTY"}).out, "\n");
}

TEST_F(sysvpd, fails_when_there_is_no_such_item_or_no_data) {
    write("var/dp/vpd.txt", "UEFIID=1\nUEFI=2\n");
    for (const char* key : {"uefiid", "UEFII", "UEFIIDX", "", "1", "UEFIID=1"}) {
        const auto result = run_program("sysvpd", {"-g", key});
        EXPECT_EQ(result.exit_code, 1) << key;
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("sysvpd: "));
    }
    std::filesystem::remove(path("var/dp/vpd.txt"));
    EXPECT_EQ(run_program("sysvpd", {"-g", "UEFIID"}).exit_code, 1);
    std::filesystem::create_directory(path("var/dp/vpd.txt"));
    const auto folder = run_program("sysvpd", {"-g", "UEFIID"});
    EXPECT_EQ(folder.exit_code, 1);
    EXPECT_EQ(folder.err, "sysvpd: can't read " + path("var/dp/vpd.txt") + "\n");
}

TEST_F(sysvpd, tells_wrong_usage_from_failure) {
    EXPECT_EQ(run_program("sysvpd", {}).exit_code, 2);
    EXPECT_EQ(run_program("sysvpd", {"UEFIID"}).exit_code, 2);
    EXPECT_EQ(run_program("sysvpd", {"-g"}).exit_code, 2);
    EXPECT_EQ(run_program("sysvpd", {"--help"}).exit_code, 0);
}

// --- dp-server

program_result install(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"install", "--template", "u.efi",    "--settings",
                                       "s.txt",   "--build-id", "HLD-1.4.2"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_program("dp-server", arguments);
}

TEST_F(dp_server, install_lays_out_a_server) {
    compile(sample);
    std::filesystem::remove_all(path("var"));
    std::filesystem::remove_all(path("tmp"));
    const auto result = install();
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "installed a server with BIOS HLD-1.4.2\n");
    EXPECT_EQ(read("var/dp/uefi_template.efi"), read("u.efi"));
    EXPECT_EQ(read("var/dp/uefi_settings.txt"), read("s.txt"));
    EXPECT_EQ(read("var/dp/uefi_current.txt"), read("s.txt"));
    EXPECT_EQ(run_program("sysvpd", {"-g", "UEFIID"}).out, "HLD-1.4.2\n");
    struct stat status {};
    for (const char* folder : {"var/dp", "tmp/dp"}) {
        ASSERT_EQ(stat(path(folder).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0700U) << folder;
    }
    EXPECT_THAT(litter("var/dp"), IsEmpty());
}

TEST_F(dp_server, install_replaces_a_server_only_when_told_to) {
    compile(sample);
    ASSERT_EQ(install().exit_code, 0);
    write("c.txt", "0 0 uefi set Boot.BootMode \"LegacyBios\" \"\" \n");
    const auto refused = install({"--current", "c.txt"});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_THAT(refused.err, HasSubstr("a server is installed already"));
    EXPECT_EQ(read("var/dp/uefi_current.txt"), read("s.txt"));
    EXPECT_EQ(install({"--current", "c.txt", "--replace"}).exit_code, 0);
    EXPECT_EQ(read("var/dp/uefi_current.txt"), read("c.txt"));
}

TEST_F(dp_server, install_leaves_no_text_of_an_earlier_template_behind) {
    compile(sample);
    ASSERT_EQ(install().exit_code, 0);
    for (const char* text : {"tmp/dp/uefi_info.txt", "tmp/dp/uefi_configs.txt"}) {
        write(text, "of the first template, written while the clock was ahead");
    }
    ASSERT_EQ(install({"--replace"}).exit_code, 0);
    EXPECT_FALSE(exists("tmp/dp/uefi_info.txt"));
    EXPECT_FALSE(exists("tmp/dp/uefi_configs.txt"));
}

TEST_F(dp_server, install_is_refused_while_a_service_runs) {
    compile(sample);
    ASSERT_EQ(install().exit_code, 0);
    const std::string bios = read("var/dp/uefi_template.efi");
    // What a service holds as long as it runs.
    const int service = open(path("var/dp/dp_settingsd.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(service, 0);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(fcntl(service, F_SETLK, &lock), 0);
    compile(updated_sample);
    const auto refused = install({"--replace"});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.err, "dp-server: install: dp_settingsd runs; it has to be stopped first\n");
    EXPECT_EQ(read("var/dp/uefi_template.efi"), bios);
    close(service);
    EXPECT_EQ(install({"--replace"}).exit_code, 0);
    EXPECT_NE(read("var/dp/uefi_template.efi"), bios);
}

TEST_F(dp_server, install_examines_every_part_first) {
    compile(sample);
    write("garbage", "garbage");
    write("no_configuration", "id:A\x95\xA7\n");
    write("empty", "");
    write("get", "0 0 uefi get A.B \"\" \"\"\n");
    const auto with = [](const std::string& bios, const std::string& settings) {
        return run_program("dp-server", {"install", "--template", bios, "--settings", settings,
                                         "--build-id", "1"});
    };
    for (const char* bad : {"garbage", "no_configuration", "empty", "missing", "tmp"}) {
        const auto result = with(bad, "s.txt");
        EXPECT_EQ(result.exit_code, 1) << bad;
        EXPECT_THAT(result.err, StartsWith(std::string("dp-server: install: ") + bad));
    }
    for (const char* bad : {"garbage", "empty", "get", "missing", "tmp"}) {
        const auto result = with("u.efi", bad);
        EXPECT_EQ(result.exit_code, 1) << bad;
        EXPECT_THAT(result.err, StartsWith(std::string("dp-server: install: ") + bad));
    }
    EXPECT_FALSE(exists("var/dp/uefi_template.efi"));
    EXPECT_EQ(run_program("dp-server", {"install", "--template", "u.efi", "--settings", "s.txt",
                                        "--build-id", "two\nlines"})
                  .exit_code,
              2);
}

TEST_F(dp_server, install_refuses_a_folder_that_is_a_link) {
    compile(sample);
    std::filesystem::remove_all(path("tmp/dp"));
    std::filesystem::create_directory(path("elsewhere"));
    std::filesystem::create_directory_symlink(path("elsewhere"), path("tmp/dp"));
    const auto result = install();
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("tmp/dp: is not a folder"));
    EXPECT_FALSE(exists("var/dp/uefi_template.efi"));
}

/// Plays the settings service: takes requests away and answers them.
class request_taker {
  public:
    explicit request_taker(std::function<void(const std::string&)> answer)
        : answer_(std::move(answer)), thread_([this] { run(); }) {}
    ~request_taker() {
        stop_ = true;
        thread_.join();
    }
    request_taker(const request_taker&) = delete;
    request_taker& operator=(const request_taker&) = delete;

    /// Whether there was a request to take.
    [[nodiscard]] bool has_taken() const { return taken_; }

    static void write_answer(const std::string& text) {
        test::write_file(test::root() + "/tmp/dp/answer", text);
        std::filesystem::rename(test::root() + "/tmp/dp/answer",
                                test::root() + "/tmp/dp/server.out");
    }

  private:
    void run() {
        const std::string request = test::root() + "/tmp/dp/server";
        while (!stop_) {
            if (std::filesystem::exists(request)) {
                const std::string text = test::read_file(request);
                // Its sender may give up meanwhile and take it back.
                if (std::filesystem::remove(request)) {
                    taken_ = true;
                    answer_(text);
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    std::function<void(const std::string&)> answer_;
    std::atomic<bool> stop_ = false;
    std::atomic<bool> taken_ = false;
    std::thread thread_;
};

TEST_F(dp_server, restart_waits_for_the_answer) {
    std::string request;
    program_result result;
    write("tmp/dp/server.out", "1 an old answer\n");
    {
        const request_taker service([&](const std::string& text) {
            request = text;
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            request_taker::write_answer("0\n");
        });
        result = run_program("dp-server", {"restart"});
    }
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "restarted: pending values are current now\n");
    EXPECT_EQ(request, "restart\n");
}

TEST_F(dp_server, a_refusal_is_told_with_its_reason) {
    program_result result;
    {
        const request_taker service(
            [](const std::string&) { request_taker::write_answer("56 the disk is full\n"); });
        result = run_program("dp-server", {"restart"});
    }
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "dp-server: restart: the disk is full (status 56)\n");
}

TEST_F(dp_server, half_an_answer_is_none_yet) {
    program_result result;
    {
        const request_taker service([](const std::string&) {
            request_taker::write_answer("0");
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            request_taker::write_answer("05 no\n");
        });
        result = run_program("dp-server", {"restart"});
    }
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("no (status 05)"));
}

TEST_F(dp_server, update_brings_its_parts_before_it_asks) {
    compile(updated_sample);
    std::string request;
    std::string bios;
    std::string build_id;
    program_result result;
    {
        const request_taker service([&](const std::string& text) {
            request = text;
            bios = read("var/dp/update/uefi_template.efi");
            build_id = read("var/dp/update/build_id");
            request_taker::write_answer("0\n");
        });
        result =
            run_program("dp-server", {"update", "--template", "u.efi", "--build-id", "HLD 1.5.0"});
    }
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "updated the BIOS to HLD 1.5.0\n");
    EXPECT_EQ(request, "update\n");
    EXPECT_EQ(bios, read("u.efi"));
    EXPECT_EQ(build_id, "HLD 1.5.0\n");
}

TEST_F(dp_server, gives_up_when_nobody_takes_the_request) {
    const auto result = run_program("dp-server", {"restart", "--timeout", "0.2"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("is dp_settingsd running?"));
    // A service that starts later must not restart the server out of the blue.
    EXPECT_FALSE(exists("tmp/dp/server"));
}

TEST_F(dp_server, gives_up_when_the_answer_does_not_come) {
    program_result result;
    {
        const request_taker service([](const std::string&) {});
        // A busy machine may need longer to take it.
        for (int timeout = 1; timeout <= 64 && !service.has_taken(); timeout *= 4) {
            result = run_program("dp-server", {"restart", "--timeout", std::to_string(timeout)});
        }
    }
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("took the request but did not answer"));
}

TEST_F(dp_server, requests_run_one_after_the_other) {
    std::atomic<int> running = 0;
    std::atomic<int> overlapping = 0;
    std::atomic<int> done = 0;
    {
        const request_taker service([&](const std::string&) {
            if (++running > 1) {
                ++overlapping;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            --running;
            request_taker::write_answer("0\n");
        });
        std::vector<std::thread> operators;
        for (int i = 0; i < 4; ++i) {
            operators.emplace_back(
                [&] { done += run_program("dp-server", {"restart"}).exit_code == 0 ? 1 : 0; });
        }
        for (auto& one : operators) {
            one.join();
        }
    }
    EXPECT_EQ(overlapping, 0);
    EXPECT_EQ(done, 4);
}

TEST_F(dp_server, fails_without_the_services_folder_or_a_readable_template) {
    const auto update =
        run_program("dp-server", {"update", "--template", "missing", "--build-id", "1"});
    EXPECT_EQ(update.exit_code, 1);
    EXPECT_THAT(update.err, HasSubstr("missing: No such file"));
    EXPECT_FALSE(exists("tmp/dp/server"));
    std::filesystem::remove_all(path("tmp/dp"));
    const auto restart = run_program("dp-server", {"restart"});
    EXPECT_EQ(restart.exit_code, 1);
    EXPECT_THAT(restart.err, HasSubstr("is dp_settingsd running?"));
}

TEST_F(dp_server, leaves_folders_of_others_alone) {
    if (geteuid() != 0 || !unprivileged_user_can_run("dp-server")) {
        GTEST_SKIP() << "needs root to play two users";
    }
    chmod(path("tmp").c_str(), 0755);
    chmod(path("tmp/dp").c_str(), 0777);
    const auto result = test::run_program_unprivileged("dp-server", {"restart"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("belongs to user 0, not to user 65534"));
    EXPECT_FALSE(exists("tmp/dp/server"));
}

TEST_F(dp_server, tells_wrong_usage_from_failure) {
    for (const auto& arguments :
         std::vector<std::vector<std::string>>{{},
                                               {"explode"},
                                               {"restart", "now"},
                                               {"restart", "--timeout", "soon"},
                                               {"restart", "--timeout", "-1"},
                                               {"restart", "--timeout", "nan"},
                                               {"update", "--build-id", "1"},
                                               {"update", "--template", "u.efi"},
                                               {"update", "--template", "u.efi", "--build-id", ""},
                                               {"install", "--template", "u.efi"},
                                               {"restart", "update"}}) {
        EXPECT_EQ(run_program("dp-server", arguments).exit_code, 2);
    }
    for (const char* command : {"install", "restart", "update"}) {
        EXPECT_EQ(run_program("dp-server", {command, "--help"}).exit_code, 0);
    }
}

// --- all of them

/// Runs a program of this build, and what the shell does with its streams.
program_result run_in_shell(const std::string& program, const std::string& rest) {
    return run_program("/bin/sh", {"-c", test::program_path(program) + " " + rest});
}

TEST_F(programs, name_the_argument_that_they_do_not_know) {
    for (const char* program : {"dp-server", "dp-template", "dpctl", "dpspy", "sysvpd"}) {
        const auto result = run_program(program, {"--frob"});
        EXPECT_EQ(result.exit_code, 2) << program;
        EXPECT_THAT(result.err, HasSubstr("not expected: --frob\n")) << program;
    }
    EXPECT_THAT(run_program("dpctl", {"lsit", "Boot"}).err, HasSubstr("not expected: lsit\n"));
    EXPECT_THAT(run_program("dpctl", {"list", "--frob"}).err, HasSubstr("not expected: --frob\n"));
    EXPECT_THAT(run_program("dpctl", {"list"}).err, HasSubstr("COLLECTION is required\n"));
}

TEST_F(programs, fail_when_what_they_were_asked_to_print_is_lost) {
    for (const char* program : {"dp-server", "dp-template", "dpctl", "dpspy", "sysvpd"}) {
        for (const char* lost : {"--help >/dev/full", "--help >&-"}) {
            const auto result = run_in_shell(program, lost);
            EXPECT_EQ(result.exit_code, 1) << program << ' ' << lost;
            EXPECT_THAT(result.err, HasSubstr("could not be written\n")) << program << ' ' << lost;
        }
    }
    compile(sample);
    const auto result = run_in_shell(
        "dp-server", "install --template u.efi --settings s.txt --build-id B1 >/dev/full");
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.err, "dp-server: a part of the output could not be written\n");
}

}  // namespace
