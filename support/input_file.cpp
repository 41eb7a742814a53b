#include "support/input_file.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "support/file_handle.hpp"

namespace dp_tools {
namespace {

file_content failure(const std::string& path, const std::string& reason) {
    return {std::nullopt, path + ": " + reason};
}

}  // namespace

file_content read_file(const std::string& path, std::size_t limit) {
    const file_handle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.is_open()) {
        return failure(path, std::strerror(errno));
    }
    std::string bytes;
    std::array<char, 65536> buffer{};
    while (true) {
        const ssize_t count = read(file.get(), buffer.data(), buffer.size());
        if (count == 0) {
            return {std::move(bytes), ""};
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return failure(path, std::strerror(errno));
        }
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
        if (bytes.size() > limit) {
            return failure(path, "is larger than " + std::to_string(limit) + " bytes");
        }
    }
}

}  // namespace dp_tools
