#include "tests/support/service_process.hpp"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <sstream>

#include "platform/posix/efi_compressor.hpp"
#include "service_api/settings_client.hpp"
#include "tests/support/eventually.hpp"
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

}  // namespace

service_process::service_process() : daemon_process("dp_settingsd", "service") {
    clean_root();
    // The library in this process runs the tools too.
    for (const char* tool : {"dpspy", "sysvpd"}) {
        std::filesystem::create_symlink(program_path(tool), path(std::string("/bin/") + tool));
    }
    install(sample_template(), "B1");
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
