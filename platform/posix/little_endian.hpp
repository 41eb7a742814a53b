#ifndef DP_PLATFORM_POSIX_LITTLE_ENDIAN_HPP
#define DP_PLATFORM_POSIX_LITTLE_ENDIAN_HPP

#include <cstdint>

/// Little-endian numbers in byte arrays, at any alignment.
namespace dp_platform {

inline void store_16(unsigned char* to, std::uint16_t number) {
    to[0] = static_cast<unsigned char>(number & 0xFFU);
    to[1] = static_cast<unsigned char>(number >> 8U);
}

inline std::uint16_t load_16(const unsigned char* from) {
    return static_cast<std::uint16_t>(from[0] | from[1] << 8U);
}

inline void store_32(unsigned char* to, std::uint32_t number) {
    store_16(to, static_cast<std::uint16_t>(number & 0xFFFFU));
    store_16(to + 2, static_cast<std::uint16_t>(number >> 16U));
}

inline std::uint32_t load_32(const unsigned char* from) {
    return load_16(from) | static_cast<std::uint32_t>(load_16(from + 2)) << 16U;
}

}  // namespace dp_platform

#endif
