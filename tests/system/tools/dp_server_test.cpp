#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "service_api/request_protocol.hpp"
#include "tests/support/fake_request_service.hpp"
#include "tests/support/sealed_values.hpp"
#include "tests/system/tools/tool_test.hpp"

namespace {

using test::program_result;
using test::run_program;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class dp_server : public test::tool_test {};

program_result install(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"install", "--template", "u.efi",    "--settings",
                                       "s.txt",   "--build-id", "HLD-1.4.2"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_program("dp-server", arguments);
}

TEST_F(dp_server, install_sets_up_a_server) {
    compile(test::sample_registry);
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
    EXPECT_THAT(temporary_files("var/dp"), IsEmpty());
}

TEST_F(dp_server, install_replaces_a_server_only_on_request) {
    compile(test::sample_registry);
    ASSERT_EQ(install().exit_code, 0);
    write("c.txt", "0 0 uefi set Boot.BootMode \"LegacyBios\" \"\" \n");
    const auto refused = install({"--current", "c.txt"});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_THAT(refused.err, HasSubstr("a server is already installed"));
    EXPECT_EQ(read("var/dp/uefi_current.txt"), read("s.txt"));
    EXPECT_EQ(install({"--current", "c.txt", "--replace"}).exit_code, 0);
    EXPECT_EQ(read("var/dp/uefi_current.txt"), read("c.txt"));
}

TEST_F(dp_server, install_compiles_a_registry) {
    write("r.json", test::small_registry);
    const auto result = run_program("dp-server", {"install", "--registry", test::sample_registry});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, testing::EndsWith("\ninstalled a server with BIOS 1.4.2\n"));
    compile(test::sample_registry);
    EXPECT_EQ(read("var/dp/uefi_template.efi"), read("u.efi"));
    EXPECT_EQ(read("var/dp/uefi_settings.txt"), read("s.txt"));
    EXPECT_EQ(read("var/dp/uefi_current.txt"), read("s.txt"));
    EXPECT_EQ(read("var/dp/uefi_registry.json"), read("uefi_registry.json"));
    EXPECT_EQ(run_program("sysvpd", {"-g", "UEFIID"}).out, "1.4.2\n");
    const auto replaced = run_program(
        "dp-server", {"install", "--registry", "r.json", "--build-id", "B 7", "--replace"});
    EXPECT_EQ(replaced.exit_code, 0) << replaced.err;
    EXPECT_EQ(read("var/dp/uefi_settings.txt"), "0 0 uefi set Boot.A \"v\" \"\" \n");
    EXPECT_EQ(run_program("sysvpd", {"-g", "UEFIID"}).out, "B 7\n");
}

TEST_F(dp_server, install_reports_a_registry_that_cannot_be_compiled) {
    write("r.json", test::small_registry);
    write("unfit.json", R"({"RegistryVersion": "2", "RegistryEntries": {"Attributes": [
      {"AttributeName": "A B", "Type": "String"}, {"AttributeName": "C", "Type": "String"}]}})");
    const auto no_version = run_program("dp-server", {"install", "--registry", "r.json"});
    EXPECT_EQ(no_version.exit_code, 1);
    EXPECT_THAT(no_version.err, HasSubstr("no version that can be the build id"));
    const auto unfit = run_program("dp-server", {"install", "--registry", "unfit.json"});
    EXPECT_EQ(unfit.exit_code, 1);
    EXPECT_THAT(unfit.err, StartsWith("unfit.json:"));
    EXPECT_THAT(unfit.err, HasSubstr("dp-server: install: dp-template could not compile"));
    EXPECT_FALSE(exists("var/dp/uefi_template.efi"));
    EXPECT_EQ(run_program("dp-server", {"install", "--registry", "missing"}).exit_code, 1);
    const auto without =
        run_program("dp-server", {"install", "--registry", "unfit.json", "--skip-unfit"});
    EXPECT_EQ(without.exit_code, 0) << without.err;
    EXPECT_EQ(run_program("sysvpd", {"-g", "UEFIID"}).out, "2\n");
}

TEST_F(dp_server, install_names_the_option_that_it_lacks) {
    const auto lacks = [](const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"install"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const auto result = run_program("dp-server", arguments);
        EXPECT_EQ(result.exit_code, 2);
        return result.err.substr(0, result.err.find(" is required\n"));
    };
    EXPECT_EQ(lacks({}), "--registry or --template");
    EXPECT_EQ(lacks({"--template", "u.efi", "--build-id", "1"}), "--settings");
    EXPECT_EQ(lacks({"--template", "u.efi", "--settings", "s.txt"}), "--build-id");
    EXPECT_EQ(
        run_program("dp-server", {"install", "--template", "u.efi", "--skip-unfit"}).exit_code, 2);
}

