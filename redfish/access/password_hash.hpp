#ifndef DP_REDFISH_ACCESS_PASSWORD_HASH_HPP
#define DP_REDFISH_ACCESS_PASSWORD_HASH_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "redfish/access/access_environment.hpp"
#include "redfish/access/secret_text.hpp"
#include "support/result.hpp"

namespace dp_redfish {

/// Characters of a password. The upper limit keeps every password within what crypt(3) reads.
inline constexpr std::size_t least_password_length = 8;
inline constexpr std::size_t greatest_password_length = 120;

enum class password_problem : std::uint8_t {
    none,
    length,      ///< fewer or more characters than allowed
    characters,  ///< bytes that are not UTF-8, or control characters
};

/// Whether `password` may become the password of an account.
password_problem check_new_password(std::string_view password);

/// The salted hash of a password, made by crypt(3) with yescrypt: "$y$...". Takes tens of
/// milliseconds and some MiB of memory.
/// @param cost  of each attempt to guess the password, as crypt_gensalt(3) has it; 0: its default
dp_support::result<std::string> hash_password(const secret_text& password,
                                              const access_environment& environment, unsigned cost);

/// Whether `password` is the one that `hash` was made of. Takes as long as making the hash. Failure
/// when it cannot be decided, as without memory.
dp_support::result<bool> matches_hash(const secret_text& password, const std::string& hash);

/// Whether `text` is a hash as `hash_password` makes it.
bool is_password_hash(const std::string& text);

}  // namespace dp_redfish

#endif
