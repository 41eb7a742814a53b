#include <gmock/gmock.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/dpctl_json.hpp"
#include "tests/system/tools/dpctl/sample_server_files.hpp"

namespace {

using test::dpctl_json;
using test::program_result;
using testing::HasSubstr;
using testing::IsEmpty;

class dpctl_check : public testing::Test {
  protected:
    dpctl_check() { server_.install(test::sample_settings()); }

    test::server_files server_;
};

TEST_F(dpctl_check, reports_no_change) {
    const nlohmann::json result = dpctl_json({"check", "Boot"});
    EXPECT_EQ(result["changed"], false);
    EXPECT_THAT(result["reasons"], IsEmpty());
    EXPECT_GE(result["waited_seconds"], 6);
}

// Checks Boot, and calls `update` in another thread as soon as changes are watched for.
template <class Update>
program_result check_during(Update update) {
    std::thread updating([&] {
        EXPECT_TRUE(test::wait_for_text(test::root() + "/err", "watching for changes"));
        update();
    });
    const std::string script = "'" + test::program_path("dpctl") + "' check Boot --wait 30 2>err";
    const auto result = test::run_program("/bin/sh", {"-c", script});
    updating.join();
    return result;
}

// Whether another process reads the file `path` within a minute, after `change` was called.
template <class Change>
bool is_read_after(const std::string& path, Change change) {
    const int notify = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(notify, path.c_str(), IN_ACCESS);
    change();
    pollfd event{notify, POLLIN, 0};
    const bool is_read = poll(&event, 1, 60'000) == 1;
    close(notify);
    return is_read;
}

TEST_F(dpctl_check, reports_another_build_and_other_settings) {
    test::write_file(test::root() + "/tmp/dp/uefi.bld", "ONE-1.00\n");
    const auto result = check_during([] {
        test::write_file(test::root() + "/var/dp/uefi_settings.txt",
                         test::value_line("Boot.Mode", "UEFI"));
        test::write_file(test::root() + "/tmp/dp/uefi.bld", "TWO-2.00\n");
    });
    EXPECT_EQ(result.exit_code, 4);
    EXPECT_THAT(result.out, testing::StartsWith("Boot: changed after "));
    EXPECT_THAT(
        result.out,
        HasSubstr(":\n"
                  "  5  the settings file lists other settings, or in another order\n"
                  "  6  another BIOS build is installed\n"
                  "Programs that use the BIOS attribute service must initialize it again\n"));
}

TEST_F(dpctl_check, checks_files_again_that_an_update_replaces_later) {
    const std::string settings = test::root() + "/var/dp/uefi_settings.txt";
    const std::string build_id = test::root() + "/tmp/dp/uefi.bld";
    test::write_file(build_id, "ONE-1.00\n");
    const auto result = check_during([&] {
        // The settings are examined before the build id.
        EXPECT_TRUE(is_read_after(build_id, [&] { test::write_file(build_id, "TWO-2.00\n"); }));
        test::write_file(settings, test::value_line("Boot.Mode", "UEFI"));
    });
    EXPECT_THAT(result.out, HasSubstr("\n  5  the settings file"));
    EXPECT_THAT(result.out, HasSubstr("\n  6  another BIOS build"));
}

}  // namespace
