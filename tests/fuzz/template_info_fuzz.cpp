// Arbitrary bytes as a template's text, with and without a filter: the scanner finds the same
// entries as plain stream extraction. A written record is read back.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "bios/template_info.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/support/memory_file.hpp"
#include "tests/support/reference_template_reader.hpp"

namespace {

std::vector<template_info> scan(const std::string& text, const std::string& filter) {
    static const test::memory_file file;
    std::ifstream in = file.open_with(text);
    std::vector<template_info> entries;
    template_info::read_settings(in, entries, filter);
    return entries;
}

void expect_same_as_plain(const std::string& text, const std::string& filter) {
    const auto entries = scan(text, filter);
    std::istringstream again(text);
    std::vector<template_info> expected;
    test::reference_read_template(again, expected, filter);
    fuzzing::require(entries.size() == expected.size(),
                     "the number of entries is that of plain extraction");
    for (std::size_t i = 0; i < entries.size(); ++i) {
        fuzzing::require(test::fields(entries[i]) == test::fields(expected[i]),
                         "the fields are those of plain extraction");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    expect_same_as_plain(text, "");
    // The bytes before the first line feed are also used as a filter.
    const std::size_t line = text.find('\n');
    if (line != std::string::npos) {
        expect_same_as_plain(text.substr(line + 1), text.substr(0, line));
    }

    template_info info;
    info.parse_setting_info(text);
    template_info expected;
    test::reference_parse_record(expected, text);
    fuzzing::require(test::fields(info) == test::fields(expected),
                     "the fields of a single record are those of plain extraction");

    std::ostringstream written;
    written << info;
    // A written record can be read back when it is within the limit and no field contains the
    // record end byte.
    const std::string record = written.str();
    if (record.find(template_info::record_end) + 2 == record.size() &&
        record.size() - 2 <= template_info::record_limit) {
        const auto back = scan(record, "");
        fuzzing::require(back.size() == 1, "a written record is read as one record");
        std::ostringstream again;
        again << back.front();
        fuzzing::require(again.str() == record,
                         "a record that was read back is written identically");
    }
    return 0;
}
