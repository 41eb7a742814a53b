#include "redfish/protocol/media_type.hpp"

#include <gtest/gtest.h>

namespace {

using dp_redfish::media_type;

TEST(media_type, has_a_name_in_lower_case_and_parameters) {
    const media_type type(" Application/JSON ;Charset = \"utf-8\"; q=0.5 ;x");
    EXPECT_EQ(type.name, "application/json");
    EXPECT_EQ(type.parameter("charset"), "utf-8");
    EXPECT_EQ(type.parameter("q"), "0.5");
    EXPECT_EQ(type.parameter("x"), "");
    EXPECT_EQ(type.parameter("none"), "");
}

TEST(media_type, of_nothing_is_empty) {
    EXPECT_EQ(media_type("").name, "");
    EXPECT_EQ(media_type(";;=;").name, "");
    EXPECT_EQ(media_type("a;b=\"").parameter("b"), "\"");
}

}  // namespace
