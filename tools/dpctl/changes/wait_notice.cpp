#include "tools/dpctl/changes/wait_notice.hpp"

#include <ostream>
#include <utility>

namespace dpctl {

wait_notice::wait_notice(std::ostream& err, bool is_terminal, std::string text,
                         std::chrono::milliseconds delay)
    : err_(err), text_(std::move(text)), start_(std::chrono::steady_clock::now()), delay_(delay) {
    if (is_terminal) {
        counter_ = std::thread([this] { count(); });
    } else if (delay.count() == 0) {
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
    if (is_shown_) {
        err_ << "\r\x1b[K" << std::flush;
    }
}

void wait_notice::update(std::string text) {
    const std::lock_guard guard(mutex_);
    text_ = std::move(text);
}

void wait_notice::announce(const std::string& text) {
    if (!counter_.joinable()) {
        err_ << "dpctl: " << text << std::endl;
    }
    update(text);
}

double wait_notice::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void wait_notice::count() {
    std::unique_lock guard(mutex_);
    ended_.wait_until(guard, start_ + delay_, [this] { return end_; });
    for (int passed = 0; !end_; ++passed) {
        // A new text may be shorter than the old one.
        err_ << '\r' << (shown_ == text_ || !is_shown_ ? "" : "\x1b[K") << "dpctl: " << text_
             << " ... " << passed << " s" << std::flush;
        is_shown_ = true;
        shown_ = text_;
        ended_.wait_until(guard, start_ + std::chrono::seconds(passed + 1),
                          [this] { return end_; });
    }
}

}  // namespace dpctl
