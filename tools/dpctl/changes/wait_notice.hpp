#ifndef DP_TOOLS_DPCTL_CHANGES_WAIT_NOTICE_HPP
#define DP_TOOLS_DPCTL_CHANGES_WAIT_NOTICE_HPP

#include <chrono>
#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <thread>

namespace dpctl {

/// The notice while a request to the settings service is carried out.
inline constexpr const char* waiting_for_service =
    "waiting for the settings service, at most about 60 s";

/// Shows during its lifetime that the program is waiting: on a terminal a line that counts the
/// seconds and is removed at the end, otherwise one plain line. Nobody else may write to the stream
/// during its lifetime.
class wait_notice {
  public:
    /// @param text  for example `waiting_for_service`
    wait_notice(std::ostream& err, bool is_terminal, std::string text);
    ~wait_notice();
    wait_notice(const wait_notice&) = delete;
    wait_notice& operator=(const wait_notice&) = delete;

    /// The time since the notice was created.
    [[nodiscard]] double seconds() const;

  private:
    void count();

    std::ostream& err_;
    std::string text_;
    std::chrono::steady_clock::time_point start_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool end_ = false;
    std::thread counter_;  // only on a terminal
};

}  // namespace dpctl

#endif
