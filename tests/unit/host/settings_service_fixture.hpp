#ifndef DP_TESTS_UNIT_HOST_SETTINGS_SERVICE_FIXTURE_HPP
#define DP_TESTS_UNIT_HOST_SETTINGS_SERVICE_FIXTURE_HPP

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "bios/template_info.hpp"
#include "host/settings_service.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/sealed_values.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/host/exchange/answered_batch.hpp"

namespace test {

// They replace the outside tools: templates are plain text, the build id is a line of a file.
inline constexpr const char* copying_dpspy = "cp \"$3\" \"$5\"";
inline constexpr const char* reading_sysvpd = "sed -n 's/^UEFIID=//p' \"$DP_ROOT/var/dp/vpd.txt\"";

inline std::string records(const std::vector<template_info>& infos) {
    std::ostringstream out;
    for (const auto& info : infos) {
        out << info;
    }
    return out.str();
}

/// The files of a server of `before` that was never started.
class settings_service_fixture : public testing::Test {
  protected:
    void SetUp() override {
        clean_root();
        write_script(root() + "/bin/dpspy", copying_dpspy);
        write_script(root() + "/bin/sysvpd", reading_sysvpd);
        write_file(bios, records(before));
        write_file(vpd, "SERIAL=7\nUEFIID=B1\n");
    }

    static std::string in_root(const std::string& path) { return root() + path; }

    std::string run(dp_host::settings_service& service, const std::string& batch) const {
        write_file(work, batch);
        std::string answer = answer_to(work, service.registrar());
        service.retry_failed_write();
        return answer;
    }

    void prepare_update(const std::vector<template_info>& infos) const {
        std::filesystem::create_directories(in_root("/var/dp/update"));
        write_file(in_root("/var/dp/update/uefi_template.efi"), records(infos));
        write_file(in_root("/var/dp/update/build_id"), "B2\n");
    }

    const std::vector<template_info> before{
        choice("A", "Mode", "x", "x,y,z"), number("A", "Size", "1", 0, 100, 1),
        text("A", "Gone", "old", 0, 0, ""),
        with_instances(number("A", "Port", "5", 0, 10, 1), 1, 2)};
    const std::vector<template_info> after{choice("A", "Mode", "z", "y,z"),
                                           number("A", "Size", "2", 0, 10, 1),
                                           text("B", "New", "fresh", 0, 0, ""),
                                           with_instances(number("A", "Port", "6", 0, 10, 1), 2, 3),
                                           with_instances(number("B", "Fan", "7", 0, 10, 1), 1, 2)};
    const std::string all_defaults = sealed(
        "0 0 uefi set A.Mode \"x\" \"\" \n0 0 uefi set A.Size \"1\" \"\" \n"
        "0 0 uefi set A.Gone \"old\" \"\" \n0 0 uefi set A.Port.1 \"5\" \"\" \n"
        "0 0 uefi set A.Port.2 \"5\" \"\" \n");
    const std::string bios = in_root("/var/dp/uefi_template.efi");
    const std::string pending = in_root("/var/dp/uefi_settings.txt");
    const std::string current = in_root("/var/dp/uefi_current.txt");
    const std::string history = in_root("/var/dp/history");
    const std::string journal = history + ".pending";
    const std::string vpd = in_root("/var/dp/vpd.txt");
    const std::string build_id = in_root("/tmp/dp/uefi.bld");
    const std::string work = in_root("/tmp/dp/batch.run");
};

}  // namespace test

#endif
