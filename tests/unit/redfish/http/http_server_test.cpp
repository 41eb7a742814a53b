#include "redfish/http/http_server.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "redfish/protocol/standard_answers.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/rounds.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/unit/redfish/http/gunzip.hpp"
#include "tests/unit/redfish/http/raw_client.hpp"

namespace {

using dp_redfish::body_stream;
using dp_redfish::http_handler;
using dp_redfish::http_options;
using dp_redfish::http_request;
using dp_redfish::http_response;
using dp_redfish::http_server;
using dp_redfish::send_response;
using dp_redfish::tls_certificate;
using std::chrono::milliseconds;
using test::body_request;
using test::get_request;
using test::raw_client;
using testing::HasSubstr;
using request_pointer = std::shared_ptr<const http_request>;

http_response text_response(std::string text) {
    http_response response;
    response.headers["Content-Type"] = "text/plain";
    response.body = std::make_shared<const std::string>(std::move(text));
    return response;
}

/// Answers with the method, the path and the body, unless a test has its own function.
class test_handler : public http_handler {
  public:
    std::function<void(request_pointer, send_response)> own;
    std::atomic<int> handled = 0;

    void handle(request_pointer request, send_response respond) override {
        ++handled;
        if (own) {
            own(std::move(request), std::move(respond));
        } else {
            respond(text_response(request->method + " " + request->path + " " + request->body));
        }
    }
};

/// Keeps the requests until the test answers them.
class waiting_requests {
  public:
    void add(request_pointer request, send_response respond) {
        const std::lock_guard<std::mutex> guard(mutex_);
        waiting_.emplace_back(std::move(request), std::move(respond));
    }
    bool wait_for(std::size_t count) {
        return test::eventually([&] {
            const std::lock_guard<std::mutex> guard(mutex_);
            return waiting_.size() >= count;
        });
    }
    send_response take() {
        const std::lock_guard<std::mutex> guard(mutex_);
        auto respond = std::move(waiting_.front().second);
        waiting_.pop_front();
        return respond;
    }
    void drop() {
        const std::lock_guard<std::mutex> guard(mutex_);
        waiting_.clear();
    }

  private:
    std::mutex mutex_;
    std::deque<std::pair<request_pointer, send_response>> waiting_;
};

class http_server_test : public testing::Test {
  protected:
    /// Starts a server; returns its port.
    std::uint16_t start() {
        // Not every test's client closes.
        options.limits.end_time = milliseconds(200);
        options.log = [this](const std::string& line) {
            const std::lock_guard<std::mutex> guard(log_mutex);
            log += line + "\n";
        };
        server = std::make_unique<http_server>(options, handler);
        const auto started = server->start();
        EXPECT_TRUE(started) << started.reason();
        return server->port();
    }

    void keep_requests() {
        handler.own = [this](request_pointer request, send_response respond) {
            waiting.add(std::move(request), std::move(respond));
        };
    }

    static std::shared_ptr<const tls_certificate> made_certificate() {
        const std::string path = test::root() + "/server.pem";
        test::write_file(path, *tls_certificate::make_self_signed({"localhost", "127.0.0.1"},
                                                                  std::time(nullptr)));
        return *tls_certificate::load(path, path);
    }

    std::string logged() {
        const std::lock_guard<std::mutex> guard(log_mutex);
        return log;
    }

