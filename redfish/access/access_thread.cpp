#include "redfish/access/access_thread.hpp"

#include <utility>

namespace dp_redfish {

access_thread::access_thread(std::size_t limit) : limit_(limit), thread_([this] { run(); }) {}

void access_thread::stop() {
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
    // Nothing is added any more.
    for (const work& piece : std::exchange(waiting_, {})) {
        piece(run_modes::cancel);
    }
}

bool access_thread::add(work piece) {
    {
        const std::lock_guard lock(mutex_);
        if (ends_ || waiting_.size() >= limit_) {
            return false;
        }
        waiting_.push_back(std::move(piece));
    }
    changed_.notify_one();
    return true;
}

void access_thread::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ends_ || !waiting_.empty(); });
        if (ends_) {
            return;
        }
        work piece = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        piece(run_modes::run);
        piece = nullptr;
        lock.lock();
    }
}

}  // namespace dp_redfish
