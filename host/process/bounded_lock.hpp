#ifndef DP_HOST_PROCESS_BOUNDED_LOCK_HPP
#define DP_HOST_PROCESS_BOUNDED_LOCK_HPP

#include <cstdint>
#include <string>
#include <utility>

#include "support/file_descriptor.hpp"
#include "support/result.hpp"

namespace dp_host {

/// A lock on a whole file that excludes the library's `readlock` or `writelock` of other processes,
/// with a limit on the time to wait for it. It is released when this object is destroyed, and also
/// when the process closes any other descriptor of the file.
class bounded_lock {
  public:
    enum class kind : std::uint8_t {
        shared,     ///< as `readlock`; a stop signal ends the waiting
        exclusive,  ///< as `writelock`, but never creates the file
    };

    static constexpr std::uint32_t timeout_ms = 10'000;

    /// Locks the file `path`. Logs which process has the lock when it must wait, and waits for at
    /// most `timeout_ms`: then fails with EBUSY. Succeeds without a lock when there is no such file
    /// or it cannot be locked.
    static dp_support::result<bounded_lock> acquire(const std::string& path, kind which);
    /// The same for one of several locks that share a limit: waits for at most `remaining_ms`, and
    /// subtracts the time that it waited.
    static dp_support::result<bounded_lock> acquire(const std::string& path, kind which,
                                                    std::uint32_t& remaining_ms);

  private:
    explicit bounded_lock(dp_support::file_descriptor file) : file_(std::move(file)) {}

    dp_support::file_descriptor file_;
};

}  // namespace dp_host

#endif
