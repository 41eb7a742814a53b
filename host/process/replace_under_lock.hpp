#ifndef DP_HOST_PROCESS_REPLACE_UNDER_LOCK_HPP
#define DP_HOST_PROCESS_REPLACE_UNDER_LOCK_HPP

#include "support/result.hpp"
#include "support/staged_file.hpp"

namespace dp_host {

/// `file.replace()` under the write lock on the file, which its readers lock while they read.
/// Fails with EBUSY when another process keeps it locked for more than 10 seconds.
dp_support::result<> replace_under_lock(dp_support::staged_file& file);

}  // namespace dp_host

#endif
