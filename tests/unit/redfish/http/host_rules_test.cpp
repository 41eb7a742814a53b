#include "redfish/http/host_rules.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using dp_redfish::host_rules;
using dp_redfish::http_request;

unsigned status_of(const host_rules& rules, const std::string& authority,
                   const std::string& origin = "", bool is_secure = true) {
    http_request request;
    request.is_secure = is_secure;
    if (!origin.empty()) {
        request.headers["Origin"] = origin;
    }
    const auto problem = rules.check(request, authority, "192.0.2.7");
    return problem ? problem->status : 0;
}

TEST(host_rules, allow_the_names_of_this_machine) {
    const host_rules rules({});
    for (const char* const host : {"localhost", "LocalHost:8443", "127.0.0.1", "127.0.0.1:1",
                                   "[::1]", "[::1]:443", "localhost.", "localhost:"}) {
        EXPECT_EQ(status_of(rules, host), 0U) << host;
    }
}

TEST(host_rules, allow_the_address_of_the_connection) {
    EXPECT_EQ(status_of(host_rules({}), "192.0.2.7:8443"), 0U);
    EXPECT_EQ(status_of(host_rules({}), "192.0.2.8"), 421U);
}

TEST(host_rules, allow_the_given_names_only) {
    const host_rules rules({"Board.example", "2001:db8::1", "[2001:DB8::2]"});
    EXPECT_EQ(status_of(rules, "board.EXAMPLE:443"), 0U);
    EXPECT_EQ(status_of(rules, "[2001:db8::1]"), 0U);
    EXPECT_EQ(status_of(rules, "[2001:db8::2]:443"), 0U);
    for (const char* const host : {"example", "other.board.example", "board.example.org",
                                   "localhost.example", "[::2]", "127.0.0.2"}) {
        EXPECT_EQ(status_of(rules, host), 421U) << host;
    }
}

TEST(host_rules, refuse_malformed_hosts) {
    const host_rules rules({});
    for (const char* const host :
         {"", ":443", "localhost:http", "localhost:65536", "localhost:-1", "localhost:4:4", "[::1",
          "::1", "[localhost]", "user@localhost", "localhost/", "localhost, localhost",
          "local host", "[::1]x", "[]"}) {
        EXPECT_EQ(status_of(rules, host), 400U) << host;
    }
}

TEST(host_rules, allow_the_own_origin_only) {
    const host_rules rules({});
    EXPECT_EQ(status_of(rules, "localhost:8443", "https://localhost:8443"), 0U);
    EXPECT_EQ(status_of(rules, "localhost", "https://localhost:443"), 0U);
    EXPECT_EQ(status_of(rules, "localhost:80", "http://localhost", false), 0U);
    for (const char* const origin :
         {"https://localhost", "http://localhost:8443", "https://127.0.0.1:8443", "null",
          "https://localhost:8443.evil.example", "https://evil.example", "https://",
          "localhost:8443"}) {
        EXPECT_EQ(status_of(rules, "localhost:8443", origin), 403U) << origin;
    }
}

}  // namespace
