#include "tools/dpctl/changes/wait_notice.hpp"

#include <algorithm>
#include <ostream>
#include <utility>

#include "tools/dpctl/output/printable_text.hpp"

namespace dpctl {
namespace {

constexpr std::chrono::milliseconds redraw_pause(250);

std::string bar(std::uint32_t done, std::uint32_t total, std::size_t width) {
    const auto filled = static_cast<std::size_t>(std::uint64_t{width} * std::min(done, total) /
                                                 std::max<std::uint32_t>(total, 1));
    return " [" + std::string(filled, '#') + std::string(width - filled, '.') + ']';
}

}  // namespace

std::string wait_line(const std::string& text, std::uint32_t done, std::uint32_t total,
                      long seconds, std::size_t columns) {
    constexpr std::uint32_t many = 20;
    constexpr std::size_t widest_bar = 30;
    constexpr std::size_t narrowest_bar = 5;
    constexpr std::size_t brackets = 3;  // with a space
    const std::string prefix = "dpctl: ";
    std::string end = " ... " + std::to_string(seconds) + " s";
    if (total != 0) {
        end = ", " + std::to_string(done) + " of " + std::to_string(total) + end;
    }
    const std::size_t left = columns - std::min(columns, prefix.size() + end.size());
    const std::string shown = shortened(printable(text), left);
    const std::size_t for_bar = left - display_width(shown);
    if (total >= many && for_bar >= narrowest_bar + brackets) {
        // Another digit of the seconds changes it rarely.
        const std::size_t width =
            std::min(widest_bar, (for_bar - brackets) / narrowest_bar * narrowest_bar);
        return prefix + shown + bar(done, total, width) + end;
    }
    return prefix + shown + end;
}

wait_notice::wait_notice(std::ostream& err, const dp_support::terminal& screen, std::string text,
                         std::chrono::milliseconds delay)
    : err_(err),
      screen_(screen),
      text_(std::move(text)),
      start_(std::chrono::steady_clock::now()),
      delay_(delay) {
    if (!screen_.is_there() && delay.count() == 0) {
        err_ << "dpctl: " << printable(text_) << std::endl;
    }
    thread_ = std::thread([this] { run(); });
}

wait_notice::~wait_notice() {
    {
        const std::lock_guard guard(mutex_);
        end_ = true;
    }
    changed_.notify_one();
    thread_.join();
    if (!shown_.empty()) {
        err_ << '\r' << std::string(display_width(shown_), ' ') << '\r' << std::flush;
    }
}

void wait_notice::update(std::string text) {
    const std::lock_guard guard(mutex_);
    text_ = std::move(text);
}

void wait_notice::announce(const std::string& text) {
    {
        const std::lock_guard guard(mutex_);
        text_ = text;
        announced_ = text;
    }
    changed_.notify_one();
}

void wait_notice::progress(std::uint32_t done, std::uint32_t total) {
    const std::lock_guard guard(mutex_);
    done_ = done;
    total_ = total;
}

double wait_notice::seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void wait_notice::run() {
    std::unique_lock guard(mutex_);
    changed_.wait_until(guard, start_ + delay_, [this] { return end_; });
    if (!screen_.is_there()) {
        write_announcements(guard);
        return;
    }
    while (!end_) {
        draw();
        changed_.wait_for(guard, redraw_pause, [this] { return end_; });
    }
}

void wait_notice::write_announcements(std::unique_lock<std::mutex>& guard) {
    while (!end_) {
        if (!announced_.empty()) {
            err_ << "dpctl: " << printable(announced_) << std::endl;
            announced_.clear();
        }
        changed_.wait(guard, [this] { return end_ || !announced_.empty(); });
    }
}

// A line that fills the last column would begin another one.
void wait_notice::draw() {
    std::string line =
        wait_line(text_, done_, total_, static_cast<long>(seconds()), screen_.columns - 1);
    if (line == shown_) {
        return;
    }
    err_ << '\r' << padded(line, display_width(shown_)) << std::flush;
    shown_ = std::move(line);
}

}  // namespace dpctl
