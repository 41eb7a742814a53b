#include "tests/support/intercepted_call.hpp"

#include <dlfcn.h>
#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <optional>
#include <utility>

namespace test {
namespace {

struct interception {
    libc_call function;
    std::function<int()> handler;
};

thread_local std::optional<interception> active;
thread_local bool handling = false;
thread_local std::optional<timespec> stopped_time;

/// What the handler answers to a call of `function`; 0 when the call is to be made.
int answer(libc_call function) {
    if (handling || !active || active->function != function) {
        return 0;
    }
    handling = true;
    const int result = active->handler();
    handling = false;
    if (result > 0) {
        errno = result;
    }
    return result;
}

/// The function of the C library with the type of `replacement`.
template <class Function>
Function* original(Function* /*replacement*/, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

intercepted_call::intercepted_call(libc_call function, std::function<int()> handler) {
    active = interception{function, std::move(handler)};
}

intercepted_call::intercepted_call(libc_call function, int error)
    : intercepted_call(function, [error] { return error; }) {}

intercepted_call::~intercepted_call() {
    active.reset();
}

stopped_clocks::stopped_clocks(timespec now) {
    stopped_time = now;
}

stopped_clocks::~stopped_clocks() {
    stopped_time.reset();
}

}  // namespace test

// Visible to the shared libraries of the program. The headers give the functions with 64-bit times
// and offsets other names on 32-bit machines, which the names of the originals follow.
#pragma GCC visibility push(default)
extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    static auto* const call = test::original(
        clock_gettime, sizeof(time_t) > sizeof(long) ? "__clock_gettime64" : "clock_gettime");
    if (test::stopped_time) {
        *time = *test::stopped_time;
        return 0;
    }
    return test::answer(test::libc_call::clock_gettime) != 0 ? -1 : call(clock, time);
}

int fcntl(int descriptor, int command, ...) {
    static auto* const call = test::original(fcntl, "fcntl64");
    va_list rest;
    va_start(rest, command);
    void* const argument = va_arg(rest, void*);
    va_end(rest);
    return test::answer(test::libc_call::fcntl) != 0 ? -1 : call(descriptor, command, argument);
}

FILE* fdopen(int descriptor, const char* mode) noexcept {
    static auto* const call = test::original(fdopen, "fdopen");
    return test::answer(test::libc_call::fdopen) != 0 ? nullptr : call(descriptor, mode);
}

int inotify_init1(int flags) noexcept {
    static auto* const call = test::original(inotify_init1, "inotify_init1");
    return test::answer(test::libc_call::inotify_init1) != 0 ? -1 : call(flags);
}

int mq_getattr(mqd_t queue, mq_attr* attributes) noexcept {
    static auto* const call = test::original(mq_getattr, "mq_getattr");
    return test::answer(test::libc_call::mq_getattr) != 0 ? -1 : call(queue, attributes);
}

mqd_t mq_open(const char* name, int flags, ...) noexcept {
    static auto* const call = test::original(mq_open, "mq_open");
    mode_t mode = 0;
    mq_attr* attributes = nullptr;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        attributes = va_arg(rest, mq_attr*);
        va_end(rest);
    }
    return test::answer(test::libc_call::mq_open) != 0 ? -1 : call(name, flags, mode, attributes);
}

ssize_t mq_receive(mqd_t queue, char* message, std::size_t size, unsigned* priority) {
    static auto* const call = test::original(mq_receive, "mq_receive");
    return test::answer(test::libc_call::mq_receive) != 0 ? -1
                                                          : call(queue, message, size, priority);
}

int open(const char* path, int flags, ...) {
    static auto* const call = test::original(open, "open64");
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list rest;
        va_start(rest, flags);
        mode = va_arg(rest, mode_t);
        va_end(rest);
    }
    return test::answer(test::libc_call::open) != 0 ? -1 : call(path, flags, mode);
}

int poll(pollfd* descriptors, nfds_t count, int timeout) {
    static auto* const call = test::original(poll, "poll");
    return test::answer(test::libc_call::poll) != 0 ? -1 : call(descriptors, count, timeout);
}

ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    static auto* const call = test::original(write, "write");
    const int answer = test::answer(test::libc_call::write);
    if (answer != 0) {
        return answer == test::intercepted_call::no_bytes ? 0 : -1;
    }
    return call(descriptor, bytes, size);
}

}  // extern "C"
#pragma GCC visibility pop
