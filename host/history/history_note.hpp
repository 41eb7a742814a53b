#ifndef DP_HOST_HISTORY_HISTORY_NOTE_HPP
#define DP_HOST_HISTORY_HISTORY_NOTE_HPP

#include <cstdint>
#include <string>

namespace dp_host {

/// The lines that the history gets as soon as a file of values is in place, noted beside it before:
/// a service that is killed in between finds them at its next start.
///
/// The note is a file whose first line tells the new content of the file of values and the lines
/// that follow, each by its length and a hash. It guards against kills, not against power failures,
/// so nothing waits for the disk. A problem is logged and is no failure of the changes.
class history_note {
  public:
    /// The note at `path` is about the file at `values_path`; one of more than `limit` bytes is
    /// none. Touches no file yet.
    history_note(std::string path, std::string values_path, std::uint64_t limit);

    /// Notes `lines` as those of the values in `staged_path`, a file that is about to take the
    /// place of the values. Not when it has the content that the values have already: whether it
    /// took their place could not be told.
    void write(const std::string& staged_path, const std::string& lines) const;

    /// The lines of a note whose values are in place; empty when there is none, or the values were
    /// not put in place, or the note is garbage, which the log tells.
    [[nodiscard]] std::string lines_in_force() const;

    /// Takes the note away, if there is one.
    void remove() const;

  private:
    std::string path_;
    std::string values_path_;
    std::uint64_t limit_;
};

}  // namespace dp_host

#endif
