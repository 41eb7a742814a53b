#ifndef DP_HOST_PROCESS_STOP_SIGNAL_HPP
#define DP_HOST_PROCESS_STOP_SIGNAL_HPP

namespace dp_host {

/// Turns SIGTERM and SIGINT into something to wait for, so that work under way is finished first.
/// Also makes the process ignore SIGPIPE and SIGXFSZ, whose calls fail anyway, and SIGIO, which
/// tells of broken leases.
class stop_signal {
  public:
    /// Call it once. False, with errno set, when the signals can't be caught.
    static bool catch_signals();

    /// Readable once a signal came.
    static int descriptor();

    /// Whether a signal came.
    static bool came();
};

}  // namespace dp_host

#endif
