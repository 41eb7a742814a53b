#include "service_api/fnv1a_64.hpp"

#include <gtest/gtest.h>

namespace {

std::string hash_of(std::string_view text) {
    dp_service::fnv1a_64 hash;
    hash.add(text);
    return hash.str();
}

TEST(fnv1a_64_test, gives_the_published_values) {
    EXPECT_EQ(hash_of(""), "cbf29ce484222325");
    EXPECT_EQ(hash_of("a"), "af63dc4c8601ec8c");
    EXPECT_EQ(hash_of("foobar"), "85944171f73967e8");
}

TEST(fnv1a_64_test, a_text_in_parts_has_the_hash_of_the_whole) {
    dp_service::fnv1a_64 hash;
    hash.add("foo");
    hash.add("");
    hash.add("bar");
    EXPECT_EQ(hash.str(), hash_of("foobar"));
}

}  // namespace
