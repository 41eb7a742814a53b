#ifndef DP_SERVICE_API_PLAIN_SIZE_HPP
#define DP_SERVICE_API_PLAIN_SIZE_HPP

#include <cstdint>
#include <optional>
#include <string>

namespace dp_service {

/// The size in bytes of the file `path`, or of its text if it is a compressed image with a larger
/// one: an upper limit of what reading it costs. Reads only the header. Nothing when it is not a
/// regular file that can be opened. Never waits for the other end of a pipe.
std::optional<std::uint64_t> plain_size(const std::string& path);

}  // namespace dp_service

#endif
