#include "redfish/access/password_hash.hpp"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/stepped_access.hpp"

namespace {

using dp_redfish::check_new_password;
using dp_redfish::hash_password;
using dp_redfish::is_password_hash;
using dp_redfish::matches_hash;
using dp_redfish::password_problem;
using dp_redfish::secret_text;

secret_text secret(std::string_view text) {
    return secret_text(text);
}

TEST(check_new_password, the_length_is_counted_in_characters) {
    EXPECT_EQ(check_new_password("1234567"), password_problem::length);
    EXPECT_EQ(check_new_password("12345678"), password_problem::none);
    EXPECT_EQ(check_new_password("\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"), password_problem::length);
    EXPECT_EQ(check_new_password(std::string(120, 'x')), password_problem::none);
    EXPECT_EQ(check_new_password(std::string(121, 'x')), password_problem::length);
}

TEST(check_new_password, control_characters_and_other_bytes_are_refused) {
    EXPECT_EQ(check_new_password("1234567\n8"), password_problem::characters);
    EXPECT_EQ(check_new_password(std::string("1234567\0008", 9)), password_problem::characters);
    EXPECT_EQ(check_new_password("12345678\xFF"), password_problem::characters);
}

TEST(hash_password, only_the_same_password_matches) {
    test::stepped_access steps;
    const auto hash = hash_password(secret("correct horse"), steps.environment(), 1);
    ASSERT_TRUE(hash) << hash.reason();
    EXPECT_TRUE(hash->starts_with("$y$"));
    EXPECT_TRUE(is_password_hash(*hash));
    EXPECT_TRUE(*matches_hash(secret("correct horse"), *hash));
    EXPECT_FALSE(*matches_hash(secret("correct horsE"), *hash));
    EXPECT_FALSE(*matches_hash(secret(""), *hash));
}

TEST(hash_password, each_hash_has_its_salt) {
    test::stepped_access steps;
    const auto one = hash_password(secret("correct horse"), steps.environment(), 1);
    const auto other = hash_password(secret("correct horse"), steps.environment(), 1);
    EXPECT_NE(*one, *other);
}

TEST(hash_password, the_longest_password_counts_whole) {
    test::stepped_access steps;
    std::string longest;
    for (std::size_t i = 0; i < dp_redfish::greatest_password_length; ++i) {
        longest += "\xF0\x9F\x98\x80";
    }
    const auto hash = hash_password(secret(longest), steps.environment(), 1);
    ASSERT_TRUE(hash) << hash.reason();
    EXPECT_TRUE(*matches_hash(secret(longest), *hash));
    longest.back() = '\x81';
    EXPECT_FALSE(*matches_hash(secret(longest), *hash));
}

TEST(hash_password, a_password_beyond_what_crypt_reads_is_a_failure) {
    test::stepped_access steps;
    EXPECT_FALSE(hash_password(secret(std::string(600, 'x')), steps.environment(), 1));
}

TEST(hash_password, needs_random_numbers) {
    test::stepped_access steps;
    steps.random_fails = true;
    EXPECT_FALSE(hash_password(secret("correct horse"), steps.environment(), 1));
}

TEST(is_password_hash, refuses_everything_else) {
    test::stepped_access steps;
    const std::string hash = *hash_password(secret("correct horse"), steps.environment(), 1);
    for (const std::string& text :
         {std::string(), std::string("x"), std::string("!"), std::string("*0"),
          std::string("correct horse"), std::string("$1$salt$qJH7.N4xYta3aEG/dfqo/0"),
          std::string("$y$"), std::string("$y$j9T$"), hash.substr(0, hash.size() - 1), hash + "x",
          hash + "\n", "!" + hash, hash.substr(0, hash.size() - 1) + ":",
          hash + std::string(1000, 'x')}) {
        EXPECT_FALSE(is_password_hash(text)) << text;
    }
}

}  // namespace
