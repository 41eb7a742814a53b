#ifndef DP_TOOLS_DPCTL_OUTPUT_REPORT_HPP
#define DP_TOOLS_DPCTL_OUTPUT_REPORT_HPP

#include <cstddef>
#include <iosfwd>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/json.hpp"
#include "support/program_main.hpp"
#include "support/terminal.hpp"
#include "tools/dpctl/output/text_style.hpp"

namespace dpctl {

class table;

/// Exit codes of some commands, in addition to those of all programs.
namespace exit_code {
inline constexpr int nothing_to_do = 3;  ///< nothing had to be changed, or there is no difference
inline constexpr int changed = 4;        ///< what was watched has changed
}  // namespace exit_code

/// The output of a command: its result on standard output, as text or as one JSON document (for a
/// command that continues until it is stopped, one document per line), and problems on standard
/// error. All text is made `printable`.
class report {
  public:
    /// @param screen  the terminal that `out` is
    report(std::ostream& out, std::ostream& err, bool as_json,
           const dp_support::terminal& screen = {});
    report(const report&) = delete;
    report& operator=(const report&) = delete;
    ~report() = default;

    [[nodiscard]] bool as_json() const { return as_json_; }

    /// The terminal that the text goes to, if it goes to one.
    [[nodiscard]] const dp_support::terminal& screen() const { return screen_; }

    /// Declares that the text may be longer than the screen. On a terminal it is shown at the end,
    /// through the pager if it is longer, and the problems after it.
    void allow_pager();

    /// The document to fill; it is printed if `as_json`.
    [[nodiscard]] dp_support::json_value& document() { return document_; }

    /// A line, or a table, of the result; nothing if `as_json`.
    void line(std::string_view text, text_style style = text_style::plain);
    /// Several lines, each with its newline.
    void lines(std::string_view text);
    /// A label, filled with spaces up to a width in columns, and the lines of a text, which are
    /// wrapped on a terminal.
    void item(std::size_t label_width, std::string_view label, std::string_view text,
              text_style style = text_style::plain);
    void show(const table& rows);

    /// Declares that the result is a sequence of `event`s instead of a document.
    void begin_events();

    /// Prints an event at once, as a line of text or as a document on one line. False when the
    /// output was lost.
    bool event(std::string_view text, const dp_support::json_value& document);

    /// Clears the terminal, which standard output must be, before a result is shown again.
    void clear_screen();

    /// Flushes the output. False when a part of it was lost.
    bool flush();

    /// A line on standard error that is not a failure.
    void note(std::string_view text);

    /// A reason why the command failed: prints "dpctl: " and `reason`, then the hints. The reason
    /// is also added to the document.
    void problem(const std::string& reason, const std::vector<std::string>& hints = {});

    /// A `problem` of the command line: the exit code is that of wrong usage.
    void usage_problem(const std::string& reason, const std::vector<std::string>& hints = {});

    /// An indented line after the last note or problem.
    void hint(std::string_view text);

    /// Whether there was a problem.
    [[nodiscard]] bool failed() const { return !problems_.empty(); }

    /// Sets the exit code for the case that nothing fails: 0 unless set.
    void end_with(int code) { code_ = code; }

    /// Prints the document if `as_json`; after events, only if there were problems. Returns the
    /// exit code: `failed` if there was a problem or a part of the output was lost, `wrong_usage`
    /// after a `usage_problem`.
    int finish();

  private:
    [[nodiscard]] std::ostream& text_out();
    void show_page();
    void write_error(const std::string& text);

    std::ostream& out_;
    std::ostream& err_;
    bool as_json_;
    dp_support::terminal screen_;
    bool has_pager_ = false;
    bool is_problem_last_ = false;  // hints belong to a problem, not to a note
    std::ostringstream page_;       // what is shown at the end
    std::string page_errors_;       // and after it
    bool has_events_ = false;
    int code_ = dp_support::exit_code::done;
    int failure_code_ = dp_support::exit_code::failed;
    dp_support::json_value document_;
    std::vector<std::string> problems_;
};

}  // namespace dpctl

#endif
