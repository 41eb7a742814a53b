#ifndef DP_TESTS_SUPPORT_INTERCEPTED_CALL_HPP
#define DP_TESTS_SUPPORT_INTERCEPTED_CALL_HPP

#include <ctime>
#include <functional>

namespace test {

/// The functions of the C library that an `intercepted_call` can replace.
enum class libc_call {
    clock_gettime,
    fcntl,
    fdopen,
    inotify_init1,
    mq_getattr,
    mq_open,
    mq_receive,
    open,
    poll,
    write
};

/// During its lifetime, `handler` runs before each call of one function by this thread, in the
/// program or in its shared libraries. The call fails with the error number that it returns, or is
/// made when that is 0. The handler's own calls are not intercepted. One object at a time.
class intercepted_call {
  public:
    /// As result of the handler of `write`: the call writes nothing and returns 0.
    static constexpr int no_bytes = -1;

    intercepted_call(libc_call function, std::function<int()> handler);
    /// Fails each call with `error`.
    intercepted_call(libc_call function, int error);
    ~intercepted_call();
    intercepted_call(const intercepted_call&) = delete;
    intercepted_call& operator=(const intercepted_call&) = delete;
};

/// During its lifetime, every clock shows this thread the time `now`.
class stopped_clocks {
  public:
    explicit stopped_clocks(timespec now);
    ~stopped_clocks();
    stopped_clocks(const stopped_clocks&) = delete;
    stopped_clocks& operator=(const stopped_clocks&) = delete;
};

}  // namespace test

#endif