    // Destroyed after the server.
    std::mutex log_mutex;
    std::string log;
    waiting_requests waiting;
    test_handler handler;
    http_options options;
    std::unique_ptr<http_server> server;
};

TEST_F(http_server_test, answers_a_request) {
    raw_client client(start());
    const auto answer = client.ask(get_request("/a%20b?c=d"));
    EXPECT_EQ(answer.status, 200U);
    EXPECT_EQ(answer.body, "GET /a b ");
    EXPECT_EQ(answer.headers.at("Content-Type"), "text/plain");
    EXPECT_EQ(answer.headers.at("Cache-Control"), "no-store");
    EXPECT_EQ(answer.headers.at("X-Content-Type-Options"), "nosniff");
    EXPECT_EQ(answer.headers.at("Connection"), "keep-alive");
    EXPECT_EQ(answer.headers.at("Date").size(), 29U);
    EXPECT_EQ(answer.headers.count("Strict-Transport-Security"), 0U);
}

TEST_F(http_server_test, shows_the_handler_who_asks) {
    request_pointer seen;
    handler.own = [&](request_pointer request, const send_response& respond) {
        seen = std::move(request);
        respond({});
    };
    raw_client client(start());
    EXPECT_EQ(client.ask(get_request("/")).body, "");
    EXPECT_EQ(seen->peer, "127.0.0.1");
    EXPECT_FALSE(seen->is_secure);
}

TEST_F(http_server_test, keeps_the_connection_for_many_requests) {
    raw_client client(start());
    for (int i = 0; i < 100; ++i) {
        const std::string text = std::to_string(i);
        ASSERT_EQ(client.ask(body_request("PATCH", "/a", text)).body, "PATCH /a " + text);
    }
}

TEST_F(http_server_test, answers_pipelined_requests_in_their_order) {
    handler.own = [](const request_pointer& request, const send_response& respond) {
        // The earlier ones take longer.
        std::thread([request, respond] {
            std::this_thread::sleep_for(milliseconds(request->path == "/0" ? 30 : 0));
            respond(text_response(request->path));
        }).detach();
    };
    raw_client client(start());
    std::string all;
    for (int i = 0; i < 20; ++i) {
        all += get_request("/" + std::to_string(i));
    }
    client.send(all);
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(client.receive().body, "/" + std::to_string(i));
    }
}

TEST_F(http_server_test, closes_when_the_client_asks_for_it) {
    raw_client client(start());
    const auto answer = client.ask(get_request("/", "Connection: close\r\n"));
    EXPECT_EQ(answer.status, 200U);
    EXPECT_EQ(answer.headers.at("Connection"), "close");
    EXPECT_TRUE(client.is_closed());
}

TEST_F(http_server_test, answers_a_client_that_has_ended_its_side) {
    raw_client client(start());
    client.send(get_request("/a") + get_request("/b"));
    client.end_sending();
    EXPECT_EQ(client.receive().body, "GET /a ");
    EXPECT_EQ(client.receive().body, "GET /b ");
    EXPECT_TRUE(client.is_closed());
}

TEST_F(http_server_test, joins_chunks) {
    raw_client client(start());
    EXPECT_EQ(client
                  .ask("PUT /a HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n"
                       "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n")
                  .body,
              "PUT /a abcde");
}

TEST_F(http_server_test, asks_for_the_body_when_the_client_waits) {
    raw_client client(start());
    client.send(
        "PUT /a HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n"
        "Expect: 100-continue\r\n\r\n");
    EXPECT_EQ(client.receive().status, 100U);
    EXPECT_EQ(handler.handled, 0);
    EXPECT_EQ(client.ask("abc").body, "PUT /a abc");
}

