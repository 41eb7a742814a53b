#include "redfish/access/access_environment.hpp"

#include <sys/random.h>
#include <sys/types.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "support/hexadecimal.hpp"

namespace dp_redfish {

access_environment access_environment::of_system() {
    return {
        [] { return std::chrono::steady_clock::now(); },
        [] { return std::chrono::system_clock::now(); },
        [](std::span<unsigned char> bytes) {
            while (!bytes.empty()) {
                const ssize_t filled = getrandom(bytes.data(), bytes.size(), 0);
                if (filled < 0 && errno != EINTR) {
                    return false;
                }
                if (filled > 0) {
                    bytes = bytes.subspan(static_cast<std::size_t>(filled));
                }
            }
            return true;
        },
    };
}

dp_support::result<std::string> random_digits(const access_environment& environment,
                                              std::size_t count) {
    std::vector<unsigned char> bytes(count);
    if (!environment.fill_random(bytes)) {
        return dp_support::failure{"the system has no random numbers", EIO};
    }
    std::string text = dp_support::hexadecimal_digits(bytes);
    explicit_bzero(bytes.data(), bytes.size());
    return text;
}

}  // namespace dp_redfish
