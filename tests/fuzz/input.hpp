#ifndef DP_TESTS_FUZZ_INPUT_HPP
#define DP_TESTS_FUZZ_INPUT_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzzing {

/// The fuzzer's bytes, taken piece by piece. Beyond the end there are only zeros.
class input {
  public:
    input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    [[nodiscard]] bool is_empty() const { return size_ == 0; }

    std::uint8_t byte() {
        if (size_ == 0) {
            return 0;
        }
        --size_;
        return *data_++;
    }

    /// A number below `bound`.
    std::size_t below(std::size_t bound) {
        return (byte() | static_cast<std::size_t>(byte()) << 8U) % bound;
    }

    /// The bytes up to the next `end`, which is removed; all bytes when there is none.
    std::string until(char end) {
        const auto* const found = std::find(data_, data_ + size_, static_cast<std::uint8_t>(end));
        std::string text(data_, found);
        const std::size_t taken = std::min(size_, text.size() + 1);
        data_ += taken;
        size_ -= taken;
        return text;
    }

    /// At most `length` bytes.
    std::string bytes(std::size_t length) {
        length = std::min(length, size_);
        std::string text(data_, data_ + length);
        data_ += length;
        size_ -= length;
        return text;
    }

    std::string rest() { return bytes(size_); }

  private:
    const std::uint8_t* data_;
    std::size_t size_;
};

}  // namespace fuzzing

#endif
