#include "tools/dpctl/output/report.hpp"

#include <algorithm>
#include <ostream>

#include "support/wrapped_text.hpp"
#include "tools/dpctl/output/json_bytes.hpp"
#include "tools/dpctl/output/pager.hpp"
#include "tools/dpctl/output/printable_text.hpp"
#include "tools/dpctl/output/table.hpp"

namespace dpctl {

using dp_support::json_layout;
using dp_support::json_value;

report::report(std::ostream& out, std::ostream& err, bool as_json,
               const dp_support::terminal& screen)
    : out_(out),
      err_(err),
      as_json_(as_json),
      screen_(screen),
      document_(dp_support::json_value::object()) {}

void report::allow_pager() {
    has_pager_ = !as_json_ && screen_.is_there();
}

std::ostream& report::text_out() {
    return has_pager_ ? page_ : out_;
}

void report::line(std::string_view text, text_style style) {
    if (!as_json_) {
        text_out() << styled(printable(text), style, screen_.has_colours) << '\n';
    }
}

void report::lines(std::string_view text) {
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        line(text.substr(0, newline));
        text.remove_prefix(newline == std::string_view::npos ? text.size() : newline + 1);
    }
}

void report::item(std::size_t label_width, std::string_view label, std::string_view text,
                  text_style style) {
    if (as_json_) {
        return;
    }
    constexpr std::size_t least = 20;
    const std::size_t left = screen_.columns - std::min(label_width, screen_.columns);
    std::string before = padded(printable(label), label_width);
    const auto write = [&](const std::string& each) {
        text_out() << before << styled(each, style, screen_.has_colours) << '\n';
        before = std::string(label_width, ' ');
    };
    for (bool is_last = false; !is_last;) {
        const std::size_t newline = text.find('\n');
        std::string part = printable(text.substr(0, newline));
        is_last = newline == std::string_view::npos;
        text.remove_prefix(is_last ? text.size() : newline + 1);
        if (screen_.is_there()) {
            for (const std::string& each :
                 dp_support::wrapped_lines(part, std::max(least, left), display_width)) {
                write(each);
            }
        } else {
            write(part);
        }
    }
}

void report::show(const table& rows) {
    if (!as_json_) {
        rows.write(text_out(), screen_);
    }
}

void report::begin_events() {
    has_events_ = true;
}

bool report::event(std::string_view text, const dp_support::json_value& document) {
    line(text);
    if (as_json_) {
        json_value complete = document;
        add_bytes(complete);
        out_ << to_text(complete, json_layout::one_line) << '\n';
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
    is_problem_last_ = false;
    out_.flush();
    err_ << "dpctl: " << printable(text) << '\n';
}

void report::problem(const std::string& reason, const std::vector<std::string>& hints) {
    is_problem_last_ = true;
    out_.flush();
    write_error("dpctl: " + printable(reason) + '\n');
    for (const auto& text : hints) {
        hint(text);
    }
    problems_.push_back(reason);
}

void report::usage_problem(const std::string& reason, const std::vector<std::string>& hints) {
    problem(reason, hints);
    failure_code_ = dp_support::exit_code::wrong_usage;
}

void report::hint(std::string_view text) {
    write_error("  " + printable(text) + '\n');
}

// A problem is part of the result: it is shown after the text before it.
void report::write_error(const std::string& text) {
    if (has_pager_ && is_problem_last_) {
        page_errors_ += text;
    } else {
        err_ << text;
    }
}

void report::show_page() {
    const std::string text = page_.str();
    page_.str({});
    const std::string pager = pager_command();
    const bool is_long = rows_on_screen(text, screen_.columns) >= screen_.rows;
    if (!is_long || pager.empty() || !flush() || !show_in_pager(pager, text)) {
        out_ << text;
        out_.flush();
    }
    err_ << page_errors_ << std::flush;
    page_errors_.clear();
}

int report::finish() {
    if (has_pager_) {
        show_page();
    }
    if (!problems_.empty()) {
        document_.set("errors", problems_);
    }
    if (as_json_ && (!has_events_ || !problems_.empty())) {
        add_bytes(document_);
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
