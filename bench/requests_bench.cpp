// Changes through the request socket of the real settings service, on the disk: `dpctl set` as a
// whole process, and batches of the client class. The service writes the values durably before it
// answers; how long that alone takes is measured beside it.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bench/support/scratch_root.hpp"
#include "bench/support/side_by_side.hpp"
#include "service_api/settings_client.hpp"
#include "support/staged_file.hpp"
#include "tests/support/program.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/service_process.hpp"

namespace {

using dp_service::settings_client;

constexpr int single_rounds = 300;
constexpr int batch_rounds = 21;

void report(const std::string& title, std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const auto part = [&](double share) {
        return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))] *
               1000;
    };
    std::printf("%s: median %.2f ms, 99th percentile %.2f ms, greatest %.2f ms\n", title.c_str(),
                part(0.5), part(0.99), part(1));
}

std::vector<double> times_of(int rounds, const std::function<void(int)>& work) {
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const auto start = std::chrono::steady_clock::now();
        work(round);
        times.push_back(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return times;
}

// Writing a file of the size of the values file durably, as the service does.
void write_durably(std::uintmax_t size) {
    dp_support::staged_file file(test::service_process::path("/var/dp/durable"),
                                 dp_support::staged_file::durable);
    file.out() << std::string(static_cast<std::size_t>(size), 'x');
    bench::require(file.complete().and_then([&] { return file.replace(); }).ok(),
                   "the file could not be written");
}

// A registry in which each attribute limits the next one as long as it is above 1000, and each
// tenth sets the one after the next.
std::string registry_of(const std::vector<template_info>& infos) {
    std::string attributes;
    std::string dependencies;
    for (std::size_t i = 0; i < infos.size(); ++i) {
        const bool sets = i % 10 == 0;
        const std::string& to = infos[(i + (sets ? 2 : 1)) % infos.size()].id;
        attributes += std::string(i == 0 ? "" : ",\n") + R"({"AttributeName": ")" + infos[i].id +
                      R"(", "Type": "Integer"})";
        dependencies +=
            std::string(i == 0 ? "" : ",\n") + R"({"DependencyFor": ")" + infos[i].id +
            R"(", "Dependency": {"MapFrom": [{"MapFromAttribute": ")" + infos[i].id +
            R"(", "MapFromCondition": "GTR", "MapFromValue": 1000}], "MapToAttribute": ")" + to +
            R"(", "MapToProperty": ")" + (sets ? "CurrentValue" : "UpperBound") +
            R"(", "MapToValue": 2000}})";
    }
    return R"({"RegistryEntries": {"Attributes": [)" + attributes + R"(], "Dependencies": [)" +
           dependencies + "]}}";
}

enum class registry : bool { none, present };

void measure(unsigned count, registry has_registry = registry::none) {
    const auto infos = test::numbers("Boot", count);
    test::service_process server;
    test::service_process::install(infos, "B1");
    if (has_registry == registry::present) {
        std::printf("With a registry of as many dependencies:\n");
        test::write_file(test::service_process::path("/var/dp/uefi_registry.json"),
                         registry_of(infos));
    }
    bench::require(server.start(), "the settings service did not start");
    const std::string of_many = " of " + std::to_string(count) + " values";

    report("dpctl set of one" + of_many, times_of(single_rounds, [](int round) {
               const auto result = test::run_program(
                   "dpctl", {"set", "Boot.Attribute0=" + std::to_string(round % 2 + 1)});
               bench::require(result.exit_code == 0, "dpctl failed");
           }));
    report("one request for one" + of_many, times_of(single_rounds, [](int round) {
               std::vector<settings_client::change> changes{
                   {"Boot.Attribute0", std::to_string(round % 2 + 3)}};
               settings_client().change_settings(changes);
               bench::require(changes[0].status == 0, "the change failed");
           }));
    report("one request for all" + of_many, times_of(batch_rounds, [&](int round) {
               std::vector<settings_client::change> changes;
               for (const auto& info : infos) {
                   changes.push_back({info.cfg + '.' + info.id, std::to_string(round + 5)});
               }
               settings_client().change_settings(changes);
               bench::require(changes.back().status == 0, "the changes failed");
           }));
    const auto size = std::filesystem::file_size(test::service_process::pending());
    report("a durable file of that size alone",
           times_of(single_rounds, [&](int /*round*/) { write_durably(size); }));
    bench::require(server.stop() == 0, "the settings service failed");
}

void measure_all() {
    for (const unsigned count : {100U, 10'000U}) {
        measure(count);
        measure(count, registry::present);
    }
}

}  // namespace

int main(int /*argc*/, char** argv) {
    return bench::in_scratch_root(argv, bench::place::disk, measure_all);
}