TEST_F(http_server_test, refuses_a_body_before_the_client_sends_it) {
    options.limits.body = 10;
    raw_client client(start());
    const auto answer = client.ask(
        "PUT /a HTTP/1.1\r\nHost: localhost\r\nContent-Length: 11\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_EQ(answer.status, 413U);
    EXPECT_TRUE(client.is_closed());
}

TEST_F(http_server_test, sends_no_body_to_head) {
    raw_client client(start());
    client.send("HEAD /a HTTP/1.1\r\nHost: localhost\r\nAccept-Encoding: gzip\r\n\r\n" +
                get_request("/b"));
    const auto head = client.receive(true);
    EXPECT_EQ(head.status, 200U);
    EXPECT_EQ(head.headers.at("Content-Length"), "8");
    EXPECT_EQ(client.receive().body, "GET /b ");
}

TEST_F(http_server_test, sends_no_body_with_a_status_that_has_none) {
    handler.own = [](const request_pointer& request, const send_response& respond) {
        auto response = text_response("none");
        response.status = request->path == "/204" ? 204 : 304;
        respond(response);
    };
    raw_client client(start());
    for (const unsigned status : {204U, 304U}) {
        const auto answer = client.ask(get_request("/" + std::to_string(status)));
        EXPECT_EQ(answer.status, status);
        EXPECT_EQ(answer.headers.count("Content-Length"), 0U);
    }
}

TEST_F(http_server_test, compresses_what_is_large_for_clients_that_take_it) {
    std::string text;
    for (int i = 0; text.size() < 1'000'000; ++i) {
        text += "line " + std::to_string(i) + "\n";
    }
    const auto kept = std::make_shared<const std::string>(text);
    handler.own = [&](const request_pointer& request, const send_response& respond) {
        auto response = text_response("small");
        if (request->path != "/small") {
            response.body = kept;
        }
        if (request->path == "/picture") {
            response.headers["Content-Type"] = "image/png";
        }
        respond(response);
    };
    raw_client client(start());
    const std::string accept = "Accept-Encoding: gzip, deflate\r\n";
    for (int i = 0; i < 2; ++i) {
        const auto answer = client.ask(get_request("/large", accept));
        EXPECT_EQ(answer.headers.at("Content-Encoding"), "gzip");
        EXPECT_EQ(answer.headers.at("Vary"), "Accept-Encoding");
        EXPECT_LT(answer.body.size(), text.size() / 2);
        EXPECT_EQ(test::gunzip(answer.body), text);
    }
    const auto plain = client.ask(get_request("/large"));
    EXPECT_EQ(plain.headers.count("Content-Encoding"), 0U);
    EXPECT_EQ(plain.headers.at("Vary"), "Accept-Encoding");
    EXPECT_EQ(plain.body, text);
    EXPECT_EQ(client.ask(get_request("/small", accept)).body, "small");
    EXPECT_EQ(client.ask(get_request("/picture", accept)).body, text);
    client.send("HEAD /large HTTP/1.1\r\nHost: localhost\r\n" + accept + "\r\n");
    EXPECT_EQ(client.receive(true).headers.at("Content-Length"), std::to_string(text.size()));
}

TEST_F(http_server_test, answers_malformed_requests_with_json_and_closes) {
    options.error_text = dp_redfish::refusal_text;
    const auto port = start();
    for (const char* const text :
         {"nonsense\r\n\r\n", "GET / HTTP/1.1\r\n\r\n",
          "GET /../a HTTP/1.1\r\nHost: localhost\r\n\r\n",
          "GET / HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n",
          "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\nTransfer-Encoding: "
          "chunked\r\n\r\n0\r\n\r\n"}) {
        raw_client client(port);
        const auto answer = client.ask(text);
        EXPECT_EQ(answer.status, 400U) << text;
        EXPECT_EQ(answer.headers.at("Content-Type"), "application/json");
        EXPECT_EQ(answer.headers.at("Connection"), "close");
        EXPECT_THAT(answer.body, testing::StartsWith(R"({"error":{"code":"Base.)"));
        EXPECT_TRUE(client.is_closed());
    }
    EXPECT_EQ(handler.handled, 0);
}

TEST_F(http_server_test, lets_the_owner_write_the_text_of_its_errors) {
    options.error_text = [](unsigned status, const std::string& reason) {
        return std::to_string(status) + ": " + reason;
    };
    raw_client client(start());
    EXPECT_THAT(client.ask("nonsense\r\n\r\n").body, testing::StartsWith("400: The request is"));
}

TEST_F(http_server_test, answers_without_a_body_when_nobody_writes_the_text_of_its_errors) {
    const auto answer = raw_client(start()).ask("nonsense\r\n\r\n");
    EXPECT_EQ(answer.status, 400U);
    EXPECT_EQ(answer.body, "");
}

TEST_F(http_server_test, refuses_foreign_hosts_and_origins) {
    options.host_names = {"board.example"};
    const auto port = start();
    const auto status_for = [&](const std::string& lines) {
        return raw_client(port).ask("GET / HTTP/1.1\r\n" + lines + "\r\n").status;
    };
    EXPECT_EQ(status_for("Host: board.example\r\n"), 200U);
    EXPECT_EQ(status_for("Host: evil.example\r\n"), 421U);
    EXPECT_EQ(status_for("Host: localhost\r\nOrigin: https://evil.example\r\n"), 403U);
    EXPECT_EQ(status_for("Host: localhost\r\nOrigin: http://localhost\r\n"), 200U);
    EXPECT_EQ(handler.handled, 2);
    // Its body is not read first.
    EXPECT_EQ(status_for("Host: evil.example\r\nContent-Length: 1000\r\n"), 421U);
}

TEST_F(http_server_test, delivers_the_refusal_while_the_client_still_sends) {
    options.limits.body = 1000;
    const auto port = start();
    for (int i = 0; i < 10; ++i) {
        raw_client client(port);
        client.send("PUT / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 300000\r\n\r\n");
        client.send(std::string(300'000, 'a'));
        ASSERT_EQ(client.receive().status, 413U);
    }
}

TEST_F(http_server_test, answers_with_an_error_when_the_handler_gives_up) {
    keep_requests();
    raw_client client(start());
    client.send(get_request("/a"));
    ASSERT_TRUE(waiting.wait_for(1));
    waiting.drop();
    EXPECT_EQ(client.receive().status, 500U);
    handler.own = [](const request_pointer& /*request*/, const send_response& /*respond*/) {
        throw std::runtime_error("problem");
    };
    EXPECT_EQ(client.ask(get_request("/b")).status, 500U);
    EXPECT_THAT(logged(), HasSubstr("problem"));
}

TEST_F(http_server_test, takes_the_first_answer_only) {
    keep_requests();
    raw_client client(start());
    client.send(get_request("/a"));
    ASSERT_TRUE(waiting.wait_for(1));
    const auto respond = waiting.take();
    respond(text_response("first"));
    respond(text_response("second"));
    EXPECT_EQ(client.receive().body, "first");
    client.send(get_request("/b"));
    ASSERT_TRUE(waiting.wait_for(1));
    respond(text_response("third"));
    waiting.take()(text_response("fourth"));
    EXPECT_EQ(client.receive().body, "fourth");
}

TEST_F(http_server_test, does_not_wait_for_one_request_to_answer_another) {
    keep_requests();
    const auto port = start();
    raw_client slow(port);
    slow.send(get_request("/slow"));
    ASSERT_TRUE(waiting.wait_for(1));
    const auto slow_response = waiting.take();
    raw_client fast(port);
    fast.send(get_request("/fast"));
    ASSERT_TRUE(waiting.wait_for(1));
    waiting.take()(text_response("fast"));
    EXPECT_EQ(fast.receive().body, "fast");
    slow_response(text_response("slow"));
    EXPECT_EQ(slow.receive().body, "slow");
}

TEST_F(http_server_test, limits_the_requests_in_flight) {
    options.limits.requests = 1;
    keep_requests();
    const auto port = start();
    raw_client first(port);
    first.send(get_request("/a"));
    ASSERT_TRUE(waiting.wait_for(1));
    raw_client second(port);
    const auto refused = second.ask(get_request("/b"));
    EXPECT_EQ(refused.status, 503U);
    EXPECT_EQ(refused.headers.at("Retry-After"), "1");
    waiting.take()(text_response("a"));
    EXPECT_EQ(first.receive().body, "a");
    // The refused client still has its connection.
    second.send(get_request("/c"));
    ASSERT_TRUE(waiting.wait_for(1));
    waiting.take()(text_response("c"));
    EXPECT_EQ(second.receive().body, "c");
}

TEST_F(http_server_test, closes_the_oldest_idle_connection_for_a_new_one) {
    options.limits.connections = 2;
    const auto port = start();
    raw_client oldest(port);
    EXPECT_EQ(oldest.ask(get_request("/")).status, 200U);
    raw_client other(port);
    EXPECT_EQ(other.ask(get_request("/")).status, 200U);
    raw_client third(port);
    EXPECT_EQ(third.ask(get_request("/")).status, 200U);
    EXPECT_TRUE(oldest.is_closed());
    EXPECT_EQ(other.ask(get_request("/")).status, 200U);
}

TEST_F(http_server_test, refuses_connections_when_all_are_busy) {
    options.limits.connections = 1;
    keep_requests();
    const auto port = start();
    raw_client busy(port);
    busy.send(get_request("/a"));
    ASSERT_TRUE(waiting.wait_for(1));
    raw_client refused(port);
    const auto answer = refused.receive();
    EXPECT_EQ(answer.status, 503U);
    EXPECT_EQ(answer.headers.at("Retry-After"), "1");
    EXPECT_TRUE(refused.is_closed());
    waiting.take()(text_response("a"));
    EXPECT_EQ(busy.receive().body, "a");
}

TEST_F(http_server_test, survives_more_connections_than_it_refuses) {
    options.limits.connections = 1;
    keep_requests();
    const auto port = start();
    raw_client busy(port);
    busy.send(get_request("/a"));
    ASSERT_TRUE(waiting.wait_for(1));
    std::vector<std::unique_ptr<raw_client>> many;
    for (int i = 0; i < 60; ++i) {
        many.push_back(std::make_unique<raw_client>(port));
    }
    for (const auto& client : many) {
        const auto status = client->receive().status;
        EXPECT_TRUE(status == 503 || status == 0) << status;
    }
    waiting.take()(text_response("a"));
    EXPECT_EQ(busy.receive().body, "a");
}

TEST_F(http_server_test, replaces_half_open_connections_by_clients_that_ask) {
    options.limits.connections = 4;
    options.limits.header_time = milliseconds(60'000);
    const auto port = start();
    std::vector<std::unique_ptr<raw_client>> half_open;
    for (int i = 0; i < 4; ++i) {
        half_open.push_back(std::make_unique<raw_client>(port));
        half_open.back()->send("GET /");
    }
    EXPECT_TRUE(
        test::eventually([&] { return raw_client(port).ask(get_request("/")).status == 200; }));
}

TEST_F(http_server_test, gives_a_client_limited_time_for_the_header) {
    options.limits.header_time = milliseconds(50);
    const auto port = start();
    raw_client silent(port);
    EXPECT_TRUE(silent.is_closed());
    // Again when this process was too slow to send anything.
    EXPECT_TRUE(test::eventually([&] {
        raw_client slow(port);
        return slow.ask("GET / HTTP/1.1\r\n").status == 408 && slow.is_closed();
    }));
}

TEST_F(http_server_test, gives_a_client_limited_time_for_the_body) {
    options.limits.body_time = milliseconds(50);
    raw_client client(start());
    EXPECT_EQ(client.ask("PUT / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\na").status,
              408U);
    EXPECT_TRUE(client.is_closed());
}

TEST_F(http_server_test, closes_idle_connections) {
    options.limits.idle_time = milliseconds(50);
    raw_client client(start());
    EXPECT_EQ(client.ask(get_request("/")).status, 200U);
    EXPECT_TRUE(client.is_closed());
}

TEST_F(http_server_test, gives_the_handler_limited_time) {
    options.limits.answer_time = milliseconds(50);
    keep_requests();
    raw_client client(start());
    const auto answer = client.ask(get_request("/"));
    EXPECT_EQ(answer.status, 503U);
    EXPECT_EQ(answer.headers.at("Retry-After"), "1");
    EXPECT_TRUE(client.is_closed());
    ASSERT_TRUE(waiting.wait_for(1));
    waiting.take()(text_response("late"));
}

TEST_F(http_server_test, closes_clients_that_do_not_read) {
    options.limits.send_time = milliseconds(100);
    const auto large = std::make_shared<const std::string>(std::size_t{64} << 20U, 'a');
    handler.own = [&](const request_pointer& /*request*/, const send_response& respond) {
        http_response response;
        response.body = large;
        respond(response);
    };
    const auto port = start();
    raw_client client(port);
    client.send(get_request("/"));
    EXPECT_TRUE(
        test::eventually([&] { return logged().find("reads too slowly") != std::string::npos; }));
    EXPECT_LT(client.receive_all().size(), large->size());
}

TEST_F(http_server_test, sends_a_stream_piece_by_piece) {
    std::mutex mutex;
    std::shared_ptr<body_stream> stream;
    handler.own = [&](const request_pointer& /*request*/, const send_response& respond) {
        http_response response;
        response.headers["Content-Type"] = "text/event-stream";
        response.start_stream = [&](std::shared_ptr<body_stream> started) {
            const std::lock_guard<std::mutex> guard(mutex);
            stream = std::move(started);
        };
        respond(response);
    };
    const auto has_stream = [&] {
        const std::lock_guard<std::mutex> guard(mutex);
        return stream != nullptr;
    };
    const auto port = start();
    {
        raw_client client(port);
        client.send(get_request("/"));
        ASSERT_TRUE(test::eventually(has_stream));
        EXPECT_TRUE(stream->write("one"));
        EXPECT_TRUE(stream->write(""));
        EXPECT_TRUE(stream->write("seventeen letters"));
        stream->end();
        EXPECT_FALSE(stream->write("more"));
        const auto answer = client.receive();
        EXPECT_EQ(answer.headers.at("Transfer-Encoding"), "chunked");
        EXPECT_EQ(answer.body, "oneseventeen letters");
        EXPECT_TRUE(client.is_closed());
    }
    stream.reset();
    {
        raw_client client(port);
        client.send(get_request("/"));
        ASSERT_TRUE(test::eventually(has_stream));
    }
    // The client is gone.
    EXPECT_TRUE(test::eventually([&] { return !stream->write("event"); }));
    stream.reset();
    raw_client client(port);
    client.send("HEAD / HTTP/1.1\r\nHost: localhost\r\n\r\n" + get_request("/"));
    EXPECT_EQ(client.receive(true).status, 200U);
    ASSERT_TRUE(test::eventually(has_stream));
    server->stop();
    EXPECT_EQ(client.receive().status, 200U);
    EXPECT_FALSE(stream->write("event"));
    stream.reset();
}

TEST_F(http_server_test, closes_a_stream_whose_client_does_not_read) {
    std::mutex mutex;
    std::shared_ptr<body_stream> stream;
    handler.own = [&](const request_pointer& /*request*/, const send_response& respond) {
        http_response response;
        response.start_stream = [&](std::shared_ptr<body_stream> started) {
            const std::lock_guard<std::mutex> guard(mutex);
            stream = std::move(started);
        };
        respond(response);
    };
    raw_client client(start());
    client.send(get_request("/"));
    ASSERT_TRUE(test::eventually([&] {
        const std::lock_guard<std::mutex> guard(mutex);
        return stream != nullptr;
    }));
    EXPECT_TRUE(test::eventually([&] { return !stream->write(std::string(300'000, 'a')); }));
}

TEST_F(http_server_test, finishes_running_requests_before_it_stops) {
    keep_requests();
    const auto port = start();
    raw_client idle(port);
    raw_client busy(port);
    busy.send(get_request("/"));
    ASSERT_TRUE(waiting.wait_for(1));
    std::thread answering([&] {
        // The server closes idle connections when it begins to stop.
        EXPECT_TRUE(idle.is_closed());
        waiting.take()(text_response("done"));
    });
    server->stop();
    answering.join();
    const auto answer = busy.receive();
    EXPECT_EQ(answer.body, "done");
    EXPECT_EQ(answer.headers.at("Connection"), "close");
    EXPECT_THROW(raw_client{port}, std::runtime_error);
}

TEST_F(http_server_test, stops_when_requests_are_never_answered) {
    options.limits.stop_time = milliseconds(50);
    keep_requests();
    raw_client client(start());
    client.send(get_request("/"));
    ASSERT_TRUE(waiting.wait_for(1));
    const auto respond = waiting.take();
    server->stop();
    EXPECT_TRUE(client.is_closed());
    respond(text_response("late"));
    server.reset();
    respond(text_response("later"));
}

TEST_F(http_server_test, reports_why_it_cannot_listen) {
    options.port = start();
    http_server second(options, handler);
    const auto in_use = second.start();
    EXPECT_EQ(in_use.code(), EADDRINUSE);
    EXPECT_THAT(in_use.reason(), HasSubstr("127.0.0.1 port " + std::to_string(options.port)));
    options.address = "here";
    EXPECT_THAT(http_server(options, handler).start().reason(), HasSubstr("'here'"));
    options.address = "192.0.2.1";
    options.certificate = made_certificate();
    EXPECT_EQ(http_server(options, handler).start().code(), EADDRNOTAVAIL);
}

TEST_F(http_server_test, serves_other_machines_with_tls_only) {
    options.address = "0.0.0.0";
    EXPECT_THAT(http_server(options, handler).start().reason(), HasSubstr("loopback"));
    options.certificate = made_certificate();
    raw_client client(start(), raw_client::protocols::tls);
    EXPECT_EQ(client.ask(get_request("/")).status, 200U);
}

TEST_F(http_server_test, answers_with_tls) {
    options.certificate = made_certificate();
    const auto port = start();
    raw_client client(port, raw_client::protocols::tls);
    ASSERT_TRUE(client.is_open());
    EXPECT_EQ(client.tls_version(), "TLSv1.3");
    for (int i = 0; i < 3; ++i) {
        const auto answer = client.ask(get_request("/a"));
        EXPECT_EQ(answer.body, "GET /a ");
        EXPECT_EQ(answer.headers.at("Strict-Transport-Security"), "max-age=31536000");
    }
    const auto last = client.ask(get_request("/", "Connection: close\r\n"));
    EXPECT_EQ(last.status, 200U);
    EXPECT_TRUE(client.is_closed());
}

TEST_F(http_server_test, knows_tls_1_2_and_none_that_is_older) {
    options.certificate = made_certificate();
    const auto port = start();
    raw_client older(port, raw_client::protocols::tls, 0x0303);
    ASSERT_TRUE(older.is_open());
    EXPECT_EQ(older.tls_version(), "TLSv1.2");
    EXPECT_EQ(older.ask(get_request("/")).status, 200U);
    EXPECT_FALSE(raw_client(port, raw_client::protocols::tls, 0x0302).is_open());
    EXPECT_FALSE(raw_client(port, raw_client::protocols::tls, 0x0301).is_open());
}

TEST_F(http_server_test, sends_large_answers_with_tls) {
    std::string text;
    while (text.size() < 3'000'000) {
        text += std::to_string(text.size());
    }
    handler.own = [&](const request_pointer& /*request*/, const send_response& respond) {
        respond(text_response(text));
    };
    options.certificate = made_certificate();
    raw_client client(start(), raw_client::protocols::tls);
    EXPECT_EQ(client.ask(get_request("/")).body, text);
    EXPECT_EQ(client.ask(get_request("/")).body, text);
}

TEST_F(http_server_test, uses_another_certificate_for_new_connections) {
    options.certificate = made_certificate();
    const auto port = start();
    raw_client before(port, raw_client::protocols::tls);
    ASSERT_TRUE(server->use_certificate(*made_certificate()));
    raw_client after(port, raw_client::protocols::tls);
    EXPECT_NE(before.certificate_hash(), after.certificate_hash());
    EXPECT_EQ(before.ask(get_request("/")).status, 200U);
    EXPECT_EQ(after.ask(get_request("/")).status, 200U);
}

TEST_F(http_server_test, has_no_certificate_without_tls) {
    start();
    EXPECT_FALSE(server->use_certificate(*made_certificate()));
}

TEST_F(http_server_test, survives_clients_that_do_not_speak_tls) {
    options.certificate = made_certificate();
    options.limits.handshake_time = milliseconds(200);
    const auto port = start();
    std::minstd_rand random(2);
    for (int round = 0; round < test::rounds(50); ++round) {
        raw_client client(port);
        std::string garbage = round % 2 == 0 ? "" : std::string("\x16\x03\x01\x00\x60\x01", 6);
        for (int i = 0; i < 200; ++i) {
            garbage += static_cast<char>(random());
        }
        client.send(garbage);
        client.receive_all();
    }
    raw_client plain(port);
    plain.send(get_request("/"));
    EXPECT_EQ(plain.receive_all().find("200 OK"), std::string::npos);
    raw_client silent(port);
    EXPECT_TRUE(silent.is_closed());
    EXPECT_EQ(raw_client(port, raw_client::protocols::tls).ask(get_request("/")).status, 200U);
    EXPECT_EQ(handler.handled, 1);
}

TEST_F(http_server_test, serves_many_clients_at_once) {
    const auto port = start();
    std::vector<std::thread> clients;
    std::atomic<int> answered = 0;
    for (int i = 0; i < 20; ++i) {
        clients.emplace_back([&, i] {
            raw_client client(port);
            for (int k = 0; k < 50; ++k) {
                const std::string text = std::to_string(i * 1000 + k);
                answered += client.ask(body_request("POST", "/", text)).body == "POST / " + text;
            }
        });
    }
    for (auto& client : clients) {
        client.join();
    }
    EXPECT_EQ(answered, 1000);
}

TEST_F(http_server_test, logs_requests_without_their_secrets) {
    raw_client client(start());
    client.ask(get_request("/path?token=secret1", "X-Auth-Token: secret2\r\n"));
    client.ask(body_request("POST", "/login", "secret3"));
    client.ask("GET /%00secret4 HTTP/1.1\r\n\r\n");
    server->stop();
    EXPECT_THAT(logged(), HasSubstr("127.0.0.1 GET /path 200, "));
    EXPECT_THAT(logged(), HasSubstr("127.0.0.1 POST /login 200, "));
    EXPECT_THAT(logged(), HasSubstr("127.0.0.1 - 400, "));
    EXPECT_EQ(logged().find("secret"), std::string::npos) << logged();
}

TEST_F(http_server_test, survives_changed_requests) {
    const auto port = start();
    std::minstd_rand random(3);
    const std::string whole = get_request("/a?b=c") + body_request("PUT", "/a", "0123456789");
    for (int round = 0; round < test::rounds(300); ++round) {
        std::string text = whole;
        for (auto changes = random() % 4; changes > 0; --changes) {
            text[random() % text.size()] = static_cast<char>(random());
        }
        raw_client client(port);
        client.send(std::string_view(text).substr(0, random() % (text.size() + 1)));
        client.end_sending();
        const std::string answers = client.receive_all();
        ASSERT_TRUE(answers.empty() || answers.rfind("HTTP/1.1 ", 0) == 0) << text;
    }
    EXPECT_EQ(raw_client(port).ask(get_request("/")).status, 200U);
}

}  // namespace
