#ifndef DP_TESTS_UNIT_BIOS_BIOS_SERVICE_HPP
#define DP_TESTS_UNIT_BIOS_BIOS_SERVICE_HPP

#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <string>

#include "bios/cim_helper.hpp"
#include "bios/dp_api.h"
#include "tests/support/child_process.hpp"
#include "tests/support/template_records.hpp"
#include "tests/support/test_platform.hpp"

namespace test {

/// Fixture with the files of the BIOS attribute service in a clean scratch folder and a stepped
/// clock.
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

    /// Writes a file whose modification time is `age` seconds ago.
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

/// Sleeps long enough for another process to start waiting for a lock.
inline void pause_for_a_waiter() {
    usleep(150'000);
}

}  // namespace test

#endif
