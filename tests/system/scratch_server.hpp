#ifndef DP_TESTS_SYSTEM_SCRATCH_SERVER_HPP
#define DP_TESTS_SYSTEM_SCRATCH_SERVER_HPP

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "bios/template_info.hpp"

namespace test {

/// A simulated server in the run's scratch folder ($DP_ROOT) and the dp_settingsd that serves it, a
/// real process. The test's own process, linked with the relocatable library, may use the C API
/// beside it. One at a time.
class scratch_server {
  public:
    static constexpr std::chrono::seconds patience{120};

    /// Empties the scratch folder and lays out a server that was never started: the outside tools,
    /// and the sample template with the build id "B1".
    scratch_server();
    /// Kills a service that still runs.
    ~scratch_server();
    scratch_server(const scratch_server&) = delete;
    scratch_server& operator=(const scratch_server&) = delete;

    /// Replaces the template, compressed, and the build id. Only while no service runs.
    static void install(const std::vector<template_info>& infos, const std::string& build_id);

    /// Lays out the parts of a BIOS update.
    static void place_update(const std::vector<template_info>& infos, const std::string& build_id);

    /// Starts the service and waits until it is ready. False when it ended instead; `wait` and
    /// `log` then tell how.
    bool start();

    /// Starts the service without waiting.
    void launch();
    /// The same with standard input, output and error closed: it can't tell that it is ready.
    void launch_without_streams();
    /// Waits for its "ready" line; false when it ended without.
    bool wait_until_ready();

    /// Sends a signal to the service.
    void send(int signal) const;
    /// Waits for the service's end. Its exit code, or 128 and the number of the signal; -1 when it
    /// does not end in time (it is killed then).
    int wait();
    /// `send` and `wait`.
    int stop(int signal = SIGTERM);

    [[nodiscard]] bool is_running() const { return pid_ > 0; }
    [[nodiscard]] pid_t pid() const { return pid_; }

    /// What the service has written to standard error since the last start: its log.
    [[nodiscard]] static std::string log();

    /// Writes a batch as clients do. An earlier result is removed first.
    static void write_batch(const std::string& text);
    /// The result of a batch as soon as there is one; "(no result)" when none comes in time.
    static std::string wait_for_result();
    /// `write_batch` and `wait_for_result`.
    static std::string run_batch(const std::string& text);

    /// Makes a request to the server ("restart\n") and returns the answer.
    static std::string request(const std::string& text);

    /// Files of the server.
    static std::string path(const std::string& below_root);
    static std::string batch() { return path("/tmp/dp/batch"); }
    static std::string result() { return path("/tmp/dp/batch.out"); }
    static std::string pending() { return path("/var/dp/uefi_settings.txt"); }
    static std::string current() { return path("/var/dp/uefi_current.txt"); }

  private:
    void launch(bool with_streams);

    pid_t pid_ = 0;
    int out_ = -1;
};

/// Waits until `condition` holds; false when it does not in time.
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + scratch_server::patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        const timespec pause{0, 2'000'000};
        nanosleep(&pause, nullptr);
    }
    return true;
}

}  // namespace test

#endif
