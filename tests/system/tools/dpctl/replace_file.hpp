#ifndef DP_TESTS_SYSTEM_DPCTL_REPLACE_FILE_HPP
#define DP_TESTS_SYSTEM_DPCTL_REPLACE_FILE_HPP

#include <filesystem>
#include <string>

#include "tests/support/scratch_files.hpp"

namespace test {

/// Writes a file that another process may be reading: readers see the old or the new content.
inline void replace_file(const std::string& path, const std::string& content) {
    write_file(path + ".new", content);
    std::filesystem::rename(path + ".new", path);
}

}  // namespace test

#endif
