#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/dpctl.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/program.hpp"
#include "tests/support/program_on_terminal.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/service_process.hpp"

// Desired states with a running dp_settingsd.

namespace {

using nlohmann::json;
using test::dpctl;
using test::program_on_terminal;
using test::program_result;
using test::run_program;
using test::service_process;
using testing::HasSubstr;
using testing::Not;

class dpctl_desired_state : public testing::Test {
  protected:
    void SetUp() override { start_server(); }

    // A server that nobody has changed, of the example registry.
    void start_server() {
        if (server_.is_running()) {
            ASSERT_EQ(server_.stop(), 0);
        }
        const auto compiled = run_program(
            "dp-template", {std::string(DP_SOURCE_DIR) + "/examples/registry/server.registry.json",
                            "-o", "bios.efi", "--settings", "values.txt", "--text", "bios.txt"});
        ASSERT_EQ(compiled.exit_code, 0) << compiled.err;
        const auto installed =
            run_program("dp-server", {"install", "--template", "bios.efi", "--settings",
                                      "values.txt", "--build-id", "B1", "--replace"});
        ASSERT_EQ(installed.exit_code, 0) << installed.err;
        ASSERT_TRUE(server_.start()) << service_process::log();
    }

    static void write_state(const std::string& text) {
        test::write_file(service_process::path("/state"), text);
    }

