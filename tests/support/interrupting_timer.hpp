#ifndef DP_TESTS_SUPPORT_INTERRUPTING_TIMER_HPP
#define DP_TESTS_SUPPORT_INTERRUPTING_TIMER_HPP

#include <sys/time.h>

#include <csignal>

namespace test {

/// Interrupts this process's blocking system calls with a signal every `microseconds` for its
/// lifetime. The signal handler does nothing.
class interrupting_timer {
  public:
    explicit interrupting_timer(suseconds_t microseconds) {
        struct sigaction action {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, &previous_);
        const itimerval repeated{{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &repeated, nullptr);
    }
    ~interrupting_timer() {
        const itimerval off{};
        setitimer(ITIMER_REAL, &off, nullptr);
        // Discards a signal that is still pending, which the previous action might end the process
        // for.
        static_cast<void>(std::signal(SIGALRM, SIG_IGN));
        sigaction(SIGALRM, &previous_, nullptr);
    }
    interrupting_timer(const interrupting_timer&) = delete;
    interrupting_timer& operator=(const interrupting_timer&) = delete;

  private:
    struct sigaction previous_ {};
};

}  // namespace test

#endif