TEST_F(dp_server, install_carries_the_registry_and_removes_an_old_one) {
    compile(test::sample_registry);
    ASSERT_EQ(install().exit_code, 0);
    const std::string registry = read("uefi_registry.json");
    EXPECT_EQ(read("var/dp/uefi_registry.json"), registry);
    std::filesystem::rename(path("uefi_registry.json"), path("k.json"));
    ASSERT_EQ(install({"--replace"}).exit_code, 0);
    EXPECT_FALSE(exists("var/dp/uefi_registry.json"));
    ASSERT_EQ(install({"--replace", "--registry", "k.json"}).exit_code, 0);
    EXPECT_EQ(read("var/dp/uefi_registry.json"), registry);
    EXPECT_THAT(temporary_files("var/dp"), IsEmpty());
}

TEST_F(dp_server, install_does_not_use_the_registry_of_another_template) {
    compile(test::sample_registry);
    write("r.json", test::small_registry);
    ASSERT_EQ(run_program("dp-template", {"r.json", "-o", "other.efi"}).exit_code, 0);
    const auto refused = install({"--registry", "uefi_registry.json"});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.err,
              "dp-server: install: uefi_registry.json: is the registry of another "
              "template\n");
    const auto installed = install();
    EXPECT_EQ(installed.exit_code, 0);
    EXPECT_EQ(installed.err,
              "dp-server: ./uefi_registry.json: is the registry of another "
              "template; it is not used\n");
    EXPECT_FALSE(exists("var/dp/uefi_registry.json"));
    for (const char* bad : {"{", "{}", "[1]"}) {
        write("uefi_registry.json", bad);
        const auto result = install({"--replace"});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_THAT(result.err, StartsWith("dp-server: install: ./uefi_registry.json: "));
    }
    EXPECT_THAT(install({"--replace", "--registry", "missing"}).err, HasSubstr("missing"));
}

TEST_F(dp_server, install_removes_the_expansion_of_an_earlier_template) {
    compile(test::sample_registry);
    ASSERT_EQ(install().exit_code, 0);
    for (const char* text : {"tmp/dp/uefi_info.txt", "tmp/dp/uefi_configs.txt"}) {
        write(text, "of the first template, written while the clock was ahead");
    }
    ASSERT_EQ(install({"--replace"}).exit_code, 0);
    EXPECT_FALSE(exists("tmp/dp/uefi_info.txt"));
    EXPECT_FALSE(exists("tmp/dp/uefi_configs.txt"));
}

