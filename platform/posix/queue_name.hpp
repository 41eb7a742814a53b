#ifndef DP_PLATFORM_POSIX_QUEUE_NAME_HPP
#define DP_PLATFORM_POSIX_QUEUE_NAME_HPP

#include <string>

namespace dp_platform {

/// The name of the POSIX message queue behind a system message queue; empty when the environment
/// variable DP_QUEUE_PREFIX is not usable.
std::string queue_name(unsigned char number);

}  // namespace dp_platform

#endif
