#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "batch/batch_file_settings_rdr.hpp"
#include "bios/template_info.hpp"
#include "tests/support/test_data.hpp"
#include "tests/system/tools/tool_test.hpp"

namespace {

using test::run_program;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class dpspy : public test::tool_test {};

// The command lines that the library runs, with a shell as in the library.
TEST_F(dpspy, accepts_the_command_lines_of_the_library) {
    compile(test::sample_registry);
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

TEST_F(dpspy, returns_every_attribute_and_value_of_a_registry) {
    std::vector<std::string> registries{test::sample_registry, test::updated_sample_registry};
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

TEST_F(dpspy, returns_attribute_text_unchanged) {
    compile(test::sample_registry);
    ASSERT_EQ(run_program("dpspy", {"-sf", "-i", "t.txt", "-o", "info"}).exit_code, 0);
    EXPECT_EQ(read("info"), read("t.txt"));
    ASSERT_EQ(run_program("dpspy", {"-sc", "-i", "t.txt", "-o", "list"}).exit_code, 0);
    EXPECT_THAT(read("list"), StartsWith("System\nProcessor\n"));
}

TEST_F(dpspy, expands_images_of_an_independent_compressor) {
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

TEST_F(dpspy, keeps_the_old_output_if_the_template_is_invalid) {
    compile(test::sample_registry);
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
    EXPECT_THAT(temporary_files("."), IsEmpty());
}

TEST_F(dpspy, fails_on_damaged_images_without_a_crash) {
    compile(test::sample_registry);
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

TEST_F(dpspy, readers_see_either_the_old_output_or_the_new_one) {
    compile(test::sample_registry);
    ASSERT_EQ(run_program("dpspy", {"-sf", "-i", "u.efi", "-o", "info"}).exit_code, 0);
    const std::string complete = read("info");
    std::atomic<bool> stop = false;
    std::atomic<int> incomplete = 0;
    std::thread reader([&] {
        while (!stop) {
            if (read("info") != complete) {
                ++incomplete;
            }
        }
    });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(run_program("dpspy", {"-sf", "-i", "u.efi", "-o", "info"}).exit_code, 0);
    }
    stop = true;
    reader.join();
    EXPECT_EQ(incomplete, 0);
}

TEST_F(dpspy, distinguishes_wrong_usage_from_failure) {
    compile(test::sample_registry);
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

}  // namespace
