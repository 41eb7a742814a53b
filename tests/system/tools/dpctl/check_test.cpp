#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>

#include "tests/support/program.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/dpctl_json.hpp"
#include "tests/system/tools/dpctl/server_files.hpp"

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

// Locks a file, so that readers wait until this object is destroyed. Writes through the descriptor
// that has the lock, because closing another descriptor of the file would release it.
class locked_file {
  public:
    explicit locked_file(const std::string& path) : fd_(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        EXPECT_EQ(fcntl(fd_, F_SETLKW, &lock), 0) << path;
    }
    ~locked_file() { close(fd_); }
    locked_file(const locked_file&) = delete;
    locked_file& operator=(const locked_file&) = delete;

    void replace(const std::string& content) const {
        EXPECT_EQ(ftruncate(fd_, 0), 0);
        EXPECT_EQ(pwrite(fd_, content.data(), content.size(), 0),
                  static_cast<ssize_t>(content.size()));
    }
    // Whether a reader waits for the file within a minute.
    [[nodiscard]] static bool wait_for_reader() {
        for (int i = 0; i < 3000; ++i) {
            if (has_waiting_reader()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

  private:
    // The kernel lists the locks and, after each lock, the processes that wait for it. Each line
    // begins with the number of the lock.
    static bool has_waiting_reader() {
        const std::string holder = " WRITE " + std::to_string(getpid()) + " ";
        std::istringstream locks(test::read_file("/proc/locks"));
        std::string number;
        for (std::string line; std::getline(locks, line);) {
            if (line.find("->") == std::string::npos) {
                const bool is_ours = line.find(holder) != std::string::npos;
                number = is_ours ? line.substr(0, line.find(':') + 1) : "";
            } else if (!number.empty() && line.starts_with(number)) {
                return true;
            }
        }
        return false;
    }

    int fd_;
};

TEST_F(dpctl_check, reports_another_build_and_other_settings) {
    test::write_file(test::root() + "/tmp/dp/uefi.bld", "ONE-1.00\n");
    const auto result = check_during([] {
        test::write_file(test::root() + "/var/dp/uefi_settings.txt",
                         test::value_line("Boot.Mode", "UEFI"));
        test::write_file(test::root() + "/tmp/dp/uefi.bld", "TWO-2.00\n");
    });
    EXPECT_EQ(result.exit_code, 0);
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
    test::set_mtime(settings, 1'000'000'000);
    test::write_file(test::root() + "/tmp/dp/uefi.bld", "ONE-1.00\n");
    const auto result = check_during([&] {
        const locked_file build_id(test::root() + "/tmp/dp/uefi.bld");
        build_id.replace("TWO-2.00\n");
        // The settings, which were rewritten, are examined before the build id.
        test::write_file(settings, test::read_file(settings));
        EXPECT_TRUE(locked_file::wait_for_reader());
        test::write_file(settings, test::value_line("Boot.Mode", "UEFI"));
    });
    EXPECT_THAT(result.out, HasSubstr("\n  5  the settings file"));
    EXPECT_THAT(result.out, HasSubstr("\n  6  another BIOS build"));
}

}  // namespace