TEST_F(dp_server, install_is_refused_while_a_service_runs) {
    compile(test::sample_registry);
    ASSERT_EQ(install().exit_code, 0);
    const std::string bios = read("var/dp/uefi_template.efi");
    // A service keeps this lock as long as it runs.
    const int service = open(path("var/dp/dp_settingsd.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(service, 0);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(fcntl(service, F_SETLK, &lock), 0);
    compile(test::updated_sample_registry);
    const auto refused = install({"--replace"});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_EQ(refused.err, "dp-server: install: dp_settingsd is running; stop it first\n");
    EXPECT_EQ(read("var/dp/uefi_template.efi"), bios);
    close(service);
    EXPECT_EQ(install({"--replace"}).exit_code, 0);
    EXPECT_NE(read("var/dp/uefi_template.efi"), bios);
}

TEST_F(dp_server, install_checks_every_part_first) {
    compile(test::sample_registry);
    write("garbage", "garbage");
    write("no_configuration", "id:A\x95\xA7\n");
    write("empty", "");
    write("get", "0 0 uefi get A.B \"\" \"\"\n");
    write("cut", "0 0 uefi set A.B \"1\" \"\" \n0 0 uefi set A.C \"5");
    const auto with = [](const std::string& bios, const std::string& settings) {
        return run_program("dp-server", {"install", "--template", bios, "--settings", settings,
                                         "--build-id", "1"});
    };
    for (const char* bad : {"garbage", "no_configuration", "empty", "missing", "tmp"}) {
        const auto result = with(bad, "s.txt");
        EXPECT_EQ(result.exit_code, 1) << bad;
        EXPECT_THAT(result.err, StartsWith(std::string("dp-server: install: ") + bad));
    }
    for (const char* bad : {"garbage", "empty", "get", "cut", "missing", "tmp"}) {
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

std::string one_value(const std::string& value) {
    return test::sealed("0 0 uefi set Boot.A \"" + value + "\" \"\" \n");
}

class dp_server_kept_values : public test::tool_test {
  protected:
    void SetUp() override {
        test::tool_test::SetUp();
        compile(test::sample_registry);
        ASSERT_EQ(install().exit_code, 0);
        write("var/dp/uefi_settings.txt", one_value("pending"));
        write("var/dp/uefi_settings.txt.backup", one_value("earlier"));
        write("var/dp/uefi_settings.txt.damaged-1", cut);
    }

    const std::string cut =
        one_value("old").substr(0, one_value("old").size() - 5) + "\n0 0 uefi set Boot.B \"4";
};

TEST_F(dp_server_kept_values, are_listed_with_their_state) {
    const auto result = run_program("dp-server", {"backups"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out,
              "uefi_settings.txt.backup: 1 value\n"
              "uefi_settings.txt.damaged-1: 1 value, damaged: it was cut off\n");
    ASSERT_EQ(install({"--replace"}).exit_code, 0);
    EXPECT_EQ(run_program("dp-server", {"backups"}).out, "");
}

TEST_F(dp_server_kept_values, a_backup_is_restored_and_the_replaced_file_becomes_the_backup) {
    const auto result = run_program("dp-server", {"restore", "uefi_settings.txt.backup"});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith("restored 1 value of uefi_settings.txt.backup;"));
    EXPECT_EQ(read("var/dp/uefi_settings.txt"), one_value("earlier"));
    EXPECT_EQ(read("var/dp/uefi_settings.txt.backup"), one_value("pending"));
    ASSERT_EQ(run_program("dp-server", {"restore", "uefi_settings.txt.backup"}).exit_code, 0);
    EXPECT_EQ(read("var/dp/uefi_settings.txt"), one_value("pending"));
}

TEST_F(dp_server_kept_values, a_damaged_file_is_restored_only_on_request) {
    const auto refused = run_program("dp-server", {"restore", "uefi_settings.txt.damaged-1"});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_THAT(refused.err, HasSubstr("--partial restores what is left: 1"));
    EXPECT_EQ(read("var/dp/uefi_settings.txt"), one_value("pending"));
    write("var/dp/uefi_settings.txt", "damaged too");
    const auto restored =
        run_program("dp-server", {"restore", "uefi_settings.txt.damaged-1", "--partial"});
    EXPECT_EQ(restored.exit_code, 0) << restored.err;
    EXPECT_EQ(read("var/dp/uefi_settings.txt"), one_value("old"));
    EXPECT_EQ(read("var/dp/uefi_settings.txt.damaged-1"), "damaged too");
    EXPECT_EQ(read("var/dp/uefi_settings.txt.damaged-2"), cut);
    EXPECT_EQ(read("var/dp/uefi_settings.txt.backup"), one_value("earlier"));
}

TEST_F(dp_server_kept_values, only_listed_files_are_restored) {
    for (const char* const name : {"uefi_settings.txt", "../x", "uefi_settings.txt.damaged-4"}) {
        EXPECT_THAT(run_program("dp-server", {"restore", name}).err,
                    HasSubstr("is not the name of a backup or a damaged file"));
    }
    EXPECT_THAT(run_program("dp-server", {"restore", "uefi_current.txt.backup"}).err,
                HasSubstr("uefi_current.txt.backup: cannot be read"));
    EXPECT_EQ(run_program("dp-server", {"restore"}).exit_code, 2);
}

TEST_F(dp_server, install_refuses_a_folder_that_is_a_symlink) {
    compile(test::sample_registry);
    std::filesystem::remove_all(path("tmp/dp"));
    std::filesystem::create_directory(path("elsewhere"));
    std::filesystem::create_directory_symlink(path("elsewhere"), path("tmp/dp"));
    const auto result = install();
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("tmp/dp: is not a folder"));
    EXPECT_FALSE(exists("var/dp/uefi_template.efi"));
}

using test::fake_request_service;
using test::service_end;

/// Takes a request and answers it. Returns the kind of the request.
std::string answer_request(service_end& client, int status, const std::string& text) {
    dp_service::request_protocol::request_header header;
    std::string request_text;
    if (client.take_request(header, request_text)) {
        client.answer(status, text);
    }
    return header.kind;
}

TEST_F(dp_server, restart_waits_for_the_answer) {
    std::string request;
    program_result result;
    {
        const fake_request_service service([&](service_end& client) {
            client.send("waiting 1\n");
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            request = answer_request(client, 0, "");
        });
        result = run_program("dp-server", {"restart"});
    }
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "restarted: the pending values are current now\n");
    EXPECT_EQ(request, "restart");
}

TEST_F(dp_server, reports_a_refusal_with_its_reason) {
    program_result result;
    {
        const fake_request_service service(
            [](service_end& client) { answer_request(client, 56, "the disk is full"); });
        result = run_program("dp-server", {"restart"});
    }
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "dp-server: restart: the disk is full (status 56)\n");
}

TEST_F(dp_server, update_stores_its_parts_before_the_request) {
    compile(test::updated_sample_registry);
    std::string request;
    std::string bios;
    std::string build_id;
    program_result result;
    {
        const fake_request_service service([&](service_end& client) {
            bios = read("var/dp/update/uefi_template.efi");
            build_id = read("var/dp/update/build_id");
            request = answer_request(client, 0, "");
        });
        result =
            run_program("dp-server", {"update", "--template", "u.efi", "--build-id", "HLD 1.5.0"});
    }
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "updated the BIOS to HLD 1.5.0\n");
    EXPECT_EQ(request, "update");
    EXPECT_EQ(bios, read("u.efi"));
    EXPECT_EQ(build_id, "HLD 1.5.0\n");
}

