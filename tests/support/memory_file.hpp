#ifndef DP_TESTS_SUPPORT_MEMORY_FILE_HPP
#define DP_TESTS_SUPPORT_MEMORY_FILE_HPP

#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <string>

namespace test {

/// A file in memory, for tests of file streams with thousands of files.
class memory_file {
  public:
    memory_file() : fd_(memfd_create("test", 0)) {}
    ~memory_file() { close(fd_); }
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;

    /// Replaces the file's content and opens it.
    [[nodiscard]] std::ifstream open_with(const std::string& bytes) const {
        if (ftruncate(fd_, 0) != 0 ||
            pwrite(fd_, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
            throw std::runtime_error("cannot write a file in memory");
        }
        return std::ifstream("/proc/self/fd/" + std::to_string(fd_), std::ios::binary);
    }

  private:
    int fd_;
};

}  // namespace test

#endif
