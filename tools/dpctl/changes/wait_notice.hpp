#ifndef DP_TOOLS_DPCTL_CHANGES_WAIT_NOTICE_HPP
#define DP_TOOLS_DPCTL_CHANGES_WAIT_NOTICE_HPP

#include <chrono>
#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <thread>

namespace dpctl {

/// Shows during its lifetime that the program is waiting: on a terminal a line that counts the
/// seconds and is removed at the end, otherwise plain lines. Nobody else may write to the stream
/// during its lifetime.
class wait_notice {
  public:
    /// @param text   for example "waiting for changes"
    /// @param delay  a wait that is shorter is not shown; otherwise than on a terminal, 0 shows
    ///               `text` at once and anything else only what is announced
    wait_notice(std::ostream& err, bool is_terminal, std::string text,
                std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    ~wait_notice();
    wait_notice(const wait_notice&) = delete;
    wait_notice& operator=(const wait_notice&) = delete;

    /// Replaces the text of the line on a terminal.
    void update(std::string text);

    /// The same; otherwise than on a terminal, shows the text as a line.
    void announce(const std::string& text);

    /// The time since the notice was created.
    [[nodiscard]] double seconds() const;

  private:
    void count();

    std::ostream& err_;
    std::string text_;
    std::chrono::steady_clock::time_point start_;
    std::mutex mutex_;
    std::condition_variable ended_;
    std::chrono::milliseconds delay_;
    bool end_ = false;
    bool is_shown_ = false;
    std::string shown_;    // the text of the line on the terminal
    std::thread counter_;  // only on a terminal
};

}  // namespace dpctl

#endif
