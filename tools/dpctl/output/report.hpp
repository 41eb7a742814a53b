#ifndef DP_TOOLS_DPCTL_OUTPUT_REPORT_HPP
#define DP_TOOLS_DPCTL_OUTPUT_REPORT_HPP

#include <iosfwd>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace dpctl {

class table;

/// What a command has to say: its result on the standard output, as text or as one JSON document
/// (a command that goes on writes one a line instead), and problems on the standard error output.
/// Everything is made `printable` on its way out.
class report {
  public:
    report(std::ostream& out, std::ostream& err, bool as_json);
    ~report();
    report(const report&) = delete;
    report& operator=(const report&) = delete;

    [[nodiscard]] bool as_json() const { return as_json_; }

    /// The document to fill when `as_json`.
    [[nodiscard]] nlohmann::ordered_json& document() { return *document_; }

    /// A line, or a table, of the result; nothing when `as_json`.
    void line(std::string_view text);
    void show(const table& rows);

    /// Says that the result is a sequence of `event`s: there is no document then.
    void begin_events();

    /// An event at once, as a line of text or a document on one line. False when it was lost.
    bool event(std::string_view text, const nlohmann::ordered_json& document);

    /// Clears the terminal that is the standard output, for a result that is shown over and over.
    void clear_screen();

    /// Hands out the result so far. False when a part of it was lost.
    bool flush();

    /// A line on the standard error output that is not a failure.
    void note(std::string_view text);

    /// Why the command failed: "dpctl: " and `reason`, then the hints. The document gets the reason
    /// too.
    void problem(const std::string& reason, const std::vector<std::string>& hints = {});

    /// A line, indented, that belongs to what was reported last.
    void hint(std::string_view text);

    /// Whether there was a problem.
    [[nodiscard]] bool failed() const { return !problems_.empty(); }

    /// Writes the document, if there is one; behind events only the problems. The exit code: failed
    /// after a problem, or when a part of the output was lost.
    int finish();

  private:
    std::ostream& out_;
    std::ostream& err_;
    bool as_json_;
    bool has_events_ = false;
    std::unique_ptr<nlohmann::ordered_json> document_;
    std::vector<std::string> problems_;
};

}  // namespace dpctl

#endif
