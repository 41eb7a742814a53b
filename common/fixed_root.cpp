#include "common/root.hpp"

namespace dp {

const std::string& fixed_path_root() {
    static const std::string none;
    return none;
}

}  // namespace dp
