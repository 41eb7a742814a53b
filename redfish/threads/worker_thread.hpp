#ifndef DP_REDFISH_THREADS_WORKER_THREAD_HPP
#define DP_REDFISH_THREADS_WORKER_THREAD_HPP

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace dp_redfish {

/// A thread that does jobs in their order. What a job throws is dropped with the job.
class worker_thread {
  public:
    enum class modes : bool {
        run,
        cancel,  ///< the thread has ended: answer without doing the job
    };
    using job = std::function<void(modes)>;

    /// Starts the thread. At most `most_waiting` jobs wait, in addition to the one that runs.
    /// Throws std::system_error when there can be no thread.
    explicit worker_thread(std::size_t most_waiting);
    /// `stop`.
    ~worker_thread() { stop(); }
    worker_thread(const worker_thread&) = delete;
    worker_thread& operator=(const worker_thread&) = delete;

    /// Adds a job, from any thread. False when too many wait or the thread ends: then it is dropped
    /// and not called.
    bool post(job added);

    /// Waits for the job that runs, cancels the others, and takes no more. Not for jobs.
    void stop();

  private:
    void run();

    const std::size_t most_waiting_;
    std::mutex mutex_;
    std::condition_variable has_work_;
    std::deque<job> jobs_;
    bool is_ending_ = false;
    std::thread thread_;
};

}  // namespace dp_redfish

#endif
