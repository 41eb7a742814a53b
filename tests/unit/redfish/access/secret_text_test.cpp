#include "redfish/access/secret_text.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

namespace {

using dp_redfish::secret_text;

TEST(secret_text, has_its_bytes_also_zero_ones) {
    const std::string bytes("pass\0word", 9);
    const secret_text text{std::string_view(bytes)};
    EXPECT_EQ(text.view(), bytes);
    EXPECT_EQ(text.c_str()[9], '\0');
}

TEST(secret_text, is_empty_after_it_was_moved) {
    secret_text from(std::string_view("short"));
    const secret_text to(std::move(from));
    EXPECT_EQ(to.view(), "short");
    EXPECT_EQ(from.view(), "");  // NOLINT(bugprone-use-after-move)
    EXPECT_STREQ(from.c_str(), "");
}

TEST(secret_text, none_is_empty) {
    EXPECT_EQ(secret_text().view(), "");
    EXPECT_EQ(secret_text(std::string_view()).view(), "");
}

TEST(wipe, overwrites_the_bytes) {
    std::string text(100, 'x');
    const char* const bytes = text.data();
    dp_redfish::wipe(text);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(bytes, text.data());
    EXPECT_EQ(std::count(bytes, bytes + 100, 'x'), 0);
}

}  // namespace
