#ifndef DP_SUPPORT_FILE_DESCRIPTOR_HPP
#define DP_SUPPORT_FILE_DESCRIPTOR_HPP

#include <unistd.h>

#include <utility>

namespace dp_support {

/// Owns an open file descriptor, or none.
class file_descriptor {
  public:
    file_descriptor() = default;
    /// Takes ownership of `descriptor`; -1 is none, so the result of open(2) fits.
    explicit file_descriptor(int descriptor) : descriptor_(descriptor) {}
    ~file_descriptor() { close(); }
    file_descriptor(file_descriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    file_descriptor& operator=(file_descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    file_descriptor(const file_descriptor&) = delete;
    file_descriptor& operator=(const file_descriptor&) = delete;

    /// The descriptor, -1 when there is none. It remains owned.
    [[nodiscard]] int get() const { return descriptor_; }
    [[nodiscard]] bool is_open() const { return descriptor_ != -1; }

    /// Closes the descriptor now. False with errno set when the system reports that written data
    /// was lost. True when there was none.
    bool close() { return descriptor_ == -1 || ::close(std::exchange(descriptor_, -1)) == 0; }

  private:
    int descriptor_ = -1;
};

}  // namespace dp_support

#endif
