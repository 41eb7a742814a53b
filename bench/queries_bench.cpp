// Compares value queries of 10,000 attributes with a plain look-up in a std::map and a copy.

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/generated_template.hpp"
#include "bench/support/scratch_root.hpp"
#include "bench/support/side_by_side.hpp"
#include "bios/dp_api.h"
#include "tests/support/scratch_files.hpp"

namespace {

constexpr std::size_t attributes = 10'000;

void measure() {
    const std::string settings = test::root() + "/settings";
    const auto infos = bench::generated_template(attributes);
    test::write_file(settings, bench::settings_text(infos));
    dp_cim_change_settings_fname(settings.c_str());

    std::map<std::string, std::string, std::less<>> values;
    std::vector<std::string> names;
    for (const auto& info : infos) {
        names.push_back(info.cfg + '.' + info.id);
        values[names.back()] = info.dft;
    }
    std::vector<dp_transaction> requests(attributes);
    for (std::size_t i = 0; i < attributes; ++i) {
        requests[i].operation = 1;
        requests[i].name = names[i].c_str();
    }
    const auto with_map = [&] {
        for (dp_transaction& request : requests) {
            const std::string& value = values.find(std::string_view(request.name))->second;
            const std::size_t length = std::min(value.size(), sizeof request.value - 1);
            std::memcpy(request.value, value.data(), length);
            request.value[length] = '\0';
        }
    };
    const auto in_one_call = [&] {
        bench::keep(dp_get_bios_attribute_value(requests.data(), attributes, 0));
    };
    const auto one_by_one = [&] {
        for (dp_transaction& request : requests) {
            bench::keep(dp_get_bios_attribute_value(&request, 1, 0));
        }
    };
    dp_api_initialize();
    in_one_call();
    for (std::size_t i = 0; i < attributes; ++i) {
        bench::require(requests[i].value == infos[i].dft, "dp_get_bios_attribute_value");
    }

    bench::side_by_side contest("reading the values of 10,000 attributes", "value", attributes);
    contest.add("std::map and copy", with_map);
    contest.add("dp_get_bios_attribute_value", in_one_call);
    // More than four seconds after the last read, each call checks the time of the file.
    contest.add("the same, a call for each", one_by_one);
    contest.expect_within("dp_get_bios_attribute_value", "std::map and copy", 2);
    contest.run();
    dp_api_uninitialize();
}

}  // namespace

int main(int /*argc*/, char** argv) {
    return bench::in_scratch_root(argv, bench::place::memory, measure);
}
