#ifndef DP_SUPPORT_READ_FILE_HPP
#define DP_SUPPORT_READ_FILE_HPP

#include <cstddef>
#include <string>

#include "support/result.hpp"

namespace dp_support {

/// All bytes of the file `path`, or why it cannot be read, as "PATH: ..." with a value of errno. A
/// file of more than `limit` bytes is a failure (EFBIG): a regular file is not read then, and an
/// endless one ends the reading too.
result<std::string> read_file(const std::string& path, std::size_t limit);

}  // namespace dp_support

#endif
