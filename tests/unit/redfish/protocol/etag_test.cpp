#include "redfish/protocol/etag.hpp"

#include <gtest/gtest.h>

namespace {

using dp_redfish::etag_of_text;
using dp_redfish::lists_etag;

TEST(etag_of_text, differs_between_texts) {
    EXPECT_NE(etag_of_text("a"), etag_of_text("b"));
    EXPECT_EQ(etag_of_text("a"), etag_of_text("a"));
    EXPECT_EQ(etag_of_text("a").front(), '"');
    EXPECT_EQ(etag_of_text("a").back(), '"');
}

TEST(lists_etag, finds_an_etag_in_a_list) {
    EXPECT_TRUE(lists_etag("\"a\"", "\"a\""));
    EXPECT_TRUE(lists_etag("\"b\" , \"a\"", "\"a\""));
    EXPECT_FALSE(lists_etag("\"b\", \"c\"", "\"a\""));
    EXPECT_FALSE(lists_etag("a", "\"a\""));
    EXPECT_FALSE(lists_etag("", "\"a\""));
    EXPECT_FALSE(lists_etag(",", "\"a\""));
}

TEST(lists_etag, accepts_weak_etags_and_the_asterisk) {
    EXPECT_TRUE(lists_etag("W/\"a\"", "\"a\""));
    EXPECT_TRUE(lists_etag("*", "\"a\""));
    EXPECT_FALSE(lists_etag("W/\"b\"", "\"a\""));
}

}  // namespace