    service_process server_;
};

TEST_F(dpctl_desired_state, of_one_server_is_applied_to_another) {
    ASSERT_EQ(dpctl({"set", "BootMode=LegacyBios", "AssetTag=rack 7", "ActiveCores=32",
                     "SrIov=False", "BootOrder=Usb,Nvme,Sata"})
                  .exit_code,
              0);
    const auto exported = dpctl({"export"});
    EXPECT_EQ(exported.exit_code, 0) << exported.err;
    const json state = json::parse(exported.out);
    EXPECT_EQ(state["RegistryVersion"], "1.4.2");
    EXPECT_EQ(state["BuildId"], "B1");
    EXPECT_EQ(state["Attributes"]["BootMode"], "LegacyBios");
    EXPECT_EQ(state["Attributes"]["ActiveCores"], 32);
    EXPECT_EQ(state["Attributes"]["SrIov"], false);
    EXPECT_FALSE(state["Attributes"].contains("SerialNumber")) << "it is read-only";

    start_server();
    write_state(exported.out);
    EXPECT_EQ(dpctl({"get", "BootMode"}).out, "Boot.BootMode=UEFI\n");
    const auto applied = dpctl({"apply", "state"});
    EXPECT_EQ(applied.exit_code, 0) << applied.err;
    EXPECT_THAT(applied.out, HasSubstr("Boot.BootMode: UEFI -> LegacyBios, pending"));
    EXPECT_EQ(dpctl({"diff", "state"}).exit_code, 3);
    EXPECT_EQ(dpctl({"apply", "state"}).exit_code, 3);
    EXPECT_EQ(json::parse(dpctl({"export"}).out), state);
    EXPECT_EQ(dpctl({"get", "--current", "BootMode"}).out, "Boot.BootMode=UEFI\n");
    const auto restarted = dpctl({"apply", "--restart", "state"});
    EXPECT_EQ(restarted.exit_code, 0) << restarted.err;
    EXPECT_THAT(restarted.out, HasSubstr("The server was restarted; the values are current.\n"));
    EXPECT_EQ(dpctl({"get", "--current", "BootMode"}).out, "Boot.BootMode=LegacyBios\n");
    EXPECT_EQ(dpctl({"diff"}).exit_code, 3);
    EXPECT_EQ(dpctl({"apply", "--restart", "state"}).exit_code, 3);
}

TEST_F(dpctl_desired_state, is_reverted) {
    ASSERT_EQ(dpctl({"set", "BootMode=LegacyBios", "ActiveCores=32"}).exit_code, 0);
    EXPECT_THAT(dpctl({"status"}).out,
                HasSubstr("A restart is needed: 2 pending values are not current.\n"));
    EXPECT_EQ(dpctl({"revert", "BootMode"}).exit_code, 0);
    EXPECT_EQ(dpctl({"diff"}).out, "Processor.ActiveCores: 48 -> 32\n");
    EXPECT_EQ(dpctl({"revert", "--all"}).exit_code, 0);
    EXPECT_EQ(dpctl({"revert", "--all"}).exit_code, 3);
    EXPECT_THAT(dpctl({"status"}).out,
                HasSubstr("No restart is needed: all pending values are current.\n"));
}

TEST_F(dpctl_desired_state, is_applied_as_a_whole_or_not_at_all_by_two_at_once) {
    test::write_file(service_process::path("/one"), "BootMode=LegacyBios\nActiveCores=32\n");
    test::write_file(service_process::path("/two"), "ActiveCores=16\nBootMode=UEFI\nPostDelay=5\n");
    for (int round = 0; round < 5; ++round) {
        program_result first;
        std::thread other([&] { first = dpctl({"apply", "one"}); });
        const auto second = dpctl({"apply", "two"});
        other.join();
        for (const program_result& result : {first, second}) {
            EXPECT_THAT(result.exit_code, testing::AnyOf(0, 1, 3)) << result.err;
            if (result.exit_code == 1) {
                EXPECT_THAT(result.err, HasSubstr("the pending values changed meanwhile"));
            }
        }
        EXPECT_NE(first.exit_code + second.exit_code, 2) << "one of them is applied";
        const std::string values = dpctl({"get", "BootMode", "ActiveCores"}).out;
        EXPECT_THAT(values, testing::AnyOf("Boot.BootMode=LegacyBios\nProcessor.ActiveCores=32\n",
                                           "Boot.BootMode=UEFI\nProcessor.ActiveCores=16\n"));
        ASSERT_EQ(dpctl({"revert", "--all", "--keep-going"}).exit_code, 0);
    }
}

bool comes_to_show(program_on_terminal& program, const std::string& text) {
    return test::eventually([&] { return program.output().find(text) != std::string::npos; });
}

TEST_F(dpctl_desired_state, is_applied_after_a_person_confirmed) {
    write_state("BootMode=LegacyBios\n");
    for (const char* const answer : {"\r", "n\r", "\x04"}) {
        program_on_terminal program("dpctl", {"apply", service_process::path("/state")});
        ASSERT_TRUE(comes_to_show(program, "Change 1 setting? [y/N] ")) << program.output();
        EXPECT_THAT(program.output(), HasSubstr("Boot.BootMode: UEFI -> LegacyBios\r\n"));
        program.type(answer);
        EXPECT_EQ(program.wait(), 1) << program.output();
        EXPECT_THAT(program.output(), HasSubstr("not confirmed"));
    }
    EXPECT_EQ(dpctl({"get", "BootMode"}).out, "Boot.BootMode=UEFI\n");
    program_on_terminal program("dpctl", {"apply", service_process::path("/state")});
    ASSERT_TRUE(comes_to_show(program, "[y/N] ")) << program.output();
    program.type("y\r");
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_EQ(dpctl({"get", "BootMode"}).out, "Boot.BootMode=LegacyBios\n");
}

TEST_F(dpctl_desired_state, is_not_applied_when_the_terminal_hangs_up) {
    write_state("BootMode=LegacyBios\n");
    program_on_terminal program("dpctl", {"apply", service_process::path("/state")});
    ASSERT_TRUE(comes_to_show(program, "[y/N] ")) << program.output();
    program.hang_up();
    EXPECT_NE(program.wait(), 0);
    EXPECT_EQ(dpctl({"get", "BootMode"}).out, "Boot.BootMode=UEFI\n");
    program_on_terminal unasked("dpctl", {"apply", "--yes", service_process::path("/state")});
    EXPECT_EQ(unasked.wait(), 0) << unasked.output();
    EXPECT_THAT(unasked.output(), Not(HasSubstr("[y/N]")));
}

}  // namespace
