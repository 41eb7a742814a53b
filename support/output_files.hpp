#ifndef DP_SUPPORT_OUTPUT_FILES_HPP
#define DP_SUPPORT_OUTPUT_FILES_HPP

#include <sys/types.h>

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/result.hpp"
#include "support/staged_file.hpp"

namespace dp_support {

/// A program's output files, which are replaced together or not at all. Readers see the old or the
/// new content of each file, never a part. The reasons of failures begin with the name of the file,
/// their codes are values of errno, or 0 where there is none.
class output_files {
  public:
    /// Never replaces the file `path`, by whatever name it is given to `stage`.
    void protect(const std::string& path);

    /// Adds `path` and its new content. A file that exists keeps its mode. A symlink is followed,
    /// but is itself replaced in a folder that everybody may write to, where anybody could have
    /// made it. A pipe or a character device is written to on `commit`. A folder or a disk is
    /// refused.
    result<> stage(const std::string& path, std::string_view content);

    /// Adds the removal of the file `path`, if there is one. `commit` removes it before it replaces
    /// any other: a process that is killed never leaves it beside the new ones.
    result<> stage_removal(const std::string& path);

    /// Writes to the pipes and devices, then replaces all staged files. On failure the files are as
    /// they were before, except on file systems without hard links.
    result<> commit();

  private:
    struct output {
        output(const std::string& path, mode_t mode) : file(path, staged_file::durable, mode) {}

        staged_file file;
        std::string backup;   // hard link to the old file until all files are replaced
        bool is_new = false;  // there is no old file
    };

    result<> stage_file(const std::string& path, const std::string& target,
                        std::string_view content);
    result<> write_streams();
    result<> set_aside();
    result<> replace_files();
    void roll_back(std::size_t count);

    std::deque<output> files_;
    std::vector<std::pair<std::string, std::string>> streams_;  // paths and contents
    std::vector<std::string> removals_;
    std::size_t set_aside_ = 0;  // the number of removals that were renamed
    std::vector<std::pair<dev_t, ino_t>> protected_;
};

/// Replaces one file, as `output_files` does.
result<> replace_file(const std::string& path, std::string_view content);

}  // namespace dp_support

#endif
