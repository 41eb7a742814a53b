#include "tools/dpctl/output/report.hpp"

#include <ostream>

#include "support/program_main.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/table.hpp"

namespace dpctl {

using dp_support::json_layout;

report::report(std::ostream& out, std::ostream& err, bool as_json)
    : out_(out), err_(err), as_json_(as_json), document_(dp_support::json_value::object()) {}

void report::line(std::string_view text) {
    if (!as_json_) {
        out_ << printable(text) << '\n';
    }
}

void report::item(std::size_t label_width, std::string_view label, std::string_view text) {
    line(padded(label, label_width) + std::string(text));
}

void report::show(const table& rows) {
    if (!as_json_) {
        rows.write(out_);
    }
}

void report::begin_events() {
    has_events_ = true;
}

bool report::event(std::string_view text, const dp_support::json_value& document) {
    line(text);
    if (as_json_) {
        out_ << to_text(document, json_layout::one_line) << '\n';
    }
    return dp_support::flushed(out_);
}

void report::clear_screen() {
    out_ << "\x1b[H\x1b[2J";
}

bool report::flush() {
    return dp_support::flushed(out_);
}

void report::note(std::string_view text) {
    out_.flush();
    err_ << "dpctl: " << printable(text) << '\n';
}

void report::problem(const std::string& reason, const std::vector<std::string>& hints) {
    note(reason);
    for (const auto& text : hints) {
        hint(text);
    }
    problems_.push_back(reason);
}

void report::usage_problem(const std::string& reason) {
    problem(reason);
    failure_code_ = dp_support::exit_code::wrong_usage;
}

void report::hint(std::string_view text) {
    err_ << "  " << printable(text) << '\n';
}

int report::finish() {
    if (!problems_.empty()) {
        document_.set("errors", problems_);
    }
    if (as_json_ && (!has_events_ || !problems_.empty())) {
        out_ << to_text(document_, has_events_ ? json_layout::one_line : json_layout::indented)
             << '\n';
    }
    if (!dp_support::flushed(out_)) {
        note("a part of the output could not be written");
        return dp_support::exit_code::failed;
    }
    return problems_.empty() ? code_ : failure_code_;
}

}  // namespace dpctl
