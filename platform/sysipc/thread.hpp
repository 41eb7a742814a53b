#ifndef DP_PLATFORM_SYSIPC_THREAD_HPP
#define DP_PLATFORM_SYSIPC_THREAD_HPP

#include <cstdint>

#include "common/export.hpp"

namespace sysipc {

/// Pauses of a thread.
struct DP_API thread {
    /// Pauses the calling thread for at least `milliseconds`; a signal does not interrupt it.
    static void sleep(std::uint32_t milliseconds);
};

}  // namespace sysipc

#endif
