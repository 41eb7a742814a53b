#include "tools/dpctl/changes/wait_notice.hpp"

#include <ostream>
#include <utility>

namespace dpctl {

wait_notice::wait_notice(std::ostream& err, bool is_terminal, std::string text)
    : err_(err), text_(std::move(text)), start_(std::chrono::steady_clock::now()) {
    if (is_terminal) {
        counter_ = std::thread([this] { count(); });
    } else {
        err_ << "dpctl: " << text_ << std::endl;
    }
}

wait_notice::~wait_notice() {
    if (!counter_.joinable()) {
        return;
    }
    {
        const std::lock_guard guard(mutex_);
        end_ = true;
    }
    ended_.notify_one();
    counter_.join();
    err_ << "\r\x1b[K" << std::flush;
}

double wait_notice::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void wait_notice::count() {
    std::unique_lock guard(mutex_);
    for (int passed = 0; !end_; ++passed) {
        err_ << "\rdpctl: " << text_ << " ... " << passed << " s" << std::flush;
        ended_.wait_until(guard, start_ + std::chrono::seconds(passed + 1),
                          [this] { return end_; });
    }
}

}  // namespace dpctl
