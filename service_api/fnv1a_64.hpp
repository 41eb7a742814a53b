#ifndef DP_SERVICE_API_FNV1A_64_HPP
#define DP_SERVICE_API_FNV1A_64_HPP

#include <cstdint>
#include <string>
#include <string_view>

namespace dp_service {

/// The 64-bit FNV-1a hash of a text that is added in parts. It detects accidental changes: a change
/// of one byte always changes it. It does not protect from a writer who wants an equal hash.
class fnv1a_64 {
  public:
    /// Adds the next part.
    void add(std::string_view text) {
        for (const char c : text) {
            hash_ = (hash_ ^ static_cast<unsigned char>(c)) * 0x100000001B3;
        }
    }

    /// The hash of what was added so far, 16 lower-case hexadecimal digits.
    [[nodiscard]] std::string str() const {
        constexpr const char* digits = "0123456789abcdef";
        std::string text;
        for (unsigned shift = 64; shift > 0; shift -= 4) {
            text += digits[(hash_ >> (shift - 4)) & 0xFU];
        }
        return text;
    }

  private:
    std::uint64_t hash_ = 0xCBF29CE484222325;
};

}  // namespace dp_service

#endif
