#ifndef DP_HOST_HISTORY_CHANGE_HISTORY_HPP
#define DP_HOST_HISTORY_CHANGE_HISTORY_HPP

#include <cstddef>
#include <string>

#include "support/result.hpp"
#include "transactions/setting_transaction.hpp"

namespace dp_host {

/// The persistent history of what clients changed: a file of `dp_service::change_record` lines,
/// oldest first.
///
/// Lines are appended in one write, and the file always ends with a complete line: what an
/// interrupted write left is removed first. A file that would grow beyond the limit is replaced by
/// a file with the newest lines, which make up at most three quarters of the limit.
///
/// Nothing here waits for the disk or for other processes: a power failure may lose the lines of
/// the last seconds. Failures are logged and do not fail the transaction.
class change_history {
  public:
    static constexpr std::size_t default_limit = std::size_t{256} * 1024;

    /// The history in the file `path`, of at most `limit` bytes. Does not access the file yet.
    explicit change_history(std::string path, std::size_t limit = default_limit);

    /// The lines for what the executed commands of `trans` changed, with the current time; empty
    /// when they changed nothing. Of more lines than fit into the file, the newest: at most the
    /// limit and one line.
    [[nodiscard]] std::string lines_of(const dp::setting_transaction& trans) const;

    /// Appends `lines`, if there are any.
    void append(const std::string& lines) const;

    /// Appends those of `lines` that the file lacks: a service that was killed may have appended
    /// none, some or all of them.
    void complete(const std::string& lines) const;

  private:
    [[nodiscard]] std::string missing_of(const std::string& lines) const;
    [[nodiscard]] dp_support::result<> try_append(const std::string& lines) const;
    [[nodiscard]] dp_support::result<> replace_with(const std::string& lines) const;

    std::string path_;
    std::size_t limit_;
    std::size_t kept_;  // bytes that remain when the oldest lines are dropped
};

}  // namespace dp_host

#endif
