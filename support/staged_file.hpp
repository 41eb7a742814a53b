#ifndef DP_SUPPORT_STAGED_FILE_HPP
#define DP_SUPPORT_STAGED_FILE_HPP

#include <sys/types.h>

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "support/descriptor_output.hpp"
#include "support/file_descriptor.hpp"
#include "support/result.hpp"

namespace dp_support {

/// Atomic replacement of a file: the new content is written to a temporary file in the same folder,
/// which is renamed to the file. Readers see the old content or the new, never a part, also after a
/// crash. The destructor removes a temporary file that was not renamed.
///
///     staged_file file(path, staged_file::durable);
///     file.out() << ...;
///     const auto done = file.complete().and_then([&] { return file.replace(); });
///
/// The codes of its failures are values of errno. The first failure is final: later calls return it
/// again.
class staged_file {
  public:
    enum durability : bool {
        volatile_file,  ///< need not survive a power failure
        durable,        ///< content and name are on the disk when `replace` returns
    };

    /// For a file that one process at a time writes: the temporary file is PATH.new, of mode 0640
    /// less the bits of the process's mask. What is there, left by a process that was killed, is
    /// removed or set aside.
    staged_file(std::string path, durability how);

    /// For a file that several processes may write at once: the temporary file has a unique name
    /// and gets `mode`, whatever the process's mask is.
    staged_file(std::string path, durability how, mode_t mode);

    ~staged_file();
    staged_file(const staged_file&) = delete;
    staged_file& operator=(const staged_file&) = delete;

    /// The stream for the content. `complete` reports what could not be written.
    std::ostream& out();

    /// Ends the writing. On success the whole content is in the temporary file, and on the disk if
    /// durable.
    result<> complete();

    /// Renames the temporary file to the file and sets the file's time to now. Call it after
    /// `complete`, at most once.
    result<> replace();

    /// Success so far, or the first failure.
    [[nodiscard]] const result<>& outcome() const { return outcome_; }

    /// Whether the file has the new content, also when `replace` then failed to make it durable.
    [[nodiscard]] bool is_in_place() const { return in_place_; }

    /// The temporary file; empty when it could not be created.
    [[nodiscard]] const std::string& staged_path() const { return staged_path_; }

    /// The file that is replaced.
    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    const result<>& fail(const char* action, const std::string& path, int error);

    std::string path_;
    std::string staged_path_;
    durability durability_;
    file_descriptor file_;
    std::optional<descriptor_output> out_;
    result<> outcome_;
    bool in_place_ = false;
};

/// Removes the temporary files with unique names that killed processes left in a folder: those of
/// this user and of root. Call it while nobody writes such a file there.
void remove_staged_files(const std::string& folder);

/// Replaces the file `path` by `content`, durably, with mode 0600. The code of a failure is a value
/// of errno.
result<> write_private_file(const std::string& path, std::string_view content);

}  // namespace dp_support

#endif
