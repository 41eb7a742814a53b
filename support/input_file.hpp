#ifndef DP_SUPPORT_INPUT_FILE_HPP
#define DP_SUPPORT_INPUT_FILE_HPP

#include <cstddef>
#include <optional>
#include <string>

namespace dp_tools {

/// The bytes of a file, or why they could not be had.
struct file_content {
    std::optional<std::string> bytes;
    std::string error;  ///< names the file; empty when there are bytes
};

/// Reads the whole of `path`, at most `limit` bytes: a longer file is an error, so an endless one
/// ends too.
file_content read_file(const std::string& path, std::size_t limit);

/// Greatest size of a template, compressed or not, that the programs take.
inline constexpr std::size_t template_limit = std::size_t{256} << 20;

}  // namespace dp_tools

#endif
