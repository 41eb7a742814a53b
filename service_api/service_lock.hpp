#ifndef DP_SERVICE_API_SERVICE_LOCK_HPP
#define DP_SERVICE_API_SERVICE_LOCK_HPP

#include <string>

/// The record lock (fcntl) on `server_paths::service_lock`, which keeps services apart. It ends
/// when its process closes the file, or ends itself.
namespace service_lock {

/// Opens the lock's file, and makes it when there is none. The descriptor is the caller's; -1 with
/// errno set when it can't be opened.
int open_file(const std::string& path);

/// Takes the lock without waiting. 0, or why not: EAGAIN when another process has it, otherwise
/// another value of errno.
int take(int descriptor);

}  // namespace service_lock

#endif
