#ifndef DP_SUPPORT_FILE_DESCRIPTOR_HPP
#define DP_SUPPORT_FILE_DESCRIPTOR_HPP

#include <unistd.h>

#include <utility>

namespace dp_host {

/// Owns an open file descriptor; -1 stands for none.
class file_descriptor {
  public:
    file_descriptor() = default;
    explicit file_descriptor(int fd) : fd_(fd) {}
    file_descriptor(file_descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    file_descriptor& operator=(file_descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    file_descriptor(const file_descriptor&) = delete;
    file_descriptor& operator=(const file_descriptor&) = delete;
    ~file_descriptor() { close(); }

    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] bool is_open() const { return fd_ != -1; }

    /// Closes it now; 0, or -1 with errno set.
    int close() { return fd_ == -1 ? 0 : ::close(std::exchange(fd_, -1)); }

  private:
    int fd_ = -1;
};

}  // namespace dp_host

#endif
