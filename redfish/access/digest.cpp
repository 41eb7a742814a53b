#include "redfish/access/digest.hpp"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <new>

namespace dp_redfish {
namespace {

const unsigned char* bytes_of(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

digest sha256(std::string_view bytes) {
    digest made{};
    SHA256(bytes_of(bytes), bytes.size(), made.data());
    return made;
}

digest keyed_digest(const digest& key, std::string_view bytes) {
    digest made{};
    if (HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytes_of(bytes), bytes.size(),
             made.data(), nullptr) == nullptr) {
        throw std::bad_alloc();
    }
    return made;
}

bool equal_in_constant_time(const digest& left, const digest& right) {
    return CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

bool equal_in_constant_time(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace dp_redfish
