#ifndef DP_HOST_HISTORY_CHANGE_HISTORY_HPP
#define DP_HOST_HISTORY_CHANGE_HISTORY_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/history/value_change.hpp"
#include "support/result.hpp"

namespace dp_host {

/// The persistent history of what clients changed: a file of `dp_service::change_record` lines,
/// oldest first.
///
/// Lines are appended in one write, and the file always ends with a complete line: what an
/// interrupted write left is removed first. A file that would grow beyond the limit is replaced by
/// a file of at most three quarters of the limit: a line with the number of all records that were
/// dropped so far (`of_history`), and the newest lines.
///
/// Nothing here waits for the disk or for other processes: a power failure may lose the lines of
/// the last seconds. Failures are logged and do not fail the transaction.
class change_history {
  public:
    static constexpr std::size_t default_limit = std::size_t{256} * 1024;

    /// The history in the file `path`, of at most `limit` bytes. Does not access the file yet.
    explicit change_history(std::string path, std::size_t limit = default_limit);

    /// The lines for the changes that `who` made, with the current time. Of more lines than fit
    /// into the file, the newest: at most the limit and one line.
    [[nodiscard]] std::string lines_of(const std::string& who,
                                       const std::vector<value_change>& changes) const;

    /// Appends `lines`, if there are any.
    void append(const std::string& lines) const;

    /// Appends those of `lines` that the file lacks: a service that was killed may have appended
    /// none, some or all of them.
    void complete(const std::string& lines) const;

  private:
    [[nodiscard]] std::string missing_of(const std::string& lines) const;
    [[nodiscard]] dp_support::result<> try_append(const std::string& lines) const;
    [[nodiscard]] dp_support::result<> replace_with(const std::string& lines,
                                                    std::uint64_t count) const;

    std::string path_;
    std::size_t limit_;
    std::size_t kept_;  // bytes that remain when the oldest lines are dropped
};

}  // namespace dp_host

#endif
