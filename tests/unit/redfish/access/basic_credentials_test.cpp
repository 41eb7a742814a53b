#include "redfish/access/basic_credentials.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using dp_redfish::read_basic_credentials;

TEST(read_basic_credentials, the_examples_of_rfc_7617) {
    const auto plain = read_basic_credentials("Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->user, "Aladdin");
    EXPECT_EQ(plain->password.view(), "open sesame");
    const auto utf8 = read_basic_credentials("Basic dGVzdDoxMjPCow==");
    ASSERT_TRUE(utf8);
    EXPECT_EQ(utf8->user, "test");
    EXPECT_EQ(utf8->password.view(), "123\xC2\xA3");
}

TEST(read_basic_credentials, the_case_of_the_scheme_and_spaces_do_not_matter) {
    EXPECT_TRUE(read_basic_credentials("bAsIc   YTpi  "));
}

TEST(read_basic_credentials, the_password_may_have_colons_or_be_empty) {
    const auto colons = read_basic_credentials("Basic YTpiOmM=");  // a:b:c
    ASSERT_TRUE(colons);
    EXPECT_EQ(colons->user, "a");
    EXPECT_EQ(colons->password.view(), "b:c");
    const auto empty = read_basic_credentials("Basic YTo=");  // a:
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->password.view(), "");
}

TEST(read_basic_credentials, what_is_malformed_is_refused) {
    for (const char* const field : {
             "",
             "Basic",
             "Basic ",
             "Basic    ",
             "BasicYTpi",
             "Bearer YTpi",
             "Digest YTpi",
             "Basic YTpi, Basic YTpi",
             "Basic YTp",
             "Basic YTpi=",
             "Basic Y=pi",
             "Basic ====",
             "Basic YT pi",
             "Basic YTp\x01",
             "Basic YTp\xFF",
             "Basic YTpiCg-_",
             "Basic YWI=",      // no colon
             "Basic YTq=",      // bits after the last byte
             "Basic YToKYg==",  // a control character
             "Basic YToAYg==",  // a zero byte
             "Basic YTr/",      // not UTF-8
         }) {
        EXPECT_FALSE(read_basic_credentials(field)) << field;
    }
}

TEST(read_basic_credentials, what_is_huge_is_refused) {
    // "a:b" and many times "xxx".
    const auto field_of = [](std::size_t size) {
        std::string field = "Basic YTpi";
        while (field.size() < size) {
            field += "eHh4";
        }
        return field;
    };
    EXPECT_TRUE(read_basic_credentials(field_of(2040)));
    EXPECT_FALSE(read_basic_credentials(field_of(2060)));
    EXPECT_FALSE(read_basic_credentials("Basic " + std::string(1 << 20, ' ')));
}

TEST(read_basic_credentials, random_bytes_do_no_harm) {
    std::mt19937 random(7);
    for (int round = 0; round < 20'000; ++round) {
        std::string field = "Basic ";
        for (auto left = random() % 40; left != 0; --left) {
            field += static_cast<char>(random());
        }
        const auto read = read_basic_credentials(field);
        EXPECT_TRUE(!read || read->user.find(':') == std::string::npos);
    }
}

}  // namespace
