#ifndef DP_SUPPORT_OUTPUT_FILES_HPP
#define DP_SUPPORT_OUTPUT_FILES_HPP

#include <sys/types.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dp_tools {

/// Files that appear together or not at all. Contents go to temporary files beside their targets;
/// `commit` renames them into place, so a reader sees a target's old bytes or its new ones. What
/// was not committed is taken away again.
class output_files {
  public:
    output_files() = default;
    ~output_files();
    output_files(const output_files&) = delete;
    output_files& operator=(const output_files&) = delete;

    /// Never replaces this file, whatever name it is given by.
    void protect(const std::string& path);

    /// Prepares `path`. A target that exists keeps its mode. A link is followed, but replaced where
    /// everybody may write, since anybody could have put it there. What has no content of its own,
    /// as a pipe or /dev/null, is written to on `commit`; a folder or a disk is refused. False on
    /// failure; `error` says why.
    bool stage(const std::string& path, std::string_view content);

    /// Puts every staged file into place, behind writing to what has no content. False on failure:
    /// the files are as they were, but for ones on a file system without hard links.
    bool commit();

    /// Why the last call failed; names the file.
    [[nodiscard]] const std::string& error() const { return error_; }

  private:
    struct staged_file {
        std::string path;       ///< folder without links, and name
        std::string temporary;  ///< empty once renamed
        std::string backup;     ///< second name of the replaced file until all are in place
        bool is_new = false;    ///< there is nothing to replace
    };

    bool stage_file(const std::string& path, const std::string& place, std::string_view content);
    bool write_streams();
    bool fail(const std::string& path, const std::string& reason);
    bool fail_with_errno(const std::string& path);
    void roll_back(std::size_t count);

    std::vector<staged_file> files_;
    std::vector<std::pair<std::string, std::string>> streams_;  ///< paths and contents
    std::vector<std::pair<dev_t, ino_t>> protected_;
    std::string error_;
};

/// Replaces one file; empty on success, otherwise why not.
std::string replace_file(const std::string& path, std::string_view content);

}  // namespace dp_tools

#endif
