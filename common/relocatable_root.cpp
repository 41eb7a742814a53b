#include <cstdio>
#include <cstdlib>

#include "common/root.hpp"

namespace dp {
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

const std::string& fixed_path_root() {
    static const std::string root = read_root();
    return root;
}

}  // namespace dp
