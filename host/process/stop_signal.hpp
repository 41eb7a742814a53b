#ifndef DP_HOST_PROCESS_STOP_SIGNAL_HPP
#define DP_HOST_PROCESS_STOP_SIGNAL_HPP

/// SIGTERM and SIGINT as an event to wait for, so that the service can finish what it is doing.
namespace dp_host::stop_signal {

/// Installs the handlers, and ignores SIGPIPE and SIGXFSZ, whose system calls fail anyway, and
/// SIGIO, which reports broken leases. A process that has not ended `patience_in_seconds` after the
/// first signal, whatever it is waiting for, is ended by SIGALRM: its files survive that as they
/// survive any kill. Call it once. False with errno set when it failed.
bool install(unsigned patience_in_seconds = 60);

/// A descriptor that is readable once a signal was received. Not owned.
int descriptor();

/// Whether a signal was received.
bool received();

}  // namespace dp_host::stop_signal

#endif
