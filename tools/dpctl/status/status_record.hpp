#ifndef DP_TOOLS_DPCTL_STATUS_STATUS_RECORD_HPP
#define DP_TOOLS_DPCTL_STATUS_STATUS_RECORD_HPP

#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dpctl {

/// A record of a process status file.
struct status_record {
    enum class kind { message, working, error, done, outfile };

    std::string line;            ///< as it stands in the file
    std::string transaction;     ///< whose record it is
    std::uint32_t sequence = 0;  ///< 0 to ffff
    kind what = kind::message;
    std::string text;            ///< message: all of it; error: the command; outfile: the file
    std::int32_t number = 0;     ///< working: the count; error: the status
    bool failed = false;         ///< done: whether a command failed
    std::int32_t succeeded = 0;  ///< done: commands
    std::int32_t errors = 0;     ///< done: commands

    /// Whether it is the record with which a status file begins.
    [[nodiscard]] bool is_first() const;

    /// What a line (without its line end) tells; nothing when it is not a record. Names and texts
    /// may hold blanks, and "> ".
    static std::optional<status_record> parse(std::string_view line);
};

/// The records of a status file.
struct status_records {
    std::vector<status_record> records;
    std::size_t foreign_lines = 0;  ///< that are no records
    bool is_torn = false;           ///< the last line has no end, and is left out
};

status_records read_records(std::string_view text);

/// The totals of a done record: "all 3 commands succeeded", "1 of 3 commands failed".
std::string describe_totals(const status_record& done);

/// A record as a line for a person: "cim-0: Boot.Mode failed: it is read-only (status 55)".
std::string to_line(const status_record& record);

/// {"transaction": "cim-0", "sequence": 3, "record": "error", "name": ..., "status": ..., ...}
nlohmann::ordered_json to_json(const status_record& record);

}  // namespace dpctl

#endif
