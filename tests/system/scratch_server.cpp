#include "tests/system/scratch_server.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/posix/efi_compressor.hpp"
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

std::string log_file() {
    return scratch_server::path("/service.log");
}

}  // namespace

scratch_server::scratch_server() {
    clean_root();
    // The tools run below this process too, and all of them use the paths of the scratch folder.
    for (const char* tool : {"dpspy", "sysvpd"}) {
        std::filesystem::create_symlink(program_path(tool), path(std::string("/bin/") + tool));
    }
    install(sample_template(), "B1");
}

scratch_server::~scratch_server() {
    if (is_running()) {
        stop(SIGKILL);
    }
}

std::string scratch_server::path(const std::string& below_root) {
    return root() + below_root;
}

void scratch_server::install(const std::vector<template_info>& infos, const std::string& build_id) {
    write_file(path("/var/dp/uefi_template.efi"), compressed(infos));
    write_file(path("/var/dp/vpd.txt"), "SERIAL=1\nUEFIID=" + build_id + "\n");
}

void scratch_server::place_update(const std::vector<template_info>& infos,
                                  const std::string& build_id) {
    std::filesystem::create_directories(path("/var/dp/update"));
    write_file(path("/var/dp/update/uefi_template.efi"), compressed(infos));
    write_file(path("/var/dp/update/build_id"), build_id + "\n");
}

bool scratch_server::start() {
    launch();
    return wait_until_ready();
}

void scratch_server::launch() {
    launch(true);
}

void scratch_server::launch_without_streams() {
    launch(false);
}

void scratch_server::launch(bool with_streams) {
    int ends[2] = {-1, -1};
    if (is_running() || pipe2(ends, O_CLOEXEC) != 0) {
        throw std::logic_error("a service runs already, or there are no pipes");
    }
    const std::string program = program_path("dp_settingsd");
    const std::string log_name = log_file();
    pid_ = fork();
    if (pid_ == 0) {
        const int log = open(log_name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        dup2(log, STDERR_FILENO);
        for (int stream = STDIN_FILENO; !with_streams && stream <= STDERR_FILENO; ++stream) {
            close(stream);
        }
        execl(program.c_str(), "dp_settingsd", nullptr);
        _exit(127);
    }
    close(ends[1]);
    out_ = ends[0];
}

bool scratch_server::wait_until_ready() {
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

void scratch_server::send(int signal) const {
    kill(pid_, signal);
}

int scratch_server::wait() {
    int status = 0;
    const bool ended = eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; });
    if (!ended) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status, 0);
    }
    pid_ = 0;
    close(out_);
    out_ = -1;
    if (!ended) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int scratch_server::stop(int signal) {
    send(signal);
    return wait();
}

std::string scratch_server::log() {
    return read_file(log_file());
}

void scratch_server::write_batch(const std::string& text) {
    std::remove(result().c_str());
    write_file(batch(), text);
}

std::string scratch_server::wait_for_result() {
    return eventually([] { return exists(result()); }) ? read_file(result()) : "(no result)";
}

std::string scratch_server::run_batch(const std::string& text) {
    write_batch(text);
    return wait_for_result();
}

std::string scratch_server::request(const std::string& text) {
    const std::string answer = path("/tmp/dp/server.out");
    std::remove(answer.c_str());
    write_file(path("/tmp/dp/server"), text);
    return eventually([&] { return exists(answer); }) ? read_file(answer) : "(no answer)";
}

}  // namespace test
