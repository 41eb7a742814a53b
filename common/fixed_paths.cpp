#include "common/fixed_paths.hpp"

#include "common/root.hpp"

namespace dp {

std::string fixed_path::str() const {
    return fixed_path_root() + board_path_;
}

}  // namespace dp
