#ifndef DP_TESTS_UNIT_BIOS_BIOS_SERVICE_HPP
#define DP_TESTS_UNIT_BIOS_BIOS_SERVICE_HPP

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <functional>
#include <stdexcept>
#include <string>

#include "bios/cim_helper.hpp"
#include "bios/dp_api.h"
#include "tests/support/template_text.hpp"
#include "tests/support/test_platform.hpp"

namespace test {

/// The files of the BIOS attribute service in a clean scratch folder, and a stepped clock.
class bios_service : public testing::Test {
  protected:
    bios_service() { clean_root(); }
    ~bios_service() override {
        dp_api_uninitialize();
        dp_cim_change_template_fname(template_file.c_str());
        dp_cim_change_settings_fname(settings_file.c_str());
        dp_cim_change_current_fname(current_file.c_str());
    }

    const std::string template_file = root() + "/var/dp/uefi_template.efi";
    const std::string settings_file = root() + "/var/dp/uefi_settings.txt";
    const std::string current_file = root() + "/var/dp/uefi_current.txt";
    const std::string info_file = root() + "/tmp/dp/uefi_info.txt";
    const std::string configs_file = root() + "/tmp/dp/uefi_configs.txt";
    const std::string build_id_file = root() + "/tmp/dp/uefi.bld";
    const std::string batch_file = root() + "/tmp/dp/batch";
    const std::string result_file = root() + "/tmp/dp/batch.out";
    const std::string dpspy = root() + "/bin/dpspy";
    const std::string sysvpd = root() + "/bin/sysvpd";

    stepped_time time;

    /// Writes a file that was last changed `age` seconds ago.
    void write_aged(const std::string& path, const std::string& content, std::time_t age) {
        write_file(path, content);
        set_mtime(path, time.now() - age);
    }
};

/// A line of a settings file.
inline std::string setting(const std::string& name, const std::string& value) {
    std::string line = "0 0 t set ";
    line += name;
    line += " \"";
    line += value;
    line += "\" \"\"\n";
    return line;
}

/// A line of a result file.
inline std::string outcome(const std::string& status, const std::string& correlator) {
    std::string line = status;
    line += ' ';
    line += correlator;
    line += " <cim-0> set A.B \"\" \"\" \n";
    return line;
}

inline dp_transaction request(std::uint32_t operation, const char* name,
                              const char* new_value = nullptr) {
    dp_transaction trans{};
    trans.status = 4711;
    trans.operation = operation;
    trans.name = name;
    trans.new_value = new_value;
    return trans;
}

/// Runs `hold` in another process; returns once that process says that it is ready. `hold` gets a
/// function that says so.
class other_process {
  public:
    explicit other_process(const std::function<int(const std::function<void()>&)>& hold) {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            throw std::runtime_error("pipe");
        }
        pid_ = fork();
        if (pid_ == 0) {
            close(ends[0]);
            _exit(hold([&] { static_cast<void>(!write(ends[1], "r", 1)); }));
        }
        close(ends[1]);
        char ready = 0;
        while (::read(ends[0], &ready, 1) == -1 && errno == EINTR) {
        }
        close(ends[0]);
    }
    ~other_process() {
        if (pid_ > 0) {
            wait();
        }
    }
    other_process(const other_process&) = delete;
    other_process& operator=(const other_process&) = delete;

    /// What `hold` returned.
    int wait() {
        int status = 0;
        while (waitpid(pid_, &status, 0) == -1 && errno == EINTR) {
        }
        pid_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    pid_t pid_;
};

/// Long enough for another process to run into a lock.
inline void hold_on() {
    usleep(150'000);
}

}  // namespace test

#endif
