#include "host/process/stop_signal.hpp"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace dp_host {
namespace {

// For the handler, which has no other way to the pipe.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
int pipe_ends[2] = {-1, -1};

void tell(int /*number*/) {
    const int saved = errno;
    const char byte = 0;
    // A full pipe has told already.
    [[maybe_unused]] const ssize_t ignored = write(pipe_ends[1], &byte, 1);
    errno = saved;
}

}  // namespace

bool stop_signal::catch_signals() {
    if (pipe2(pipe_ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    struct sigaction action {};
    // Calls that wait, for a lock for example, go on: they end by themselves.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    action.sa_handler = tell;
    if (sigaction(SIGTERM, &action, nullptr) != 0 || sigaction(SIGINT, &action, nullptr) != 0) {
        return false;
    }
    action.sa_handler = SIG_IGN;
    return sigaction(SIGPIPE, &action, nullptr) == 0 && sigaction(SIGXFSZ, &action, nullptr) == 0 &&
           sigaction(SIGIO, &action, nullptr) == 0;
}

int stop_signal::descriptor() {
    return pipe_ends[0];
}

bool stop_signal::came() {
    pollfd entry{pipe_ends[0], POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

}  // namespace dp_host
