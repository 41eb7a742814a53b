#ifndef DP_TOOLS_DPCTL_CHANGES_WAIT_NOTICE_HPP
#define DP_TOOLS_DPCTL_CHANGES_WAIT_NOTICE_HPP

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <mutex>
#include <string>
#include <thread>

#include "support/terminal.hpp"

namespace dpctl {

/// Shows during its lifetime that the program is waiting: on a terminal a line that counts the
/// seconds, fits the width and is removed at the end, otherwise plain lines. Nobody else may write
/// to the stream during its lifetime.
class wait_notice {
  public:
    /// A wait that is shorter than this needs no notice.
    static constexpr std::chrono::seconds usual_delay{2};

    /// @param screen  the terminal that `err` is
    /// @param text    for example "waiting for changes"
    /// @param delay   until then nothing is shown. Otherwise than on a terminal, 0 shows `text` at
    ///                once, and anything else only what is announced
    wait_notice(std::ostream& err, const dp_support::terminal& screen, std::string text,
                std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    ~wait_notice();
    wait_notice(const wait_notice&) = delete;
    wait_notice& operator=(const wait_notice&) = delete;

    /// Replaces the text of the line on a terminal.
    void update(std::string text);

    /// The same; otherwise than on a terminal, shows the text as a line, after the delay only the
    /// last one of several.
    void announce(const std::string& text);

    /// Shows on a terminal how much is done, with a bar when there is much to do.
    void progress(std::uint32_t done, std::uint32_t total);

    /// The time since the notice was created.
    [[nodiscard]] double seconds() const;

  private:
    void run();
    void draw();
    void write_announcements(std::unique_lock<std::mutex>& guard);

    std::ostream& err_;
    dp_support::terminal screen_;
    std::string text_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::milliseconds delay_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool end_ = false;
    std::uint32_t done_ = 0;
    std::uint32_t total_ = 0;
    std::string announced_;  // not written yet
    std::string shown_;      // the line on the terminal
    std::thread thread_;
};

/// The line of a notice, in at most `columns` columns: the text, `done` of `total` if that is not
/// 0, with a bar if it is large, and the seconds.
std::string wait_line(const std::string& text, std::uint32_t done, std::uint32_t total,
                      long seconds, std::size_t columns);

}  // namespace dpctl

#endif
