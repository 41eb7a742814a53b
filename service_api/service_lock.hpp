#ifndef DP_SERVICE_API_SERVICE_LOCK_HPP
#define DP_SERVICE_API_SERVICE_LOCK_HPP

#include <sys/types.h>

#include <string>

namespace dp_service {

/// The record lock (fcntl) that a settings service has while it runs, so that there is one service
/// at a time. A client that replaces the server's files takes it to keep services from starting.
/// The kernel releases it when its process ends, however that happens. Closing any descriptor of
/// the file releases it too. The file remains.
class service_lock {
  public:
    service_lock() = default;
    /// Releases the lock.
    ~service_lock();
    service_lock(const service_lock&) = delete;
    service_lock& operator=(const service_lock&) = delete;

    /// Opens the file `path`, usually `server_paths::service_lock`, which is created if missing
    /// (mode 0600), and takes the lock without waiting. Returns 0, EAGAIN when another process has
    /// the lock, or another value of errno. May be called again after a failure.
    int acquire(const std::string& path);

    /// After EAGAIN: the process that has the lock; 0 when it is not known.
    [[nodiscard]] pid_t holder() const;

  private:
    int descriptor_ = -1;
};

}  // namespace dp_service

#endif
