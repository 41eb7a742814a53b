#include "dpctl/report.hpp"

#include <nlohmann/json.hpp>
#include <ostream>

#include "dpctl/table.hpp"
#include "dpctl/text.hpp"
#include "support/command_line.hpp"

namespace dpctl {

report::report(std::ostream& out, std::ostream& err, bool as_json)
    : out_(out),
      err_(err),
      as_json_(as_json),
      document_(std::make_unique<nlohmann::ordered_json>(nlohmann::ordered_json::object())) {}

report::~report() = default;

void report::line(std::string_view text) {
    if (!as_json_) {
        out_ << printable(text) << '\n';
    }
}

void report::show(const table& rows) {
    if (!as_json_) {
        rows.write(out_);
    }
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

void report::hint(std::string_view text) {
    err_ << "  " << printable(text) << '\n';
}

int report::finish() {
    if (as_json_) {
        if (!problems_.empty()) {
            (*document_)["errors"] = problems_;
        }
        // Texts out of files are bytes: what is not UTF-8 becomes the replacement character.
        out_ << document_->dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
             << '\n';
    }
    if (!dp_tools::flushed(out_)) {
        note("a part of the output could not be written");
        return dp_tools::exit_code::failed;
    }
    return problems_.empty() ? dp_tools::exit_code::done : dp_tools::exit_code::failed;
}

}  // namespace dpctl
