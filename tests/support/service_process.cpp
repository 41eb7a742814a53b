#include "tests/support/service_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "platform/posix/efi_compressor.hpp"
#include "service_api/settings_client.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {
namespace {

std::string compressed(const std::vector<template_info>& infos) {
    std::ostringstream text;
    for (const auto& info : infos) {
        text << info;
    }
    return dp_platform::efi_compress(text.str());
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

std::string to_text(const dp_service::settings_client::result& answer) {
    if (answer.state != dp_service::settings_client::states::answered) {
        return "(no answer)";
    }
    return answer.status == 0 ? "0" : std::to_string(answer.status) + ' ' + answer.text;
}

std::string log_file() {
    return service_process::path("/service.log");
}

}  // namespace

service_process::service_process() {
    clean_root();
    // The library in this process runs the tools too.
    for (const char* tool : {"dpspy", "sysvpd"}) {
        std::filesystem::create_symlink(program_path(tool), path(std::string("/bin/") + tool));
    }
    install(sample_template(), "B1");
}

service_process::~service_process() {
    if (is_running()) {
        stop(SIGKILL);
    }
}

std::string service_process::path(const std::string& below_root) {
    return root() + below_root;
}

void service_process::install(const std::vector<template_info>& infos,
                              const std::string& build_id) {
    write_file(path("/var/dp/uefi_template.efi"), compressed(infos));
    write_file(path("/var/dp/vpd.txt"), "SERIAL=1\nUEFIID=" + build_id + "\n");
}

void service_process::place_update(const std::vector<template_info>& infos,
                                   const std::string& build_id) {
    std::filesystem::create_directories(path("/var/dp/update"));
    write_file(path("/var/dp/update/uefi_template.efi"), compressed(infos));
    write_file(path("/var/dp/update/build_id"), build_id + "\n");
}

bool service_process::start() {
    launch();
    return wait_until_ready();
}

void service_process::launch() {
    launch(true);
}

void service_process::launch_without_streams() {
    launch(false);
}

void service_process::launch(bool with_streams) {
    if (is_running()) {
        throw std::logic_error("the service is already running");
    }
    const pipe_ends ready = make_pipe();
    const std::string program = program_path("dp_settingsd");
    const std::string log_name = log_file();
    const argument_list arguments("dp_settingsd", options);
    pid_ = fork();
    if (pid_ == 0) {
        const int log = open(log_name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(ready.write_end, STDOUT_FILENO);
        dup2(log, STDERR_FILENO);
        for (int stream = STDIN_FILENO; !with_streams && stream <= STDERR_FILENO; ++stream) {
            close(stream);
        }
        execv(program.c_str(), arguments.data());
        _exit(127);
    }
    close(ready.write_end);
    out_ = ready.read_end;
}

bool service_process::wait_until_ready() {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::string text;
    while (text.find("dp_settingsd: ready\n") == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd entry{out_, POLLIN, 0};
        char buffer[256];
        if (left.count() <= 0 || poll(&entry, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        const ssize_t count = read(out_, buffer, sizeof buffer);
        if (count <= 0) {
            return false;
        }
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return true;
}

void service_process::send(int signal) const {
    kill(pid_, signal);
}

int service_process::wait() {
    int status = 0;
    const bool ended = eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; });
    if (!ended) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status, 0);
    }
    pid_ = 0;
    close(out_);
    out_ = -1;
    return ended ? exit_code_of(status) : -1;
}

int service_process::stop(int signal) {
    send(signal);
    return wait();
}

std::string service_process::log() {
    return read_file(log_file());
}

void service_process::write_batch(const std::string& text) {
    std::remove(result().c_str());
    write_file(batch(), text);
}

std::string service_process::wait_for_result() {
    return eventually([] { return exists(result()); }) ? read_file(result()) : "(no result)";
}

std::string service_process::run_batch(const std::string& text) {
    write_batch(text);
    return wait_for_result();
}

std::string service_process::restart() {
    return to_text(dp_service::settings_client().restart());
}

std::string service_process::update() {
    return to_text(dp_service::settings_client().update());
}

}  // namespace test
