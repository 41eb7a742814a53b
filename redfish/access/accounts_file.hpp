#ifndef DP_REDFISH_ACCESS_ACCOUNTS_FILE_HPP
#define DP_REDFISH_ACCESS_ACCOUNTS_FILE_HPP

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

#include "redfish/access/account.hpp"
#include "support/file_descriptor.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// The file of accounts on the disk. It is a regular file of this process's user, which nobody else
/// may read or write (mode 0600), in a folder where nobody else may replace it. For root it may
/// also belong to the folder's owner, as which new files are written then: so root can add an
/// account for a service that runs as a user of its own.
class accounts_file {
  public:
    explicit accounts_file(std::string path) : path_(std::move(path)) {}

    [[nodiscard]] const std::string& path() const { return path_; }

    /// Differs between a file and the one that replaces it.
    struct version {
        std::uint64_t inode = 0;  ///< 0: there is no file
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;
        std::int64_t size = 0;
        bool operator==(const version&) const = default;
    };

    /// The version that is on the disk now. One system call.
    [[nodiscard]] version present_version() const;

    struct content {
        account_data data;
        version read;
    };

    /// Reads the file. The code of a failure is ENOENT when there is none. The reason names the
    /// path.
    [[nodiscard]] dp_support::result<content> read() const;

    struct written {
        dp_support::result<> outcome;  ///< codes of errno
        bool is_in_place = false;      ///< also when the outcome is that it may not survive a crash
        version now{};
    };

    /// Replaces the file, or creates it. Readers see the old content or the new. Call it while
    /// holding the lock.
    [[nodiscard]] written write(const account_data& data) const;

    /// Locks the file against other processes that change it, until the result ends. Waits at most
    /// `patience`; the code of the failure is then EWOULDBLOCK.
    [[nodiscard]] dp_support::result<dp_support::file_descriptor> lock(
        std::chrono::milliseconds patience) const;

  private:
    std::string path_;
};

/// Success when the folder of `path` is one in which only this process's user and root can replace
/// files.
dp_support::result<> check_folder_of_secrets(const std::string& path);

/// Gives `path`, a new file, to the owner of its folder if this process runs as root.
dp_support::result<> give_to_folder_owner(const std::string& path);

}  // namespace dp_redfish

#endif