TEST_F(dp_server, update_stores_the_registry_and_no_earlier_one) {
    compile(test::updated_sample_registry);
    std::filesystem::create_directories(path("var/dp/update"));
    std::string registry;
    const auto update = [&](const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"update", "--template", "u.efi", "--build-id", "2"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        registry.clear();
        const fake_request_service service([&](service_end& client) {
            if (exists("var/dp/update/uefi_registry.json")) {
                registry = read("var/dp/update/uefi_registry.json");
            }
            answer_request(client, 0, "");
        });
        return run_program("dp-server", arguments);
    };
    ASSERT_EQ(update({}).exit_code, 0);
    EXPECT_EQ(registry, read("uefi_registry.json"));
    std::filesystem::rename(path("uefi_registry.json"), path("k.json"));
    ASSERT_EQ(update({"--dry-run"}).exit_code, 0);
    EXPECT_EQ(registry, "");
    ASSERT_EQ(update({"--dry-run", "--registry", "k.json"}).exit_code, 0);
    EXPECT_EQ(registry, read("k.json"));
}

TEST_F(dp_server, withdraws_a_request_whose_turn_does_not_come) {
    program_result result;
    std::string received;
    {
        const fake_request_service service([&](service_end& client) {
            client.read_line();
            // The end of the connection.
            received = client.read_line();
        });
        result = run_program("dp-server", {"restart", "--timeout", "0.2"});
    }
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("withdrawn, nothing was changed"));
    EXPECT_EQ(received, "");
}

TEST_F(dp_server, reports_a_request_that_started_and_was_not_answered) {
    program_result result;
    {
        const fake_request_service service([](service_end& client) {
            dp_service::request_protocol::request_header header;
            std::string text;
            client.take_request(header, text);
        });
        result = run_program("dp-server", {"restart"});
    }
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("the request had started"));
}

TEST_F(dp_server, runs_one_request_at_a_time) {
    std::atomic<int> running = 0;
    std::atomic<int> overlapping = 0;
    std::atomic<int> done = 0;
    {
        const fake_request_service service([&](service_end& client) {
            overlapping += ++running > 1 ? 1 : 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            --running;
            answer_request(client, 0, "");
        });
        std::vector<std::thread> operators;
        for (int i = 0; i < 4; ++i) {
            operators.emplace_back(
                [&] { done += run_program("dp-server", {"restart"}).exit_code == 0 ? 1 : 0; });
        }
        for (auto& thread : operators) {
            thread.join();
        }
    }
    EXPECT_EQ(overlapping, 0);
    EXPECT_EQ(done, 4);
}

TEST_F(dp_server, fails_without_a_service_or_a_readable_template) {
    const auto update =
        run_program("dp-server", {"update", "--template", "missing", "--build-id", "1"});
    EXPECT_EQ(update.exit_code, 1);
    EXPECT_THAT(update.err, HasSubstr("missing: No such file"));
    const auto restart = run_program("dp-server", {"restart"});
    EXPECT_EQ(restart.exit_code, 1);
    EXPECT_THAT(restart.err, HasSubstr("dp_settingsd is not running"));
}

TEST_F(dp_server, does_not_use_folders_of_other_users) {
    if (geteuid() != 0 || !unprivileged_user_can_run("dp-server")) {
        GTEST_SKIP() << "needs root, to act as two users";
    }
    const fake_request_service service([](service_end& client) { answer_request(client, 0, ""); });
    chmod(path("var/dp").c_str(), 0755);
    chmod(path("run/dp").c_str(), 0777);
    const auto result = test::run_program_unprivileged("dp-server", {"restart"});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_THAT(result.err, HasSubstr("other users can write to"));
}

TEST_F(dp_server, distinguishes_wrong_usage_from_failure) {
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

}  // namespace
