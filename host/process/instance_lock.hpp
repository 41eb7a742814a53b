#ifndef DP_HOST_PROCESS_INSTANCE_LOCK_HPP
#define DP_HOST_PROCESS_INSTANCE_LOCK_HPP

#include <string>

#include "support/file_descriptor.hpp"

namespace dp_host {

/// Sees to it that one service runs on a pair of folders. The lock is the kernel's: it ends with
/// the process, however that ends. The file stays.
class instance_lock {
  public:
    /// Takes the lock without waiting. Returns why it could not be taken, naming the process that
    /// holds it; empty when it is ours.
    std::string take(const std::string& path);

  private:
    dp_support::file_descriptor file_;
};

}  // namespace dp_host

#endif
