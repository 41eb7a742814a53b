#ifndef DP_HOST_HISTORY_HISTORY_JOURNAL_HPP
#define DP_HOST_HISTORY_HISTORY_JOURNAL_HPP

#include <cstddef>
#include <string>

namespace dp_host {

/// Journal of history lines, replayed at start. The lines for new values are written to it before
/// the file of values is replaced, and appended to the history after: a service that was killed in
/// between finds them at its next start.
///
/// The first line of the file has length and hash of the new content of the file of values and of
/// the lines that follow. The journal guards against kills, not against power failures, so nothing
/// waits for the disk. Failures are logged and do not fail the changes.
class history_journal {
  public:
    /// The journal in the file `path` for changes of the file `values_path`. A journal of more than
    /// `limit` bytes is invalid. Does not access the files yet.
    history_journal(std::string path, std::string values_path, std::size_t limit);

    /// Writes `lines` to the journal for the values in the file `staged_path`, which will replace
    /// the file of values. Writes nothing when both files have the same content: then a later start
    /// could not determine whether the file was replaced.
    void write(const std::string& staged_path, const std::string& lines) const;

    /// The lines of the journal if its values are in place. Empty when there is no journal, when
    /// its values are not in place, or when it is invalid; the latter two are logged.
    [[nodiscard]] std::string lines_to_replay() const;

    /// Removes the journal, if there is one.
    void remove() const;

  private:
    std::string path_;
    std::string values_path_;
    std::size_t limit_;
};

}  // namespace dp_host

#endif
