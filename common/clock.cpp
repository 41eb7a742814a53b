#include "common/clock.hpp"

namespace dp {

std::time_t current_time() {
    return std::time(nullptr);
}

}  // namespace dp
