#include "redfish/http/response_head.hpp"

#include <gmock/gmock.h>

#include <string>

namespace {

using dp_redfish::http_response;
using dp_redfish::response_framing;
using dp_redfish::response_head;
using testing::HasSubstr;
using testing::Not;

TEST(response_head, is_a_status_line_and_fields) {
    http_response response;
    response.status = 404;
    response.headers["Allow"] = "GET, HEAD";
    response_framing framing;
    framing.length = 12;
    framing.now = 784111777;
    EXPECT_EQ(response_head(response, framing),
              "HTTP/1.1 404 Not Found\r\n"
              "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n"
              "Allow: GET, HEAD\r\n"
              "Cache-Control: no-store\r\n"
              "Content-Security-Policy: default-src 'none'; frame-ancestors 'none'\r\n"
              "Referrer-Policy: no-referrer\r\n"
              "X-Content-Type-Options: nosniff\r\n"
              "X-Frame-Options: DENY\r\n"
              "Content-Length: 12\r\n"
              "Connection: keep-alive\r\n\r\n");
}

TEST(response_head, frames_the_body) {
    response_framing framing;
    framing.is_chunked = true;
    framing.is_gzip = true;
    framing.varies = true;
    framing.keeps_alive = false;
    const std::string head = response_head({}, framing);
    EXPECT_THAT(head, HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nContent-Encoding: gzip\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nVary: Accept-Encoding\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nConnection: close\r\n"));
    EXPECT_THAT(head, Not(HasSubstr("Content-Length")));
}

TEST(response_head, does_not_let_a_response_frame_itself) {
    http_response response;
    response.headers["content-length"] = "4711";
    response.headers["Connection"] = "upgrade";
    response.headers["transfer-encoding"] = "gzip";
    response_framing framing;
    framing.length = 3;
    const std::string head = response_head(response, framing);
    EXPECT_THAT(head, HasSubstr("\r\nContent-Length: 3\r\n"));
    EXPECT_THAT(head, Not(HasSubstr("upgrade")));
    EXPECT_THAT(head, Not(HasSubstr("gzip")));
    EXPECT_THAT(head, Not(HasSubstr("4711")));
}

TEST(response_head, joins_what_it_varies_by) {
    http_response response;
    response.headers["Vary"] = "Cookie";
    response_framing framing;
    framing.varies = true;
    EXPECT_THAT(response_head(response, framing),
                HasSubstr("\r\nVary: Cookie, Accept-Encoding\r\n"));
    framing.varies = false;
    EXPECT_THAT(response_head(response, framing), HasSubstr("\r\nVary: Cookie\r\n"));
}

TEST(response_head, cannot_be_split_by_a_value) {
    http_response response;
    response.headers["Location"] = "/a\r\nSet-Cookie: b\n\x01";
    EXPECT_THAT(response_head(response, {}), HasSubstr("\r\nLocation: /a  Set-Cookie: b  \r\n"));
}

TEST(response_head, lets_clients_keep_what_has_an_etag_if_they_ask) {
    http_response response;
    response.headers["ETag"] = "\"1\"";
    EXPECT_THAT(response_head(response, {}), HasSubstr("\r\nCache-Control: no-cache\r\n"));
    response.headers["Cache-Control"] = "max-age=60";
    EXPECT_THAT(response_head(response, {}), HasSubstr("\r\nCache-Control: max-age=60\r\n"));
}

TEST(response_head, asks_for_tls_in_the_future_when_it_is_used) {
    response_framing framing;
    EXPECT_THAT(response_head({}, framing), Not(HasSubstr("Strict-Transport-Security")));
    framing.is_secure = true;
    EXPECT_THAT(response_head({}, framing), HasSubstr("\r\nStrict-Transport-Security: max-age="));
}

TEST(response_head, lets_a_page_have_its_own_policy) {
    http_response response;
    response.headers["Content-Security-Policy"] = "default-src 'self'";
    const std::string head = response_head(response, {});
    EXPECT_THAT(head, HasSubstr("\r\nContent-Security-Policy: default-src 'self'\r\n"));
    EXPECT_THAT(head, Not(HasSubstr("'none'")));
}

}  // namespace
