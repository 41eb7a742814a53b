#include "redfish/http/request_reader.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/rounds.hpp"
#include "tests/unit/redfish/http/raw_client.hpp"

namespace {

using dp_redfish::http_limits;
using dp_redfish::request_reader;
using reader_states = request_reader::states;

const std::string post_in_chunks =
    "POST /a%20b?c=d HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
    "Transfer-Encoding: chunked\r\n\r\n5;ext=1\r\nhello\r\n6\r\n world\r\n0\r\nTrailer: x\r\n\r\n";

/// The status with which the text is refused; 0 when it is not.
unsigned status_of(const std::string& text, const http_limits& limits = {}) {
    request_reader reader(limits);
    return reader.append(text) == reader_states::refused ? reader.why().status : 0;
}

/// A request with these lines after the first.
unsigned status_of_lines(const std::string& lines) {
    return status_of("POST / HTTP/1.1\r\n" + lines + "\r\n");
}

TEST(request_reader, reads_a_request_without_a_body) {
    request_reader reader({});
    EXPECT_FALSE(reader.has_begun());
    ASSERT_EQ(reader.append(test::get_request("/redfish/v1?$top=1", "accept: a\r\nACCEPT: b\r\n")),
              reader_states::complete);
    EXPECT_TRUE(reader.keeps_alive());
    EXPECT_FALSE(reader.is_http_1_0());
    EXPECT_EQ(reader.authority(), "localhost");
    const auto request = reader.take();
    EXPECT_EQ(request->method, "GET");
    EXPECT_EQ(request->path, "/redfish/v1");
    ASSERT_EQ(request->query.size(), 1U);
    EXPECT_EQ(request->query[0].second, "1");
    EXPECT_EQ(request->header("Accept"), "a, b");
    EXPECT_EQ(request->body, "");
}

TEST(request_reader, reads_a_body_with_a_length) {
    request_reader reader({});
    ASSERT_EQ(reader.append(test::body_request("PATCH", "/", "{\"a\":1}")),
              reader_states::complete);
    EXPECT_EQ(reader.take()->body, "{\"a\":1}");
    EXPECT_EQ(reader.next(), reader_states::header);
    EXPECT_FALSE(reader.has_begun());
}

TEST(request_reader, joins_the_chunks_of_a_body_and_ignores_its_trailer) {
    request_reader reader({});
    ASSERT_EQ(reader.append(post_in_chunks), reader_states::complete);
    const auto request = reader.take();
    EXPECT_EQ(request->body, "hello world");
    EXPECT_EQ(request->path, "/a b");
    EXPECT_EQ(request->headers.count("Trailer"), 0U);
}

TEST(request_reader, reads_each_prefix_as_incomplete_and_the_rest_later) {
    for (const std::string& text :
         {test::get_request("/a"), test::body_request("POST", "/a", "0123456789"),
          post_in_chunks}) {
        for (std::size_t length = 0; length < text.size(); ++length) {
            request_reader reader({});
            const reader_states state = reader.append(text.substr(0, length));
            EXPECT_TRUE(state == reader_states::header || state == reader_states::body)
                << text.substr(0, length);
            EXPECT_EQ(reader.has_begun(), length > 0);
            EXPECT_EQ(reader.append(text.substr(length)), reader_states::complete) << length;
        }
    }
}

TEST(request_reader, reads_byte_by_byte) {
    request_reader reader({});
    reader_states state = reader_states::header;
    for (const char c : post_in_chunks) {
        ASSERT_NE(state, reader_states::complete);
        state = reader.append(std::string(1, c));
    }
    EXPECT_EQ(state, reader_states::complete);
    EXPECT_EQ(reader.take()->body, "hello world");
}

TEST(request_reader, keeps_later_requests_until_they_are_asked_for) {
    request_reader reader({});
    ASSERT_EQ(reader.append(post_in_chunks + test::body_request("PUT", "/2", "two") + "\r\n" +
                            test::get_request("/3") + "GET /4"),
              reader_states::complete);
    EXPECT_EQ(reader.take()->body, "hello world");
    ASSERT_EQ(reader.next(), reader_states::complete);
    EXPECT_EQ(reader.take()->body, "two");
    ASSERT_EQ(reader.next(), reader_states::complete);
    EXPECT_EQ(reader.take()->path, "/3");
    EXPECT_EQ(reader.next(), reader_states::header);
    EXPECT_TRUE(reader.has_begun());
}

TEST(request_reader, reports_who_waits_to_send_the_body) {
    request_reader reader({});
    EXPECT_EQ(reader.append("PATCH / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\n"
                            "Expect: 100-Continue\r\n\r\n"),
              reader_states::body);
    EXPECT_TRUE(reader.waits_to_continue());
    EXPECT_EQ(reader.head().method, "PATCH");
    EXPECT_EQ(reader.append("{}"), reader_states::complete);
    EXPECT_EQ(status_of_lines("Host: localhost\r\nContent-Length: 2\r\nExpect: 200-ok\r\n"), 417U);
}

TEST(request_reader, knows_when_the_connection_ends) {
    request_reader closing({});
    closing.append(test::get_request("/", "Connection: close\r\n"));
    EXPECT_FALSE(closing.keeps_alive());
    request_reader old({});
    ASSERT_EQ(old.append("GET / HTTP/1.0\r\nHost: localhost\r\n\r\n"), reader_states::complete);
    EXPECT_FALSE(old.keeps_alive());
    EXPECT_TRUE(old.is_http_1_0());
    request_reader old_kept({});
    old_kept.append("GET / HTTP/1.0\r\nHost: localhost\r\nConnection: keep-alive\r\n\r\n");
    EXPECT_TRUE(old_kept.keeps_alive());
}

TEST(request_reader, takes_the_host_of_the_target) {
    request_reader reader({});
    ASSERT_EQ(reader.append("GET http://other:81/a HTTP/1.1\r\nHost: localhost\r\n\r\n"),
              reader_states::complete);
    EXPECT_EQ(reader.authority(), "other:81");
}

TEST(request_reader, refuses_what_is_not_http) {
    for (const char* const text :
         {"\x16\x03\x01\x02\x01\x01\xfc", "GET\r\n\r\n", "GET /\r\n\r\n", " GET / HTTP/1.1\r\n\r\n",
          "GET / HTTP/1.x\r\n\r\n", "GET / HTTP/1.1 \r\nHost: localhost\r\n\r\n",
          "GET / HTTP/1.1\nHost: localhost\n\n", "GET  / HTTP/1.1\r\nHost: localhost\r\n\r\n",
          "GET / b HTTP/1.1\r\nHost: localhost\r\n\r\n", "\r\n\r\n\r\n\r\n\r\n\r\n\r\n",
          "GET / HTTP/1.1\r\nHost : localhost\r\n\r\n", "GET / HTTP/1.1\r\n: localhost\r\n\r\n",
          "GET / HTTP/1.1\r\nHost\r\n\r\n", "GET / HTTP/1.1\r\nHost: a\x01\r\n\r\n",
          "GET \x01 HTTP/1.1\r\nHost: localhost\r\n\r\n", "G\x80T / HTTP/1.1\r\nHost: b\r\n\r\n",
          "GET /%2e%2e HTTP/1.1\r\nHost: localhost\r\n\r\n", "GET * HTTP/1.1\r\nHost: a\r\n\r\n"}) {
        EXPECT_EQ(status_of(text), 400U) << text;
    }
    EXPECT_EQ(status_of("GET / HTTP/2.0\r\nHost: localhost\r\n\r\n"), 505U);
    EXPECT_EQ(status_of("get / HTTP/1.1\r\nHost: localhost\r\n\r\n"), 501U);
}

TEST(request_reader, refuses_requests_that_others_would_read_differently) {
    const std::string host = "Host: localhost\r\n";
    for (const std::string& lines :
         {std::string(),
          host + host,
          host + "HOST: other\r\n",
          host + "Authorization: Basic a\r\nAuthorization: Basic b\r\n",
          host + "X-Auth-Token: a\r\nx-auth-token: b\r\n",
          host + "Content-Type: application/json\r\nContent-Type: text/plain\r\n",
          host + "Content-Length: 1\r\nContent-Length: 1\r\n",
          host + "Content-Length: 1\r\nContent-Length: 2\r\n",
          host + "Content-Length: 1, 1\r\n",
          host + "Content-Length: +1\r\n",
          host + "Content-Length: -1\r\n",
          host + "Content-Length: 1 1\r\n",
          host + "Content-Length: 0x1\r\n",
          host + "Content-Length: 99999999999999999999\r\n",
          host + "Content-Length:\r\n",
          host + "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n",
          host + "Transfer-Encoding: chunked\r\nContent-Length: 3\r\n",
          host + "Transfer-Encoding: chunked, identity\r\n",
          host + "Transfer-Encoding: chunked, chunked\r\n",
          host + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n",
          host + "Transfer-Encoding: xchunked\r\n"}) {
        EXPECT_EQ(status_of_lines(lines), 400U) << lines;
    }
    EXPECT_EQ(status_of_lines(host + "Transfer-Encoding: gzip\r\n"), 501U);
    EXPECT_EQ(status_of_lines(host + "Content-Encoding: gzip\r\nContent-Length: 1\r\n"), 415U);
    EXPECT_EQ(status_of("POST / HTTP/1.0\r\n" + host + "Transfer-Encoding: chunked\r\n\r\n"), 400U);
}

TEST(request_reader, refuses_malformed_chunks) {
    const std::string head =
        "POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (const char* const body : {"x\r\n", "-1\r\n", "5\r\nhelloXX5\r\n", "5 5\r\nhello\r\n",
                                   "5\r\nhello\r\n\r\n", "\r\n"}) {
        EXPECT_EQ(status_of(head + body + "\r\n\r\n"), 400U) << body;
    }
    EXPECT_EQ(status_of(head + "fffffffffffffffff\r\n"), 400U);
    EXPECT_EQ(status_of(head + "ffffffffffffffff\r\n"), 413U);
}

