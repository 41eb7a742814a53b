#include "tools/dpctl/changes/interruption.hpp"

#include <poll.h>
#include <sys/signalfd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <system_error>

namespace dpctl {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Whether the end of the terminal is left to the default, and not ignored as nohup has it. (SIGINT
// is caught in any case: shells without job control let background commands ignore it.)
bool ends_with_terminal() {
    struct sigaction action {};
    return sigaction(SIGHUP, nullptr, &action) == 0 && action.sa_handler != SIG_IGN;
}

}  // namespace

int milliseconds_until(steady_clock::time_point end) {
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

interruption::interruption(int output) : output_(output) {
    sigset_t caught;
    sigemptyset(&caught);
    sigaddset(&caught, SIGINT);
    sigaddset(&caught, SIGTERM);
    if (ends_with_terminal()) {
        sigaddset(&caught, SIGHUP);
    }
    signals_ = dp_support::file_descriptor(signalfd(-1, &caught, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals_.is_open()) {
        throw std::system_error(errno, std::generic_category(), "signals can't be awaited");
    }
    sigprocmask(SIG_BLOCK, &caught, &old_mask_);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &old_pipe_action_);
}

interruption::~interruption() {
    // What was caught is dealt with and must not end the process once it is let through.
    signalfd_siginfo taken{};
    while (::read(signals_.get(), &taken, sizeof taken) > 0) {
    }
    sigaction(SIGPIPE, &old_pipe_action_, nullptr);
    sigprocmask(SIG_SETMASK, &old_mask_, nullptr);
}

interruption::event interruption::wait(const std::vector<int>& handles, int timeout_ms) {
    const auto end = steady_clock::now() + milliseconds(std::max(timeout_ms, 0));
    // Of the output only its end is told, which needs no asking for.
    std::vector<pollfd> entries{{signals_.get(), POLLIN, 0}, {output_, 0, 0}};
    for (const int handle : handles) {
        entries.push_back({handle, POLLIN, 0});
    }
    while (true) {
        const int ready =
            ::poll(entries.data(), entries.size(), timeout_ms < 0 ? -1 : milliseconds_until(end));
        if (ready == 0) {
            return event::timeout;
        }
        if (ready > 0) {
            return entries[0].revents != 0 || entries[1].revents != 0 ? event::interrupted
                                                                      : event::ready;
        }
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "waiting failed");
        }
    }
}

}  // namespace dpctl
