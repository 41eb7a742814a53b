#ifndef DP_TOOLS_DPCTL_STATUS_STATUS_RECORD_HPP
#define DP_TOOLS_DPCTL_STATUS_STATUS_RECORD_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/json.hpp"

namespace dpctl {

/// A record of a process status file.
struct status_record {
    enum class kind { message, working, error, done, outfile };

    std::string line;            ///< as in the file
    std::string transaction;     ///< the transaction's name
    std::uint32_t sequence = 0;  ///< 0 to ffff
    kind what = kind::message;
    std::string text;            ///< message: the text; error: the command; outfile: the file
    std::int32_t number = 0;     ///< working: the step; error: the status
    bool failed = false;         ///< done: whether a command failed
    std::int32_t succeeded = 0;  ///< done: number of commands
    std::int32_t errors = 0;     ///< done: number of commands

    /// Whether it is the status record at the start of every status file.
    [[nodiscard]] bool is_first() const;

    /// Parses a line without its newline; nothing if it is not a status record. Names and texts may
    /// contain spaces and "> ".
    static std::optional<status_record> parse(std::string_view line);
};

/// The content of a status file.
struct status_records {
    std::vector<status_record> records;
    std::size_t foreign_lines = 0;  ///< lines that are not status records
    bool is_incomplete = false;     ///< the last line has no newline and was ignored
};

status_records read_records(std::string_view text);

/// The totals of a done record: "all 3 commands succeeded", "1 of 3 commands failed".
std::string describe_totals(const status_record& done);

/// A line for a person: "cim-0: Boot.Mode failed: it is read-only (status 55)".
std::string to_line(const status_record& record);

/// {"transaction": "cim-0", "sequence": 3, "record": "error", "name": ..., "status": ..., ...}
dp_support::json_value to_json(const status_record& record);

}  // namespace dpctl

#endif
