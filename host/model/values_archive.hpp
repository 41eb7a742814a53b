#ifndef DP_HOST_MODEL_VALUES_ARCHIVE_HPP
#define DP_HOST_MODEL_VALUES_ARCHIVE_HPP

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <utility>

#include "host/model/values_file.hpp"
#include "support/result.hpp"

namespace dp_host {

/// A file of values with its backup and the damaged files that were found in its place
/// (`dp_service::values_backups`).
///
/// The backup is the last complete file that was replaced: a file is known to be complete when this
/// object read or wrote it and it is unchanged since. It is a hard link, so no value is written
/// twice.
class values_archive {
  public:
    /// The file `path`. Does not access it yet.
    explicit values_archive(std::string path) : path_(std::move(path)) {}

    [[nodiscard]] const std::string& path() const { return path_; }

    struct loaded {
        std::optional<values_content> content;  ///< of the file or else of its backup
        bool is_backup = false;                 ///< the content is that of the backup
        std::string problem;  ///< why the file is not used; empty when it is, or nothing is there
        bool is_damaged = false;  ///< the file or the backup is damaged
    };

    /// Reads the file, or its backup when the file is damaged or missing. Fails when the file is
    /// not trusted or cannot be read for a reason other than its content.
    dp_support::result<loaded> load();

    /// Keeps the file and its backup as damaged files, those that the last `load` found damaged.
    void keep_damaged() const;

    /// Makes the file the backup if it is known to be complete. Call it before the file is
    /// replaced. Logs a failure.
    void keep_backup() const;

    /// The file is complete: it was just written.
    void remember() { complete_ = identity_of(path_); }

  private:
    struct identity {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        timespec modified{};
        bool operator==(const identity& other) const;
    };

    static std::optional<identity> identity_of(const std::string& path);

    std::string path_;
    std::optional<identity> complete_;  // the file that is known to be complete
    bool file_is_damaged_ = false;
    bool backup_is_damaged_ = false;
};

}  // namespace dp_host

#endif
