#ifndef DP_SUPPORT_FOLDER_OF_HPP
#define DP_SUPPORT_FOLDER_OF_HPP

#include <string>

namespace dp_support {

/// The folder of the file `path`: "." for a plain name.
inline std::string folder_of(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace dp_support

#endif
