// Changes with the real settings service, in a scratch folder. The client pauses for 1000 ms before
// it checks for an answer; here the pause ends as soon as there is one, so that everything except
// the pause is measured.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/support/scratch_root.hpp"
#include "bench/support/side_by_side.hpp"
#include "bios/dp_api.h"
#include "platform/sysipc/thread.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/service_process.hpp"

namespace {

constexpr unsigned changes = 100;
constexpr int rounds = 31;

double seconds_of_changes(const std::vector<template_info>& infos, unsigned round) {
    std::vector<std::string> names;
    std::vector<dp_transaction> requests(infos.size());
    for (const auto& info : infos) {
        names.push_back(info.cfg + '.' + info.id);
    }
    const std::string value = std::to_string(round);
    for (std::size_t i = 0; i < infos.size(); ++i) {
        requests[i].operation = 2;
        requests[i].name = names[i].c_str();
        requests[i].new_value = value.c_str();
    }
    const auto start = std::chrono::steady_clock::now();
    const int failed =
        dp_set_bios_attribute_value(requests.data(), static_cast<unsigned>(requests.size()));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    bench::require(failed == 0, "changes failed");
    return took.count();
}

void measure(unsigned count) {
    const auto infos = test::numbers("Boot", count);
    test::service_process server;
    test::service_process::install(infos, "B1");
    bench::require(server.start(), "the settings service did not start");
    std::vector<double> times;
    for (unsigned round = 1; round <= rounds; ++round) {
        times.push_back(seconds_of_changes(infos, round));
    }
    std::sort(times.begin(), times.end());
    std::printf("%u changes in a call: %.2f ms without the pause (%.2f .. %.2f; %.2f .. %.2f)\n",
                count, times[rounds / 2] * 1000, times[rounds / 4] * 1000,
                times[rounds * 3 / 4] * 1000, times.front() * 1000, times.back() * 1000);
}

}  // namespace

namespace sysipc {

void thread::sleep(std::uint32_t milliseconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (access(test::service_process::result().c_str(), F_OK) != 0 &&
           std::chrono::steady_clock::now() < end) {
        usleep(50);
    }
}

}  // namespace sysipc

int main(int /*argc*/, char** argv) {
    return bench::in_scratch_root(argv, bench::place::disk, [] {
        dp_api_initialize();
        measure(1);
        measure(changes);
        dp_api_uninitialize();
    });
}
