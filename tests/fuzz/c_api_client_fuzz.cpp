// Arbitrary bytes as the files that the C API reads, and as the service's answer: every result is a
// documented one, and every text is terminated.

#include <cstring>
#include <string>
#include <vector>

#include "bios/dp_api.h"
#include "common/fixed_paths.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/fuzzing_root.hpp"
#include "tests/fuzz/input.hpp"
#include "tests/support/test_platform.hpp"

namespace {

// Ends a file in the input: a byte that no format uses.
constexpr char file_end = '\x01';

void check_values(const std::vector<const char*>& names, int which) {
    std::vector<dp_transaction> requests(names.size() + 1);
    for (std::size_t i = 0; i < names.size(); ++i) {
        requests[i].operation = 1;
        requests[i].name = names[i];
    }
    requests.back().operation = 2;
    const int failed =
        dp_get_bios_attribute_value(requests.data(), static_cast<unsigned>(requests.size()), which);
    int found = 0;
    for (const auto& request : requests) {
        if (request.status == 0 || request.status == 19) {
            fuzzing::require(std::memchr(request.value, 0, sizeof request.value) != nullptr,
                             "a value is terminated");
        } else {
            ++found;
        }
    }
    fuzzing::require(found == failed, "the result counts the failed requests");
}

void change(const std::vector<const char*>& names) {
    std::vector<dp_transaction> requests(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        requests[i].operation = 2;
        requests[i].name = names[i];
        requests[i].new_value = "v";
        requests[i].status = 4711;
    }
    const int result =
        dp_set_bios_attribute_value(requests.data(), static_cast<unsigned>(requests.size()));
    fuzzing::require(result >= -1, "the result of a change is a documented one");
    for (const auto& request : requests) {
        fuzzing::require(result != -1 || request.status == 255,
                         "every status is 255 when the batch could not be run");
        fuzzing::require(result != 0 || request.status == 4711 || request.status == 0,
                         "no status says that a command failed when all succeeded");
    }
}

std::vector<const char*> check_collection(const char* collection) {
    dp_attribute* attributes = nullptr;
    unsigned count = 0;
    const int found = dp_get_bios_attributes(collection, &attributes, &count);
    fuzzing::require(found == 0 || found == 1 || found == 2, "attributes: a documented result");
    std::size_t characters = 0;
    for (unsigned i = 0; found == 0 && i < count; ++i) {
        const auto& a = attributes[i];
        for (const char* text :
             {a.id, a.spif, a.grif, a.cfg, a.cfgname, a.cfgsetn, a.grp, a.gspif, a.ggrif, a.mri,
              a.dsc, a.fds, a.dft, a.mfg, a.dfa, a.rec, a.reg, a.chc}) {
            fuzzing::require(text != nullptr, "no text is null");
            characters += std::strlen(text);
        }
    }
    const char** names = nullptr;
    unsigned names_count = 0;
    const int named = dp_get_bios_attribute_names(collection, &names, &names_count);
    fuzzing::require(named == 0 || named == 1 || named == 2, "names: a documented result");
    std::vector<const char*> all;
    for (unsigned i = 0; named == 0 && i < names_count && i < 64; ++i) {
        all.push_back(names[i]);
        dp_attribute* attribute = nullptr;
        const int is_there = dp_get_bios_attribute(names[i], &attribute);
        fuzzing::require((is_there == 0) == (attribute != nullptr), "an attribute or none");
    }
    fuzzing::require(characters < std::size_t{1} << 30U, "texts end");
    return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzing::input in(data, size);
    fuzzing::empty_folder(fuzzing::scratch_path("/tmp/dp"));
    fuzzing::write_scratch(dp::fixed_paths::uefi_configs.str(), in.until(file_end));
    fuzzing::write_scratch(dp::fixed_paths::uefi_info.str(), in.until(file_end));
    fuzzing::write_scratch(dp::fixed_paths::uefi_settings.str(), in.until(file_end));
    fuzzing::write_scratch(dp::fixed_paths::uefi_current.str(), in.until(file_end));
    const std::string answer = in.rest();

    test::stepped_time time;
    time.on_sleep = [&](std::uint32_t) {
        const std::string result = dp::fixed_paths::batch_result.str();
        if (time.sleeps.size() == 1 && !answer.empty()) {
            fuzzing::write_scratch(result, answer);
        }
    };
    fuzzing::require(dp_api_initialize() == 0, "the service can be initialised");
    const char** names = nullptr;
    unsigned count = 0;
    fuzzing::require(dp_get_bios_collections(&names, &count) <= 1, "collections can be read");
    for (unsigned i = 0; i < count && i < 8; ++i) {
        const auto settings = check_collection(names[i]);
        check_values(settings, 0);
        check_values(settings, 1);
        time.sleeps.clear();
        change(settings);
        time.sleeps.clear();
        const int reset = dp_bios_reset_to_defaults(names[i]);
        fuzzing::require(reset >= 0 && reset <= 3, "reset: a documented result");
    }
    fuzzing::require(dp_api_uninitialize() == 0, "the service can be uninitialised");
    return 0;
}
