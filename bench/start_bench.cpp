// The cost of starting a client: dp_api_initialize, and its first requests for 360 attributes and
// their values, compared with only reading the same files.
// tests/unit/bios/dp_api_start_posix_test.cpp checks that it reads each file once.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_settings_rdr.hpp"
#include "bench/support/generated_template.hpp"
#include "bench/support/scratch_root.hpp"
#include "bench/support/side_by_side.hpp"
#include "bios/dp_api.h"
#include "bios/template_info.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

constexpr unsigned attributes = 360;
constexpr const char* collection = "Boot";

struct server_files {
    std::string original = test::root() + "/var/dp/uefi_template.efi";
    std::string text = test::root() + "/tmp/dp/uefi_info.txt";
    std::string collections = test::root() + "/tmp/dp/uefi_configs.txt";
    std::string build_id = test::root() + "/tmp/dp/uefi.bld";
    std::string settings = test::root() + "/var/dp/uefi_settings.txt";
    std::string current = test::root() + "/var/dp/uefi_current.txt";
};

std::vector<std::string> install(const server_files& files) {
    std::vector<std::string> names;
    auto infos = bench::generated_template(attributes);
    for (auto& info : infos) {
        info.cfg = collection;
        names.push_back(info.cfg + '.' + info.id);
    }
    // The template is older than its text, so the client does not run a tool.
    test::write_file(files.original, "template");
    test::set_mtime(files.original, 1'000'000'000);
    test::write_file(files.text, bench::template_text(infos));
    test::write_file(files.collections, std::string(collection) + '\n');
    test::write_file(files.build_id, "U31\n");
    test::write_file(files.settings, bench::settings_text(infos));
    test::write_file(files.current, bench::settings_text(infos));
    return names;
}

void read_bytes(const server_files& files) {
    for (const std::string& file :
         {files.text, files.collections, files.build_id, files.settings, files.current}) {
        bench::keep(test::read_file(file));
    }
}

/// Reads the template and the two values files with the library's readers.
void read_entries(const server_files& files) {
    std::ifstream in(files.text, std::ios::binary);
    std::vector<template_info> infos;
    template_info::read_settings(in, infos, collection);
    bench::require(infos.size() == attributes, "the template's reader");
    for (const std::string& file : {files.settings, files.current}) {
        std::vector<std::string> names;
        std::vector<std::string> values;
        dp::batch_file_settings_rdr reader(&names, &values);
        std::stringstream text;
        reader.decompress(file, text);
        reader.read_file(text, nullptr);
        bench::require(values.size() == attributes, "the values' reader");
    }
}

void request_attributes() {
    dp_attribute* list = nullptr;
    unsigned count = 0;
    bench::require(dp_get_bios_attributes(collection, &list, &count) == 0 && count == attributes,
                   "dp_get_bios_attributes");
}

void request_values(std::vector<dp_transaction>& requests, int which) {
    bench::require(dp_get_bios_attribute_value(requests.data(), attributes, which) == 0,
                   "dp_get_bios_attribute_value");
}

void measure() {
    const server_files files;
    const std::vector<std::string> names = install(files);
    std::vector<dp_transaction> requests(attributes);
    for (unsigned i = 0; i < attributes; ++i) {
        requests[i].operation = 1;
        requests[i].name = names[i].c_str();
    }
    bench::side_by_side contest("the start of a client of 360 attributes", "start", 1);
    contest.add("the files' bytes", [&] { read_bytes(files); });
    contest.add("the library's readers", [&] { read_entries(files); });
    contest.add("dp_api_initialize, uninitialize", [] {
        dp_api_initialize();
        dp_api_uninitialize();
    });
    contest.add("the first attributes", [] {
        dp_api_initialize();
        request_attributes();
        dp_api_uninitialize();
    });
    contest.add("the first attributes and values", [&] {
        dp_api_initialize();
        request_attributes();
        request_values(requests, 0);
        request_values(requests, 1);
        dp_api_uninitialize();
    });
    contest.run();
}

}  // namespace

int main(int /*argc*/, char** argv) {
    return bench::in_scratch_root(argv, bench::place::memory, measure);
}
