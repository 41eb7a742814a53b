#include "redfish/access/password_hash.hpp"

#include <crypt.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>

#include "redfish/access/digest.hpp"
#include "redfish/access/text_rules.hpp"
#include "support/utf8.hpp"

namespace dp_redfish {
namespace {

constexpr const char* yescrypt = "$y$";

// The memory that crypt(3) works in, overwritten afterwards. It is too large for a thread's stack
// on a controller.
class crypt_memory {
  public:
    crypt_memory() : data_(std::make_unique<crypt_data>()) {}
    ~crypt_memory() { explicit_bzero(data_.get(), sizeof *data_); }
    crypt_memory(const crypt_memory&) = delete;
    crypt_memory& operator=(const crypt_memory&) = delete;

    // Valid as long as this object.
    dp_support::result<std::string_view> hash(const secret_text& password,
                                              const std::string& setting) {
        errno = 0;
        const char* const made = crypt_rn(password.c_str(), setting.c_str(), data_.get(),
                                          static_cast<int>(sizeof *data_));
        if (made == nullptr) {
            return dp_support::failure{
                std::string("cannot hash a password: ") + std::strerror(errno), errno};
        }
        return std::string_view(made);
    }

  private:
    std::unique_ptr<crypt_data> data_;
};

}  // namespace

password_problem check_new_password(std::string_view password) {
    if (!is_plain_text(password)) {
        return password_problem::characters;
    }
    const std::size_t length = dp_support::utf8::count_characters(password).value_or(0);
    return length < least_password_length || length > greatest_password_length
               ? password_problem::length
               : password_problem::none;
}

dp_support::result<std::string> hash_password(const secret_text& password,
                                              const access_environment& environment,
                                              unsigned cost) {
    std::array<unsigned char, 32> salt{};
    if (!environment.fill_random(salt)) {
        return dp_support::failure{"the system has no random numbers", EIO};
    }
    std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> setting{};
    if (crypt_gensalt_rn(yescrypt, cost, reinterpret_cast<const char*>(salt.data()),
                         static_cast<int>(salt.size()), setting.data(),
                         static_cast<int>(setting.size())) == nullptr) {
        return dp_support::failure{
            std::string("cannot make the salt of a password: ") + std::strerror(errno), errno};
    }
    crypt_memory memory;
    const auto made = memory.hash(password, setting.data());
    if (!made) {
        return made.error();
    }
    return std::string(*made);
}

dp_support::result<bool> matches_hash(const secret_text& password, const std::string& hash) {
    crypt_memory memory;
    const auto made = memory.hash(password, hash);
    if (!made) {
        return made.error();
    }
    return equal_in_constant_time(*made, hash);
}

bool is_password_hash(const std::string& text) {
    // "$y$PARAMETERS$SALT$DIGEST"
    constexpr std::size_t digest_length = 43;
    const auto last = text.rfind('$');
    if (text.size() >= CRYPT_OUTPUT_SIZE || !text.starts_with(yescrypt) ||
        text.size() - last - 1 != digest_length) {
        return false;
    }
    const bool has_only_its_characters =
        text.find_first_not_of(
            "$./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz") ==
        std::string::npos;
    return has_only_its_characters && crypt_checksalt(text.c_str()) == CRYPT_SALT_OK;
}

}  // namespace dp_redfish
