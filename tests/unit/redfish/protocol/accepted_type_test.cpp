#include "redfish/protocol/accepted_type.hpp"

#include <gtest/gtest.h>

namespace {

bool accepts(std::string_view field) {
    return dp_redfish::accepted_type(field, "application/json").is_accepted;
}

TEST(accepted_type, takes_every_range_that_has_the_type) {
    for (const char* const field :
         {"", "application/json", "application/*", "*/*", "Application/JSON",
          "text/html, */*;q=0.1", " application/json ; charset=utf-8",
          "application/xml,application/json"}) {
        EXPECT_TRUE(accepts(field)) << field;
    }
}

TEST(accepted_type, takes_no_other_range) {
    for (const char* const field : {"application/xml", "text/*", "json", ",", "application/jso",
                                    "application/jsonx", "application*/*", "*"}) {
        EXPECT_FALSE(accepts(field)) << field;
    }
}

TEST(accepted_type, a_weight_of_zero_excludes_the_type) {
    EXPECT_FALSE(accepts("application/json;q=0, */*"));
    EXPECT_FALSE(accepts("*/*;q=0.000"));
    EXPECT_TRUE(accepts("*/*;q=0, application/json"));
    EXPECT_TRUE(accepts("application/json;q=0.001"));
}

TEST(accepted_type, knows_whether_the_character_set_is_wanted) {
    const auto wants = [](std::string_view field) {
        return dp_redfish::accepted_type(field, "application/xml;charset=utf-8").wants_utf8;
    };
    EXPECT_TRUE(wants("application/xml;charset=utf-8"));
    EXPECT_TRUE(wants("application/xml; q=1; charset=\"UTF-8\""));
    EXPECT_FALSE(wants("application/xml"));
    EXPECT_FALSE(wants("application/json;charset=utf-8, application/xml"));
}

}  // namespace
