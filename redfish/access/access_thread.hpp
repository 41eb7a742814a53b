#ifndef DP_REDFISH_ACCESS_ACCESS_THREAD_HPP
#define DP_REDFISH_ACCESS_ACCESS_THREAD_HPP

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace dp_redfish {

/// A thread that does one piece of work after the other, in their order.
class access_thread {
  public:
    enum class run_modes : bool {
        run,
        cancel,  ///< the queue ends: answer without doing the work
    };
    using work = std::function<void(run_modes)>;

    /// Starts the thread. Throws std::system_error when there can be none.
    /// @param limit  of the pieces that wait
    explicit access_thread(std::size_t limit);

    ~access_thread() { stop(); }
    access_thread(const access_thread&) = delete;
    access_thread& operator=(const access_thread&) = delete;

    /// Waits for the piece that is being done, cancels the others and takes no more. Not for the
    /// thread itself.
    void stop();

    /// Adds a piece of work. False when the queue is full: it is not called then. It must not
    /// throw.
    bool add(work piece);

  private:
    void run();

    std::size_t limit_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<work> waiting_;
    bool ends_ = false;
    std::thread thread_;
};

}  // namespace dp_redfish

#endif
