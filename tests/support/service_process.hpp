#ifndef DP_TESTS_SUPPORT_SERVICE_PROCESS_HPP
#define DP_TESTS_SUPPORT_SERVICE_PROCESS_HPP

#include <string>
#include <vector>

#include "bios/template_info.hpp"
#include "tests/support/daemon_process.hpp"

namespace test {

/// dp_settingsd as a process, and the files of the server that it serves below $DP_ROOT. The test's
/// own process, linked with the relocatable library, may use the C API at the same time. There is
/// one at a time.
class service_process : public daemon_process {
  public:
    /// Empties the scratch folder and writes the files of a server that was never started: symlinks
    /// to the outside tools, and the sample template with the build id "B1".
    service_process();

    /// Replaces the compressed template and the build id. Call it only while no service runs.
    static void install(const std::vector<template_info>& infos, const std::string& build_id);

    /// Writes the files of a BIOS update.
    static void place_update(const std::vector<template_info>& infos, const std::string& build_id);

    /// The service's standard error since the last start: its log.
    [[nodiscard]] static std::string log() { return log_of("service"); }

    /// Removes an earlier result and writes a batch as clients do.
    static void write_batch(const std::string& text);
    /// Waits for a batch's result and returns it; "(no result)" when there is none.
    static std::string wait_for_result();
    /// `write_batch` and `wait_for_result`.
    static std::string run_batch(const std::string& text);

    /// Requests of the simulated server's operator. They return "0", or a status and the text of
    /// the answer; "(no answer)" when there is none.
    static std::string restart();
    static std::string update();

    /// Files of the server.
    static std::string path(const std::string& below_root);
    static std::string batch() { return path("/tmp/dp/batch"); }
    static std::string result() { return path("/tmp/dp/batch.out"); }
    static std::string pending() { return path("/var/dp/uefi_settings.txt"); }
    static std::string current() { return path("/var/dp/uefi_current.txt"); }
};

}  // namespace test

#endif
