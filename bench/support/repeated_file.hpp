#ifndef DP_BENCH_SUPPORT_REPEATED_FILE_HPP
#define DP_BENCH_SUPPORT_REPEATED_FILE_HPP

#include <cstddef>
#include <string>

#include "bench/support/side_by_side.hpp"
#include "tests/support/scratch_files.hpp"

namespace bench {

/// The content of a file, repeated until it has at least `size` bytes. `separator` is added where a
/// copy does not end with it, unless it is '\0'.
inline std::string repeated_file(const std::string& path, std::size_t size, char separator) {
    std::string content = test::read_file(path);
    require(!content.empty(), "nothing to read in " + path);
    if (separator != '\0' && content.back() != separator) {
        content += separator;
    }
    std::string text;
    do {
        text += content;
    } while (text.size() < size);
    return text;
}

}  // namespace bench

#endif
