#ifndef DP_HOST_HISTORY_CHANGE_HISTORY_HPP
#define DP_HOST_HISTORY_CHANGE_HISTORY_HPP

#include <cstddef>
#include <string>

#include "transactions/setting_transaction.hpp"

namespace dp_host {

/// The lasting record of what clients changed: a file of `change_record` lines, oldest first.
///
/// Lines are appended in one write, and the file always ends with a whole line: what an interrupted
/// write left behind is taken away first. A file that would grow beyond the limit is replaced by
/// one of its newest lines that make up at most three quarters of it.
///
/// Nothing here waits for anybody, nor for the disk: the lines of the last seconds before a power
/// failure may be missing. A problem is logged and is no failure of the transaction.
class change_history {
  public:
    static constexpr std::size_t usual_limit = std::size_t{256} * 1024;

    /// `limit` is in bytes. Touches no file yet.
    explicit change_history(std::string path, std::size_t limit = usual_limit);

    /// The lines, of this moment, for what the commands of `trans`, which are carried out, changed;
    /// empty when that is nothing. Of more than the file can take, the newest: at most the limit
    /// and a line.
    [[nodiscard]] std::string lines_of(const dp::setting_transaction& trans) const;

    /// Appends `lines`, if there are any.
    void append(const std::string& lines) const;

    /// Appends what the file does not have yet of `lines`: a service that was appending them may
    /// have been killed before, behind or amid it.
    void complete(const std::string& lines) const;

  private:
    [[nodiscard]] std::string missing_of(const std::string& lines) const;
    [[nodiscard]] std::string append_lines(const std::string& lines) const;
    [[nodiscard]] std::string replace_by(const std::string& lines) const;

    std::string path_;
    std::size_t limit_;
    std::size_t kept_;  // bytes that stay when the oldest lines go
};

}  // namespace dp_host

#endif
