#include "redfish/access/credential_cache.hpp"

#include <gtest/gtest.h>

#include "tests/support/stepped_access.hpp"

namespace {

using dp_redfish::credential_cache;
using std::chrono::seconds;

class credential_cache_test : public testing::Test {
  protected:
    test::stepped_access steps;
    credential_cache cache{steps.environment(), {1, 2, 3}};
};

TEST_F(credential_cache_test, remembers_right_credentials_for_a_minute) {
    const auto right = cache.digest_of("a", "secret");
    EXPECT_FALSE(cache.has("a", right));
    cache.remember("a", right);
    EXPECT_TRUE(cache.has("a", right));
    EXPECT_FALSE(cache.has("a", cache.digest_of("a", "secreT")));
    EXPECT_FALSE(cache.has("b", right));
    steps.advance(seconds(59));
    EXPECT_TRUE(cache.has("a", right));
    steps.advance(seconds(1));
    EXPECT_FALSE(cache.has("a", right));
}

TEST_F(credential_cache_test, forgets) {
    cache.remember("a", cache.digest_of("a", "secret"));
    cache.forget("a");
    cache.forget("b");
    EXPECT_FALSE(cache.has("a", cache.digest_of("a", "secret")));
}

TEST_F(credential_cache_test, name_and_password_are_told_apart) {
    EXPECT_NE(cache.digest_of("ab", "c"), cache.digest_of("a", "bc"));
}

TEST_F(credential_cache_test, the_digest_depends_on_the_key) {
    const credential_cache other{steps.environment(), {3, 2, 1}};
    EXPECT_NE(cache.digest_of("a", "secret"), other.digest_of("a", "secret"));
}

}  // namespace