TEST(request_reader, limits_the_target) {
    http_limits limits;
    limits.target = 100;
    EXPECT_EQ(status_of(test::get_request("/" + std::string(99, 'a')), limits), 0U);
    EXPECT_EQ(status_of(test::get_request("/" + std::string(100, 'a')), limits), 414U);
    EXPECT_EQ(status_of("GET /" + std::string(100, 'a'), limits), 414U);
}

TEST(request_reader, limits_the_header) {
    http_limits limits;
    limits.header = 4096;
    EXPECT_EQ(status_of(test::get_request("/", "A: " + std::string(3900, 'a') + "\r\n"), limits),
              0U);
    EXPECT_EQ(status_of(test::get_request("/", "A: " + std::string(4096, 'a') + "\r\n"), limits),
              431U);
    EXPECT_EQ(status_of("GET / HTTP/1.1\r\nA: " + std::string(4096, 'a'), limits), 431U);
    EXPECT_EQ(status_of(std::string(5000, 'G'), limits), 431U);
    std::string flood = "GET / HTTP/1.1\r\n";
    for (int i = 0; i < 1000; ++i) {
        flood += "A" + std::to_string(i) + ": b\r\n";
    }
    EXPECT_EQ(status_of(flood, limits), 431U);
}

TEST(request_reader, limits_the_number_of_fields) {
    http_limits limits;
    limits.fields = 10;
    std::string lines;
    for (int i = 0; i < 9; ++i) {
        lines += "A: b\r\n";
    }
    EXPECT_EQ(status_of(test::get_request("/", lines), limits), 0U);
    EXPECT_EQ(status_of(test::get_request("/", lines + "A: b\r\n"), limits), 431U);
}

