#include "host/process/wall_clock.hpp"

namespace dp_host {

std::time_t wall_clock() {
    return std::time(nullptr);
}

}  // namespace dp_host
