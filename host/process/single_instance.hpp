#ifndef DP_HOST_PROCESS_SINGLE_INSTANCE_HPP
#define DP_HOST_PROCESS_SINGLE_INSTANCE_HPP

#include <string>

#include "service_api/service_lock.hpp"
#include "support/result.hpp"

namespace dp_host {

/// Takes the service's lock on the file `path` without waiting, so that one service runs at a time.
/// The reason of a failure names the process that has it.
dp_support::result<> ensure_single_instance(dp_service::service_lock& lock,
                                            const std::string& path);

}  // namespace dp_host

#endif
