// Arbitrary bytes as the table of event categories: both interfaces return the entries of a plain
// splitter.

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "bios/category_bitmap.hpp"
#include "bios/dp_event_categories.h"
#include "common/fixed_paths.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/fuzzing_root.hpp"

namespace {

struct category {
    long bit;
    std::string name;
    std::string value;
};

std::string trimmed(std::string text) {
    while (!text.empty() && text.front() == ' ') {
        text.erase(text.begin());
    }
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return text;
}

std::vector<category> plain_categories(const std::string& text) {
    std::vector<category> all;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::string line = text.substr(at, end - at);
        at = end + 1;
        if (line.size() >= 200) {
            break;
        }
        line = line.c_str();
        const std::size_t equals = line.find('=');
        const std::size_t colons = line.find("::");
        if (line.empty() || line[0] < '0' || line[0] > '9' || equals == std::string::npos ||
            colons == std::string::npos || colons < equals) {
            continue;
        }
        errno = 0;
        const long long bit = std::strtoll(line.c_str(), nullptr, 10);
        if (errno != 0 || bit > INT32_MAX) {
            continue;
        }
        all.push_back({static_cast<long>(bit),
                       trimmed(line.substr(equals + 1, colons - equals - 1)),
                       trimmed(line.substr(colons + 2))});
    }
    return all;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    fuzzing::write_scratch(dp::fixed_paths::event_categories.str(), text);
    const auto expected = plain_categories(text);

    dp::category_bitMap table;
    table.extractBitMap();
    std::uint32_t count = 0;
    fuzzing::require(dp_get_uim_event_category_mapping(nullptr, &count) == 0, "counting succeeds");
    std::vector<dp_category_map_entry> entries(count + 1U);
    fuzzing::require(dp_get_uim_event_category_mapping(entries.data(), &count) == 0,
                     "copying succeeds");
    fuzzing::require(count == expected.size() && table.entries.size() == expected.size(),
                     "the number of entries is that of the plain splitter");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        fuzzing::require(table.entries[i].bit == expected[i].bit &&
                             table.entries[i].name == expected[i].name &&
                             table.entries[i].value == expected[i].value,
                         "the entries are those of the plain splitter");
        fuzzing::require(entries[i].bit == expected[i].bit && entries[i].name == expected[i].name &&
                             entries[i].value == expected[i].value,
                         "the entries of the C API are those of the plain splitter");
    }
    return 0;
}
