#ifndef DP_HOST_MODEL_UPDATE_FILES_HPP
#define DP_HOST_MODEL_UPDATE_FILES_HPP

#include <string>
#include <string_view>
#include <vector>

#include "support/result.hpp"

namespace dp_host {

/// Replaces or removes several files together, whenever the service is killed: either none of them,
/// or all of them by the next start at the latest.
///
/// The new files are written to the folder beside each other (`stage`). A marker, which is written
/// last (`commit`), decides that they are installed. Then each is renamed into place, and the
/// marker is removed (`complete`). A start that finds a marker completes the installation; without
/// one it discards what is there. The marker has a text, for what must be done once the files are
/// in place.
class update_files {
  public:
    /// Files are staged in `folder`, which exists and is private to the service, as FILE.staged;
    /// FILE is the last part of `targets`, which are on the same file system. FILE.removed is
    /// empty: the target is to be removed. Accesses nothing yet.
    update_files(std::string folder, std::vector<std::string> targets);

    /// Writes the new content of one of the targets to the disk.
    dp_support::result<> stage(const std::string& target, std::string_view content) const;

    /// Decides that the installation removes one of the targets.
    dp_support::result<> stage_removal(const std::string& target) const;

    /// The file that `stage` wrote, or will write.
    [[nodiscard]] std::string staged_path(const std::string& target) const;

    /// Decides that the staged files are installed. `text` is for `text_of_marker`.
    dp_support::result<> commit(std::string_view text) const;

    /// Whether the installation was decided and is not complete.
    [[nodiscard]] bool is_committed() const;

    /// The text of the marker; empty when it cannot be read.
    [[nodiscard]] std::string text_of_marker() const;

    /// Renames the staged files that are not in place yet, and removes the targets to be removed.
    /// Takes no locks. May be repeated.
    dp_support::result<> place() const;

    /// Ends the installation: removes the marker, then all staged files that remain.
    dp_support::result<> finish() const;

    /// Removes staged files of an installation that was not decided.
    void discard() const;

  private:
    [[nodiscard]] std::string removal_path(const std::string& target) const;

    std::string folder_;
    std::vector<std::string> targets_;
    std::string marker_;
};

}  // namespace dp_host

#endif
