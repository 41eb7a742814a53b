#include "host/process/stop_signal.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace dp_host::stop_signal {
namespace {

// Global, because a signal handler has no arguments to find it through.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
int pipe_ends[2] = {-1, -1};
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
volatile std::sig_atomic_t has_come = 0;
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
unsigned patience = 0;

void on_signal(int /*number*/) {
    const int saved = errno;
    if (has_come == 0) {
        has_come = 1;
        // SIGALRM ends the process, whatever it is waiting for.
        alarm(patience);
    }
    const char byte = 0;
    // When the pipe is full, it is readable already.
    [[maybe_unused]] const ssize_t ignored = write(pipe_ends[1], &byte, 1);
    errno = saved;
}

}  // namespace

bool install(unsigned patience_in_seconds) {
    patience = patience_in_seconds;
    if (pipe2(pipe_ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    struct sigaction action {};
    // System calls that wait, for example for a lock, are restarted: each ends on its own.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    action.sa_handler = on_signal;
    if (sigaction(SIGTERM, &action, nullptr) != 0 || sigaction(SIGINT, &action, nullptr) != 0) {
        return false;
    }
    // A parent may have blocked them, or ignored the alarm.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGALRM}) {
        sigaddset(&signals, number);
    }
    action.sa_handler = SIG_DFL;
    if (sigaction(SIGALRM, &action, nullptr) != 0 ||
        sigprocmask(SIG_UNBLOCK, &signals, nullptr) != 0) {
        return false;
    }
    action.sa_handler = SIG_IGN;
    return sigaction(SIGPIPE, &action, nullptr) == 0 && sigaction(SIGXFSZ, &action, nullptr) == 0 &&
           sigaction(SIGIO, &action, nullptr) == 0;
}

int descriptor() {
    return pipe_ends[0];
}

bool received() {
    return has_come != 0;
}

}  // namespace dp_host::stop_signal
