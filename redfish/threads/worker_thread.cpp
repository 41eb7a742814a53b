#include "redfish/threads/worker_thread.hpp"

#include <utility>

namespace dp_redfish {
namespace {

void do_job(const worker_thread::job& job, worker_thread::modes mode) {
    try {
        job(mode);
    } catch (...) {  // NOLINT(bugprone-empty-catch): whoever waits for the job sees it dropped
    }
}

}  // namespace

worker_thread::worker_thread(std::size_t most_waiting)
    : most_waiting_(most_waiting), thread_([this] { run(); }) {}

void worker_thread::stop() {
    {
        const std::lock_guard lock(mutex_);
        is_ending_ = true;
    }
    has_work_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
    // Nothing is added any more.
    for (const job& waiting : std::exchange(jobs_, {})) {
        do_job(waiting, modes::cancel);
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
        do_job(next, modes::run);
    }
}

}  // namespace dp_redfish
