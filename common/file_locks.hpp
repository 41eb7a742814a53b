#ifndef DP_COMMON_FILE_LOCKS_HPP
#define DP_COMMON_FILE_LOCKS_HPP

#include <cstdio>
#include <string>

#include "common/export.hpp"

// Advisory locks on whole files, for processes that share them. They exclude other processes that
// use the same lock file through these functions, never other threads of the same process; closing
// any descriptor of the file drops the process's locks on it.

/// Takes an exclusive lock on the whole file, however it grows, and waits until it is granted.
/// Returns 0, or -1 with errno set (EINTR when a signal handler ran).
DP_API int file_lock_write(int fd);

/// Takes a shared lock on the whole file and waits until it is granted. Returns 0, or -1 with errno
/// set as above.
DP_API int file_lock_read(int fd);

/// Releases the lock on the whole file without waiting. Returns 0, or -1 with errno set.
DP_API int file_unlock(int fd);

/// Holds a shared lock on `path` for its lifetime. It never creates the file. When the file cannot
/// be opened or locked, the guard has no lock and does not report that to its owner.
class DP_API readlock {
  public:
    /// Waits until no other process has an exclusive lock.
    explicit readlock(std::string path);
    /// Releases the lock.
    ~readlock();
    readlock(const readlock&) = delete;
    readlock& operator=(const readlock&) = delete;

  private:
    std::FILE* stream_;
};

/// Holds an exclusive lock on `path` for its lifetime. A missing file is created; contents are
/// never changed. When the file cannot be opened or locked, the guard has no lock and does not
/// report that to its owner.
class DP_API writelock {
  public:
    /// Waits until no other process has a lock.
    explicit writelock(std::string path);
    /// Releases the lock.
    ~writelock();
    writelock(const writelock&) = delete;
    writelock& operator=(const writelock&) = delete;

  private:
    std::FILE* stream_;
};

#endif
