#ifndef DP_SERVICE_API_EXCHANGE_LOCK_HPP
#define DP_SERVICE_API_EXCHANGE_LOCK_HPP

namespace dp_service {

/// The lock (flock on `server_paths::exchange_folder`) that keeps clients from overwriting each
/// other's batch and answer. A client takes it before it writes a batch and releases it after it
/// read the answer. The kernel releases it when its process ends.
///
/// Programs that change values through the C API take it around each call that changes values: the
/// C API does not take it. Without it, two programs can receive each other's answers: a change that
/// was refused is then reported as made, or the other way round. `settings_client` needs no lock.
class exchange_lock {
  public:
    /// Opens the folder; takes no lock yet.
    exchange_lock();
    /// Releases the lock.
    ~exchange_lock();
    exchange_lock(const exchange_lock&) = delete;
    exchange_lock& operator=(const exchange_lock&) = delete;

    /// Takes the lock without waiting. False when another process has it. True without a lock when
    /// the folder cannot be opened: then there is no service either.
    bool try_acquire();

    /// Takes the lock, and waits for it without a time limit.
    void acquire();

  private:
    int folder_;
};

}  // namespace dp_service

#endif
