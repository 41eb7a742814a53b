#ifndef DP_SUPPORT_REMOVE_OR_SET_ASIDE_HPP
#define DP_SUPPORT_REMOVE_OR_SET_ASIDE_HPP

#include <string>

namespace dp_support {

/// Removes what is at `path`, symlinks themselves and not their targets. A folder that is not empty
/// is renamed to PATH.aside-NUMBER instead. True also when there was nothing. False with errno set
/// when it is still there.
bool remove_or_set_aside(const std::string& path);

}  // namespace dp_support

#endif
