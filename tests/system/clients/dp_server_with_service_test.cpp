#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "tests/support/dpctl.hpp"
#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/service_process.hpp"

// dp-server with a running dp_settingsd.

namespace {

using test::dpctl;
using test::program_result;
using test::run_program;
using test::service_process;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string registry = std::string(DP_SOURCE_DIR) + "/examples/registry/server.registry.json";

class dp_server_with_service : public testing::Test {
  protected:
    void SetUp() override {
        const auto installed =
            run_program("dp-server", {"install", "--template", compile(registry, "first"),
                                      "--settings", "first.txt", "--build-id", "1", "--replace"});
        ASSERT_EQ(installed.exit_code, 0) << installed.err;
        ASSERT_TRUE(server_.start()) << service_process::log();
    }

    // Compiles a registry to NAME.efi and NAME.txt, and returns the first.
    static std::string compile(const std::string& from, const std::string& name) {
        const auto result = run_program("dp-template", {from, "-o", name + ".efi", "--settings",
                                                        name + ".txt", "--text", name + ".text"});
        EXPECT_EQ(result.exit_code, 0) << result.err;
        return name + ".efi";
    }

    // The example registry with one more menu: no element of the menus' paths is common any more,
    // so all collections get other names.
    static std::string with_another_menu() {
        std::string text = test::read_file(registry);
        const std::string begin = "\"Attributes\": [";
        text.insert(text.find(begin) + begin.size(),
                    R"({"AttributeName": "ExtraName", "Type": "String", "DefaultValue": "v",
                        "MenuPath": "./Extras"},)");
        test::write_file(service_process::path("/second.json"), text);
        return compile("second.json", "second");
    }

    static program_result update(const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"update", "--template", "second.efi", "--build-id", "2"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run_program("dp-server", arguments);
    }

    service_process server_;
};

TEST_F(dp_server_with_service, an_update_that_renames_all_collections_keeps_every_value) {
    ASSERT_EQ(dpctl({"set", "Boot.BootMode=LegacyBios"}).exit_code, 0);
    with_another_menu();
    const auto planned = update({"--dry-run"});
    EXPECT_EQ(planned.exit_code, 0) << planned.err;
    EXPECT_THAT(planned.out,
                StartsWith("an update to 2 would do this:\nkept 0 values, converted "));
    EXPECT_THAT(planned.out, HasSubstr(", lost 0\n"));
    EXPECT_THAT(planned.out,
                HasSubstr("converted Boot.BootMode \"LegacyBios\" to Setup.BootMode\n"));
    EXPECT_EQ(dpctl({"get", "Boot.BootMode"}).out, "Boot.BootMode=LegacyBios\n");

    const auto updated = update();
    EXPECT_EQ(updated.exit_code, 0) << updated.err;
    EXPECT_EQ(updated.out.substr(updated.out.find('\n')),
              planned.out.substr(planned.out.find('\n')));
    EXPECT_EQ(dpctl({"get", "Setup.BootMode"}).out, "Setup.BootMode=LegacyBios\n");
    EXPECT_EQ(dpctl({"get", "Extras.ExtraName"}).out, "Extras.ExtraName=v\n");
    const std::string changes = dpctl({"history"}).out;
    EXPECT_THAT(changes, HasSubstr("(BIOS)"));
    EXPECT_THAT(changes, HasSubstr("Setup.BootMode"));
}

TEST_F(dp_server_with_service, an_update_carries_the_registry) {
    const auto installed = [] {
        return test::read_file(service_process::path("/var/dp/uefi_registry.json"));
    };
    const std::string first = installed();
    with_another_menu();
    const std::string second = test::read_file(service_process::path("/uefi_registry.json"));
    ASSERT_NE(first, second);
    EXPECT_EQ(update({"--dry-run"}).exit_code, 0);
    EXPECT_EQ(installed(), first);
    EXPECT_EQ(update().exit_code, 0);
    EXPECT_EQ(installed(), second);
    std::filesystem::remove(service_process::path("/uefi_registry.json"));
    EXPECT_EQ(update().exit_code, 0);
    EXPECT_FALSE(std::filesystem::exists(service_process::path("/var/dp/uefi_registry.json")));
}

TEST_F(dp_server_with_service, a_dry_run_reports_why_an_update_would_be_refused) {
    test::write_file(service_process::path("/second.efi"), "garbage");
    const auto refused = update({"--dry-run"});
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_THAT(refused.err, StartsWith("dp-server: update: "));
}

}  // namespace
