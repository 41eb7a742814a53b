#ifndef DP_PLATFORM_POSIX_QUEUE_NAME_HPP
#define DP_PLATFORM_POSIX_QUEUE_NAME_HPP

#include <string>

#include "common/export.hpp"

namespace dp_platform {

/// The error in the environment variable DP_QUEUE_PREFIX; empty when it is valid or not set.
DP_API std::string problem_with_queue_prefix();

/// The name of the POSIX message queue for system message queue `number`; empty when the
/// environment variable DP_QUEUE_PREFIX is not valid.
DP_API std::string queue_name(unsigned char number);

}  // namespace dp_platform

#endif