TEST(request_reader, limits_the_body) {
    http_limits limits;
    limits.body = 100;
    EXPECT_EQ(status_of(test::body_request("POST", "/", std::string(100, 'a')), limits), 0U);
    EXPECT_EQ(status_of(test::body_request("POST", "/", std::string(101, 'a')), limits), 413U);
    const std::string head =
        "POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
    std::string chunks;
    for (int i = 0; i < 10; ++i) {
        chunks += "a\r\n0123456789\r\n";
    }
    EXPECT_EQ(status_of(head + chunks, limits), 0U);
    EXPECT_EQ(status_of(head + chunks + "1\r\na\r\n", limits), 413U);
}

TEST(request_reader, limits_what_is_in_the_body_beside_the_data) {
    const std::string head =
        "POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (const std::string& body :
         {"1;" + std::string(100'000, 'a'), "0\r\nA: " + std::string(100'000, 'a')}) {
        request_reader reader({});
        reader_states state = reader.append(head);
        for (std::size_t i = 0; i < body.size() && state == reader_states::body; i += 1000) {
            state = reader.append(body.substr(i, 1000));
        }
        EXPECT_EQ(state, reader_states::refused);
    }
}

TEST(request_reader, reads_a_large_body_that_arrives_at_once) {
    request_reader reader({});
    const std::string body(1'000'000, 'a');
    ASSERT_EQ(reader.append(test::body_request("POST", "/", body)), reader_states::complete);
    EXPECT_EQ(reader.take()->body, body);
}

TEST(request_reader, survives_changed_requests) {
    std::minstd_rand random(1);
    const std::vector<std::string> texts = {test::get_request("/a?b=c"),
                                            test::body_request("POST", "/a", "0123456789"),
                                            post_in_chunks};
    const std::string special = "\r\n:; ,%/\t0fF";
    for (int round = 0; round < test::rounds(20'000); ++round) {
        std::string text = texts[random() % texts.size()] + texts[random() % texts.size()];
        for (auto changes = 1 + random() % 4; changes > 0; --changes) {
            const std::size_t place = random() % text.size();
            switch (random() % 4) {
                case 0:
                    text[place] = static_cast<char>(random());
                    break;
                case 1:
                    text[place] = special[random() % special.size()];
                    break;
                case 2:
                    text.erase(place, 1 + random() % 8);
                    break;
                default:
                    text.insert(place, text.substr(random() % text.size(), random() % 20));
            }
            if (text.empty()) {
                break;
            }
        }
        request_reader whole({});
        request_reader pieces({});
        whole.append(text);
        for (std::size_t i = 0; i < text.size(); i += 7) {
            pieces.append(text.substr(i, 7));
        }
        // What is not complete may be refused earlier or later.
        ASSERT_EQ(whole.state() == reader_states::complete,
                  pieces.state() == reader_states::complete)
            << text;
        if (whole.state() == reader_states::complete) {
            ASSERT_EQ(whole.take()->body, pieces.take()->body) << text;
            ASSERT_EQ(whole.next() == reader_states::complete,
                      pieces.next() == reader_states::complete)
                << text;
        } else if (whole.state() == reader_states::refused) {
            ASSERT_GE(whole.why().status, 400U);
        }
    }
}

}  // namespace
