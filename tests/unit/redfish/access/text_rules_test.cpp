#include "redfish/access/text_rules.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using dp_redfish::is_plain_text;
using dp_redfish::is_user_name;
using dp_redfish::quoted_for_log;

TEST(is_plain_text, is_utf8_without_control_characters) {
    EXPECT_TRUE(is_plain_text(""));
    EXPECT_TRUE(is_plain_text("pass word"));
    EXPECT_TRUE(is_plain_text("p\xC3\xA4ss \xF0\x9F\x98\x80"));
    EXPECT_FALSE(is_plain_text("a\nb"));
    EXPECT_FALSE(is_plain_text(std::string("a\0b", 3)));
    EXPECT_FALSE(is_plain_text("\x7F"));
    EXPECT_FALSE(is_plain_text("\xC2\x85"));
    EXPECT_FALSE(is_plain_text("\xC3"));
    EXPECT_FALSE(is_plain_text("\xFF"));
}

TEST(is_user_name, has_characters_that_a_url_needs_not_escape) {
    EXPECT_TRUE(is_user_name("admin"));
    EXPECT_TRUE(is_user_name("_a.b-c@d9"));
    EXPECT_TRUE(is_user_name(std::string(32, 'a')));
    EXPECT_FALSE(is_user_name(std::string(33, 'a')));
    for (const char* const name :
         {"", ".", "..", "-a", "@a", "a b", "a/b", "a:b", "a%2f", "\xC3\xA4"}) {
        EXPECT_FALSE(is_user_name(name)) << name;
    }
}

TEST(quoted_for_log, escapes_what_could_forge_a_line) {
    EXPECT_EQ(quoted_for_log("admin"), "\"admin\"");
    EXPECT_EQ(quoted_for_log("a\"b\\c"), R"("a\"b\\c")");
    EXPECT_EQ(quoted_for_log("a\nb\x1B\xFF"), R"("a\x0ab\x1b\xff")");
    EXPECT_EQ(quoted_for_log(std::string("\0", 1)), R"("\x00")");
}

TEST(quoted_for_log, shows_the_beginning_of_what_is_long) {
    EXPECT_EQ(quoted_for_log(std::string(64, 'a')), '"' + std::string(64, 'a') + '"');
    EXPECT_EQ(quoted_for_log(std::string(65, 'a')), '"' + std::string(64, 'a') + "...\"");
}

}  // namespace
