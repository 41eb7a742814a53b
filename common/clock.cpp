#include "common/clock.hpp"

namespace dp {

static_assert(sizeof(std::time_t) == 8, "built with 32-bit time, which ends in January 2038");

std::time_t current_time() {
    return std::time(nullptr);
}

}  // namespace dp
