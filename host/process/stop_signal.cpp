#include "host/process/stop_signal.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace dp_host::stop_signal {
namespace {

// Global, because a signal handler has no arguments to find it through.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
int pipe_ends[2] = {-1, -1};

void on_signal(int /*number*/) {
    const int saved = errno;
    const char byte = 0;
    // When the pipe is full, it is readable already.
    [[maybe_unused]] const ssize_t ignored = write(pipe_ends[1], &byte, 1);
    errno = saved;
}

}  // namespace

bool install() {
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
    action.sa_handler = SIG_IGN;
    return sigaction(SIGPIPE, &action, nullptr) == 0 && sigaction(SIGXFSZ, &action, nullptr) == 0 &&
           sigaction(SIGIO, &action, nullptr) == 0;
}

int descriptor() {
    return pipe_ends[0];
}

bool received() {
    pollfd entry{pipe_ends[0], POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

}  // namespace dp_host::stop_signal
