#include "redfish/model/worker_thread.hpp"

#include <utility>

namespace dp_redfish {

worker_thread::worker_thread(std::size_t most_waiting)
    : most_waiting_(most_waiting), thread_([this] { run(); }) {}

worker_thread::~worker_thread() {
    stop();
}

void worker_thread::stop() {
    std::deque<job> dropped;  // destroyed without the lock: a job may do anything when it is
    {
        const std::lock_guard lock(mutex_);
        is_ending_ = true;
        dropped.swap(jobs_);
    }
    has_work_.notify_one();
    if (thread_.joinable()) {
        thread_.join();
    }
}

bool worker_thread::post(job added) {
    {
        const std::lock_guard lock(mutex_);
        if (is_ending_ || jobs_.size() >= most_waiting_) {
            return false;
        }
        jobs_.push_back(std::move(added));
    }
    has_work_.notify_one();
    return true;
}

void worker_thread::run() {
    for (;;) {
        job next;
        {
            std::unique_lock lock(mutex_);
            has_work_.wait(lock, [this] { return is_ending_ || !jobs_.empty(); });
            if (is_ending_) {
                return;
            }
            next = std::move(jobs_.front());
            jobs_.pop_front();
        }
        try {
            next();
        } catch (...) {  // NOLINT(bugprone-empty-catch): whoever waits for the job sees it dropped
        }
    }
}

}  // namespace dp_redfish
