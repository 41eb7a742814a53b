#ifndef DP_SUPPORT_FILE_HANDLE_HPP
#define DP_SUPPORT_FILE_HANDLE_HPP

#include <unistd.h>

#include <utility>

namespace dp_tools {

/// Owns a file descriptor.
class file_handle {
  public:
    explicit file_handle(int descriptor = -1) : descriptor_(descriptor) {}
    ~file_handle() { close(); }
    file_handle(const file_handle&) = delete;
    file_handle& operator=(const file_handle&) = delete;
    file_handle(file_handle&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    file_handle& operator=(file_handle&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }

    [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }
    [[nodiscard]] int get() const { return descriptor_; }

    /// Closes it now; false when the system reports that something written was lost.
    bool close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0; }

  private:
    int descriptor_;
};

}  // namespace dp_tools

#endif
