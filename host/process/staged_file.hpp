#ifndef DP_HOST_PROCESS_STAGED_FILE_HPP
#define DP_HOST_PROCESS_STAGED_FILE_HPP

#include <optional>
#include <ostream>
#include <string>

#include "support/descriptor_output.hpp"
#include "support/file_descriptor.hpp"

namespace dp_host {

/// New content for a file, written beside it and put in its place in one step: whoever opens the
/// file sees the old content or the new, never a part, also after a crash. What is not put in place
/// goes away with the object.
///
///     staged_file file(path, staged_file::lasting);
///     file.out() << ...;
///     if (!file.complete() || !file.replace_under_lock()) { ... file.problem() ... }
class staged_file {
  public:
    enum durability : bool {
        passing,  ///< need not survive a power failure
        lasting,  ///< is on the disk before it is put in place, and so is its name after
    };

    staged_file(std::string path, durability how_long);
    ~staged_file();
    staged_file(const staged_file&) = delete;
    staged_file& operator=(const staged_file&) = delete;

    /// Where to write the content. Writing needs no checks: `complete` reports what went wrong.
    std::ostream& out();

    /// Ends the writing. True when the whole content is there (and, if lasting, on the disk).
    bool complete();

    /// Puts the content in place; the file's time becomes now. True when it is there (and, if
    /// lasting, stays there). After `complete`, at most once.
    bool replace();

    /// The same while holding the write lock on the file. Fails when others keep the file locked
    /// for longer than a reader has reason to.
    bool replace_under_lock();

    /// Whether the file has the new content, also when `replace` then failed to make it last.
    [[nodiscard]] bool is_in_place() const { return in_place_; }

    /// What went wrong; empty when nothing did.
    [[nodiscard]] const std::string& problem() const { return problem_; }

    /// Its number (errno); 0 when nothing did.
    [[nodiscard]] int error() const { return error_; }

    /// Where the content is until it is put in place.
    [[nodiscard]] const std::string& staged_path() const { return beside_; }

    /// The file that gets the content.
    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    bool fail(const char* what, const std::string& path, int error);

    std::string path_;
    std::string beside_;
    durability durability_;
    file_descriptor file_;
    std::optional<descriptor_output> out_;
    bool in_place_ = false;
    std::string problem_;
    int error_ = 0;
};

}  // namespace dp_host

#endif
