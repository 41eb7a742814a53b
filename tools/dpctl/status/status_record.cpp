#include "tools/dpctl/status/status_record.hpp"

#include <charconv>

#include "support/complete_lines.hpp"
#include "support/decimal.hpp"
#include "tools/dpctl/status/status_reason.hpp"

namespace dpctl {
namespace {

constexpr std::size_t sequence_digits = 4;

template <class Number>
bool read_number(std::string_view text, Number& number) {
    const auto parsed = dp_support::decimal::parse<Number>(text);
    number = parsed.value_or(0);
    return parsed.has_value();
}

bool read_sequence(std::string_view text, std::uint32_t& number) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
    return error == std::errc() && stop == end;
}

// Whether `text` begins with a sequence number, a space and a tag.
bool is_numbered_body(std::string_view text) {
    std::uint32_t ignored = 0;
    return text.size() > sequence_digits &&
           read_sequence(text.substr(0, sequence_digits), ignored) &&
           text.substr(sequence_digits).starts_with(" DP.");
}

bool read_done(std::string_view fields, status_record& record) {
    std::int32_t failed = 0;
    const std::size_t first = fields.find(' ');
    const std::size_t second =
        first == std::string_view::npos ? first : fields.find(' ', first + 1);
    if (second == std::string_view::npos || !read_number(fields.substr(0, first), failed) ||
        !read_number(fields.substr(first + 1, second - first - 1), record.succeeded) ||
        !read_number(fields.substr(second + 1), record.errors)) {
        return false;
    }
    record.what = status_record::kind::done;
    record.failed = failed != 0;
    return true;
}

// The status is the last word: the command before it may contain anything.
bool read_error(std::string_view fields, status_record& record) {
    const std::size_t space = fields.rfind(' ');
    if (space == std::string_view::npos || !read_number(fields.substr(space + 1), record.number)) {
        return false;
    }
    record.what = status_record::kind::error;
    record.text = fields.substr(0, space);
    return true;
}

bool read_body(std::string_view body, status_record& record) {
    const std::size_t space = body.find(' ');
    if (space == std::string_view::npos) {
        return false;
    }
    const std::string_view tag = body.substr(0, space);
    const std::string_view fields = body.substr(space + 1);
    if (tag == "DP.WORKING") {
        record.what = status_record::kind::working;
        return read_number(fields, record.number);
    }
    if (tag == "DP.ERROR") {
        return read_error(fields, record);
    }
    if (tag == "DP.DONE") {
        return read_done(fields, record);
    }
    record.text = fields;
    record.what = tag == "DP.OUTFILE" ? status_record::kind::outfile : status_record::kind::message;
    return tag == "DP.OUTFILE" || tag == "DP.MESSAGE";
}

const char* word_of(status_record::kind what) {
    switch (what) {
        case status_record::kind::message:
            return "message";
        case status_record::kind::working:
            return "working";
        case status_record::kind::error:
            return "error";
        case status_record::kind::done:
            return "done";
        case status_record::kind::outfile:
            break;
    }
    return "outfile";
}

std::string commands(std::int64_t count) {
    return std::to_string(count) + (count == 1 ? " command" : " commands");
}

}  // namespace

bool status_record::is_first() const {
    return what == kind::message && transaction == "dp-status" && text == "init ";
}

std::optional<status_record> status_record::parse(std::string_view line) {
    if (!line.starts_with('<')) {
        return std::nullopt;
    }
    std::size_t end = line.find("> ");
    while (end != std::string_view::npos && !is_numbered_body(line.substr(end + 2))) {
        end = line.find("> ", end + 1);
    }
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    status_record record;
    record.line = line;
    record.transaction = line.substr(1, end - 1);
    const std::string_view rest = line.substr(end + 2);
    if (!read_sequence(rest.substr(0, sequence_digits), record.sequence) ||
        !read_body(rest.substr(sequence_digits + 1), record)) {
        return std::nullopt;
    }
    return record;
}

status_records read_records(std::string_view text) {
    status_records result;
    result.is_incomplete =
        dp_support::for_each_complete_line(text, [&result](std::string_view line) {
            if (auto record = status_record::parse(line)) {
                result.records.push_back(std::move(*record));
            } else if (!line.empty()) {
                ++result.foreign_lines;
            }
        });
    return result;
}

std::string describe_totals(const status_record& done) {
    const std::int64_t total = std::int64_t{done.succeeded} + done.errors;
    if (done.failed || done.errors != 0) {
        return std::to_string(done.errors) + " of " + commands(total) + " failed";
    }
    if (total == 0) {
        return "there were no commands";
    }
    return total == 1 ? "the command succeeded" : "all " + commands(total) + " succeeded";
}

std::string to_line(const status_record& record) {
    const std::string prefix = record.transaction + ": ";
    switch (record.what) {
        case status_record::kind::message:
            return record.is_first() ? "start of the status file"
                                     : prefix + "message " + record.text;
        case status_record::kind::working:
            return prefix + "running, step " + std::to_string(record.number);
        case status_record::kind::error:
            return prefix + record.text + " failed: " + explain_status(record.number) +
                   " (status " + std::to_string(record.number) + ')';
        case status_record::kind::done:
            return prefix + "finished, " + describe_totals(record);
        case status_record::kind::outfile:
            break;
    }
    return prefix + "the answer is in " + record.text;
}

dp_support::json_value to_json(const status_record& record) {
    auto result = dp_support::json_value::object({{"transaction", record.transaction},
                                                  {"sequence", record.sequence},
                                                  {"record", word_of(record.what)}});
    switch (record.what) {
        case status_record::kind::message:
            result.set("text", record.text);
            break;
        case status_record::kind::working:
            result.set("step", record.number);
            break;
        case status_record::kind::error:
            result.set("name", record.text);
            result.set("status", record.number);
            result.set("reason", explain_status(record.number));
            break;
        case status_record::kind::done:
            result.set("failed", record.failed);
            result.set("succeeded_commands", record.succeeded);
            result.set("failed_commands", record.errors);
            break;
        case status_record::kind::outfile:
            result.set("file", record.text);
            break;
    }
    return result;
}

}  // namespace dpctl
