#ifndef DP_REDFISH_ACCESS_DIGEST_HPP
#define DP_REDFISH_ACCESS_DIGEST_HPP

#include <array>
#include <string_view>

namespace dp_redfish {

/// A SHA-256 digest, or a key of the same size.
using digest = std::array<unsigned char, 32>;

/// The SHA-256 digest of `bytes`.
digest sha256(std::string_view bytes);

/// The HMAC-SHA-256 of `bytes`. Throws std::bad_alloc when memory runs out.
digest keyed_digest(const digest& key, std::string_view bytes);

/// Compares in a time that does not depend on the bytes.
bool equal_in_constant_time(const digest& left, const digest& right);
/// The same for texts; their lengths may be learned from the time.
bool equal_in_constant_time(std::string_view left, std::string_view right);

}  // namespace dp_redfish

#endif
