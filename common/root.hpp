#ifndef DP_COMMON_ROOT_HPP
#define DP_COMMON_ROOT_HPP

#include <string>

namespace dp {

/// The folder that stands in front of every fixed path: empty on a board. Exactly one of
/// fixed_root.cpp and relocatable_root.cpp is linked into a library and decides.
const std::string& fixed_path_root();

}  // namespace dp

#endif
