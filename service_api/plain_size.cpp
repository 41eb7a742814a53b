#include "service_api/plain_size.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "common/io_loops.hpp"
#include "support/file_descriptor.hpp"

namespace dp_service {
namespace {

constexpr std::size_t header_size = 8;

}  // namespace

std::optional<std::uint64_t> plain_size(const std::string& path) {
    const dp_support::file_descriptor file(
        open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.is_open()) {
        return std::nullopt;
    }
    struct stat info {};
    const bool is_regular = fstat(file.get(), &info) == 0 && S_ISREG(info.st_mode);
    // An image begins with its compressed and its original size, 32 bits each, little-endian.
    std::array<unsigned char, header_size> start{};
    const ssize_t got = is_regular ? dp::read_some(file.get(), start.data(), start.size()) : -1;
    if (got < 0) {
        return std::nullopt;
    }
    const auto word = [&](std::size_t at) {
        return std::uint64_t{start.at(at)} | std::uint64_t{start.at(at + 1)} << 8U |
               std::uint64_t{start.at(at + 2)} << 16U | std::uint64_t{start.at(at + 3)} << 24U;
    };
    const auto size = static_cast<std::uint64_t>(info.st_size);
    const bool may_be_image = got == ssize_t{header_size} && word(0) <= size - header_size;
    return may_be_image ? std::max(size, word(4)) : size;
}

}  // namespace dp_service
