// Arbitrary bytes as a status file and as a history: every line is a record or counted as foreign,
// and a record that is written again is read back.

#include <string>

#include "service_api/change_record.hpp"
#include "support/json.hpp"
#include "tests/fuzz/fuzzing.hpp"
#include "tests/fuzz/input.hpp"
#include "tools/dpctl/status/status_record.hpp"

namespace {

std::size_t count(const std::string& text, char c) {
    std::size_t number = 0;
    for (const char each : text) {
        number += each == c ? 1U : 0U;
    }
    return number;
}

void check_status(const std::string& text) {
    const auto found = dpctl::read_records(text);
    fuzzing::require(found.is_incomplete == (!text.empty() && text.back() != '\n'),
                     "a last line without a newline is reported");
    fuzzing::require(found.records.size() + found.foreign_lines <= count(text, '\n'),
                     "no line counts twice");
    for (const auto& record : found.records) {
        fuzzing::require(text.find(record.line + '\n') != std::string::npos,
                         "a record has its line of the file");
        const auto again = dpctl::status_record::parse(record.line);
        fuzzing::require(again && again->what == record.what && again->text == record.text &&
                             again->sequence == record.sequence && again->sequence <= 0xFFFF,
                         "the line of a record is this record");
        const std::string json =
            dp_support::to_text(dpctl::to_json(record), dp_support::json_layout::one_line);
        fuzzing::require(dp_support::parse_json(json).error.empty(), "the document is valid");
        fuzzing::require(!dpctl::to_line(record).empty(), "a record has a text");
        if (record.what == dpctl::status_record::kind::done) {
            fuzzing::require(!dpctl::describe_totals(record).empty(), "the totals have a text");
        }
    }
}

void check_change(const std::string& line) {
    const auto change = dp_service::change_record::parse(line);
    if (!change) {
        return;
    }
    const auto again = dp_service::change_record::parse(change->line());
    fuzzing::require(again && again->who == change->who && again->time == change->time &&
                         again->target == change->target && again->value == change->value,
                     "a change that is written again is read back");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    check_status(std::string(data, data + size));
    fuzzing::input in(data, size);
    while (!in.is_empty()) {
        check_change(in.until('\n'));
    }
    return 0;
}
