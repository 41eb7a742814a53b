#ifndef DP_TOOLS_DPCTL_CHANGES_WAIT_NOTICE_HPP
#define DP_TOOLS_DPCTL_CHANGES_WAIT_NOTICE_HPP

#include <chrono>
#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <thread>

namespace dpctl {

/// What is awaited after a request to the settings service.
inline constexpr const char* waiting_for_service =
    "waiting for the settings service, at most about 60 s";

/// Shows, for its lifetime, that something is awaited: on a terminal a line that counts the seconds
/// and goes away at the end, otherwise one plain line. While it lives nobody else writes to the
/// stream.
class wait_notice {
  public:
    /// @param what  for example `waiting_for_service`
    wait_notice(std::ostream& err, bool is_terminal, std::string what);
    ~wait_notice();
    wait_notice(const wait_notice&) = delete;
    wait_notice& operator=(const wait_notice&) = delete;

    /// Since it was made.
    [[nodiscard]] double seconds() const;

  private:
    void count();

    std::ostream& err_;
    std::string what_;
    std::chrono::steady_clock::time_point start_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool end_ = false;
    std::thread counter_;  // only on a terminal
};

}  // namespace dpctl

#endif
