#ifndef DP_REDFISH_ACCESS_SECRET_TEXT_HPP
#define DP_REDFISH_ACCESS_SECRET_TEXT_HPP

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "support/wiped_memory.hpp"

namespace dp_redfish {

using dp_support::wipe;

/// A password or a token. Its bytes are overwritten when it ends. It can be moved, not copied.
class secret_text {
  public:
    secret_text() = default;
    explicit secret_text(std::string_view text);
    /// `size` zero bytes, to be filled through `data`.
    explicit secret_text(std::size_t size);
    ~secret_text();
    secret_text(secret_text&& other) noexcept
        : bytes_(std::move(other.bytes_)), size_(std::exchange(other.size_, 0)) {}
    secret_text& operator=(secret_text&& other) noexcept {
        std::swap(bytes_, other.bytes_);
        std::swap(size_, other.size_);
        return *this;
    }
    secret_text(const secret_text&) = delete;
    secret_text& operator=(const secret_text&) = delete;

    [[nodiscard]] std::string_view view() const { return {c_str(), size_}; }
    /// The text with a zero byte at its end.
    [[nodiscard]] const char* c_str() const { return bytes_ ? bytes_.get() : ""; }
    /// The bytes; null when empty.
    [[nodiscard]] char* data() { return bytes_.get(); }

  private:
    // Not a std::string, which keeps short texts within itself: moving one would leave a copy.
    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
};

}  // namespace dp_redfish

#endif
