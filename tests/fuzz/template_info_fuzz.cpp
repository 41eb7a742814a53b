// Any bytes as a template's text, with and without a filter: the scanner finds what plain stream
// extraction finds. What an entry writes is read back.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "bios/template_info.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/support/memory_file.hpp"
#include "tests/support/plain_template_reader.hpp"

namespace {

std::vector<template_info> scan(const std::string& text, const std::string& filter) {
    static const test::memory_file file;
    std::ifstream in = file.hold(text);
    std::vector<template_info> entries;
    template_info::read_settings(in, entries, filter);
    return entries;
}

void expect_as_plainly(const std::string& text, const std::string& filter) {
    const auto entries = scan(text, filter);
    std::istringstream again(text);
    std::vector<template_info> expected;
    test::read_plainly(again, expected, filter);
    fuzzing::require(entries.size() == expected.size(),
                     "as many entries as plain extraction finds");
    for (std::size_t i = 0; i < entries.size(); ++i) {
        fuzzing::require(test::fields(entries[i]) == test::fields(expected[i]),
                         "the fields that plain extraction finds");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    expect_as_plainly(text, "");
    // Up to the first line feed the bytes may also be a filter.
    const std::size_t line = text.find('\n');
    if (line != std::string::npos) {
        expect_as_plainly(text.substr(line + 1), text.substr(0, line));
    }

    template_info info;
    info.parse_setting_info(text);
    template_info expected;
    test::parse_plainly(expected, text);
    fuzzing::require(test::fields(info) == test::fields(expected),
                     "the fields of one record that plain extraction finds");

    std::ostringstream written;
    written << info;
    // A record that fits the limit comes back; a field may hold the record's end byte, though.
    const std::string record = written.str();
    if (record.find(template_info::record_end) + 2 == record.size() &&
        record.size() - 2 <= template_info::record_limit) {
        const auto back = scan(record, "");
        fuzzing::require(back.size() == 1, "a written record is one record");
        std::ostringstream again;
        again << back.front();
        fuzzing::require(again.str() == record, "a written record is written the same again");
    }
    return 0;
}
