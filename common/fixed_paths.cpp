#include "common/fixed_paths.hpp"

#ifdef DP_RELOCATABLE
#include <cstdio>
#include <cstdlib>
#endif

// Compiled twice: as it is for the library with the board's own paths, and with DP_RELOCATABLE for
// the library whose paths are below $DP_ROOT.

namespace dp {

#ifdef DP_RELOCATABLE

namespace {

// The root becomes part of command lines, so only characters that mean nothing to a shell pass.
bool is_usable(const std::string& root) {
    return root.empty() ||
           (root.front() == '/' && root.find_first_not_of("abcdefghijklmnopqrstuvwxyz"
                                                          "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                                          "0123456789/._-") == std::string::npos);
}

std::string read_root() {
    const char* value = secure_getenv("DP_ROOT");
    std::string root = value == nullptr ? "" : value;
    if (!is_usable(root)) {
        std::fputs(
            "libdp_common: DP_ROOT must be an absolute path of letters, digits and / . _ -\n",
            stderr);
        std::abort();
    }
    return root;
}

}  // namespace

std::string fixed_path::str() const {
    static const std::string root = read_root();
    return root + board_path_;
}

#else

std::string fixed_path::str() const {
    return board_path_;
}

#endif

}  // namespace dp
