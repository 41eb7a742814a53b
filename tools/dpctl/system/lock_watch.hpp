#ifndef DP_TOOLS_DPCTL_SYSTEM_LOCK_WATCH_HPP
#define DP_TOOLS_DPCTL_SYSTEM_LOCK_WATCH_HPP

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/file_descriptor.hpp"

// The library's read locks wait without a limit for a process that has a file locked for writing.
// Here the wait gets one.

namespace dpctl {

/// The process that keeps others from locking the file `path` for reading: "process 12 (vi)", or
/// "another process" where the kernel does not say which. Empty when there is none. The calling
/// process must have no lock on the file: it would lose it.
std::string writer_of(const std::string& path);

/// Waits until no process has one of `files` locked for writing, at most until `end`. Calls
/// `notify` once if that takes long, with a line for a person. Returns what is still locked and by
/// whom, as "FILE is locked by process 12 (vi)"; empty when nothing is.
std::string wait_for_writers(const std::vector<std::string>& files,
                             std::chrono::steady_clock::time_point end,
                             const std::function<void(const std::string&)>& notify);

/// Interrupts this thread's wait for a lock that another process took after `wait_for_writers`.
/// From `end` on, the thread gets SIGALRM while one of `files` is locked for writing: its call of
/// fcntl fails, and the library continues without the lock. So what was read must not be used if
/// `finish` reports a lock. One object at a time in a process.
class lock_watch {
  public:
    lock_watch(const std::vector<std::string>& files, std::chrono::steady_clock::time_point end);
    /// Ends the watch.
    ~lock_watch();
    lock_watch(const lock_watch&) = delete;
    lock_watch& operator=(const lock_watch&) = delete;

    /// Ends the watch. Returns why the thread was interrupted, in the form of `wait_for_writers`;
    /// empty when it was not.
    std::string finish();

  private:
    struct watched_file {
        std::string path;
        std::vector<dp_support::file_descriptor> probes;
    };

    void watch(std::chrono::steady_clock::time_point end);
    static int probe(watched_file& file);

    std::vector<watched_file> files_;
    pthread_t watched_;
    struct sigaction old_action_ {};
    std::mutex mutex_;
    std::condition_variable ended_;
    bool end_ = false;
    std::string obstacle_;
    std::thread watcher_;
};

}  // namespace dpctl

#endif
