#include "tools/dpctl/system/signal_wait.hpp"

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

// Whether SIGHUP is not ignored, as nohup would have it. SIGINT is caught in any case: shells
// without job control start background commands with SIGINT ignored.
bool is_hangup_enabled() {
    struct sigaction action {};
    return sigaction(SIGHUP, nullptr, &action) == 0 && action.sa_handler != SIG_IGN;
}

}  // namespace

int milliseconds_until(steady_clock::time_point end) {
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

signal_wait::signal_wait(int output) : output_(output) {
    sigset_t caught;
    sigemptyset(&caught);
    sigaddset(&caught, SIGINT);
    sigaddset(&caught, SIGTERM);
    if (is_hangup_enabled()) {
        sigaddset(&caught, SIGHUP);
    }
    signals_ = dp_support::file_descriptor(signalfd(-1, &caught, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals_.is_open()) {
        throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
    }
    sigprocmask(SIG_BLOCK, &caught, &old_mask_);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &old_pipe_action_);
}

signal_wait::~signal_wait() {
    // Drain pending signals before unblocking: they have been handled.
    signalfd_siginfo handled{};
    while (::read(signals_.get(), &handled, sizeof handled) > 0) {
    }
    sigaction(SIGPIPE, &old_pipe_action_, nullptr);
    sigprocmask(SIG_SETMASK, &old_mask_, nullptr);
}

bool signal_wait::is_stopped() const {
    pollfd entry{signals_.get(), POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1;
}

signal_wait::event signal_wait::wait(const std::vector<int>& descriptors, int timeout_ms) {
    const auto end = steady_clock::now() + milliseconds(std::max(timeout_ms, 0));
    // poll() reports that the output has lost its reader without being asked to.
    std::vector<pollfd> entries{{signals_.get(), POLLIN, 0}, {output_, 0, 0}};
    for (const int descriptor : descriptors) {
        entries.push_back({descriptor, POLLIN, 0});
    }
    while (true) {
        const int ready =
            ::poll(entries.data(), entries.size(), timeout_ms < 0 ? -1 : milliseconds_until(end));
        if (ready == 0) {
            return event::timeout;
        }
        if (ready > 0) {
            return entries[0].revents != 0 || entries[1].revents != 0 ? event::stopped
                                                                      : event::ready;
        }
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "cannot wait for input");
        }
    }
}

}  // namespace dpctl
