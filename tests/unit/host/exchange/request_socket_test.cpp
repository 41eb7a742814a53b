#include "host/exchange/request_socket.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "common/file_utilities.hpp"
#include "tests/support/descriptor_limit.hpp"
#include "tests/support/test_platform.hpp"

namespace {

using dp_host::client_connection;
using dp_host::request_socket;

/// The client's end of a connection. Never waits.
class raw_client {
  public:
    explicit raw_client(const std::string& path)
        : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        is_connected =
            connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~raw_client() { hang_up(); }
    raw_client(const raw_client&) = delete;
    raw_client& operator=(const raw_client&) = delete;

    bool send(const std::string& text) const {
        return ::send(fd_, text.data(), text.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(text.size());
    }

    /// What has arrived; "(end)" follows when the service closed the connection.
    std::string received() const {
        std::string text;
        char buffer[4096];
        for (;;) {
            const ssize_t count = recv(fd_, buffer, sizeof buffer, 0);
            if (count <= 0) {
                return count == 0 ? text + "(end)" : text;
            }
            text.append(buffer, static_cast<std::size_t>(count));
        }
    }

    void hang_up() {
        if (fd_ != -1) {
            close(fd_);
            fd_ = -1;
        }
    }

    bool is_connected = false;

  private:
    int fd_;
};

class request_socket_test : public testing::Test {
  protected:
    void SetUp() override {
        test::clean_root();
        ASSERT_TRUE(server.begin(path, std::nullopt));
    }

    /// The exchanges that accept a client and receive its first text.
    void exchange() {
        for (int i = 0; i < 3; ++i) {
            server.exchange();
        }
    }

    std::string path = test::root() + "/run/dp/settings.sock";
    request_socket server;
};

TEST_F(request_socket_test, a_request_passes_through_its_turn_to_the_answer) {
    const raw_client client(path);
    ASSERT_TRUE(client.is_connected);
    EXPECT_TRUE(client.send("dp1 batch 4 pending=v1\nte"));
    exchange();
    EXPECT_EQ(server.next(), nullptr);
    EXPECT_EQ(client.received(), "");
    EXPECT_TRUE(client.send("xt"));
    exchange();
    EXPECT_EQ(client.received(), "ready\n");
    EXPECT_EQ(server.next(), nullptr) << "nothing starts before the client agreed";
    EXPECT_TRUE(client.send("g"));
    exchange();
    EXPECT_EQ(server.next(), nullptr);
    EXPECT_TRUE(client.send("o\n"));
    exchange();
    client_connection* const request = server.next();
    ASSERT_NE(request, nullptr);
    EXPECT_EQ(request->header().kind, "batch");
    EXPECT_EQ(request->header().planned_on, "v1");
    EXPECT_EQ(request->take_text(), "text");
    EXPECT_EQ(request->client().pid, getpid());
    EXPECT_EQ(request->client().uid, geteuid());
    request->report_progress(1, 2, request_socket::clock::now());
    request->answer(0, "done", request_socket::clock::now());
    EXPECT_EQ(client.received(), "progress 1 2\nanswer 0 4\ndone");
    exchange();
    EXPECT_EQ(client.received(), "(end)");
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(request_socket_test, requests_are_next_in_the_order_in_which_they_were_complete) {
    const raw_client slow(path);
    const raw_client fast(path);
    slow.send("dp1 batch 4\n");
    exchange();
    fast.send("dp1 restart 0\n");
    exchange();
    slow.send("text");
    exchange();
    EXPECT_EQ(fast.received(), "ready\n");
    EXPECT_EQ(slow.received().substr(0, 10), "waiting 1\n");
    fast.send("go\n");
    exchange();
    ASSERT_NE(server.next(), nullptr);
    EXPECT_EQ(server.next()->header().kind, "restart");
}

TEST_F(request_socket_test, a_request_that_is_being_executed_is_ahead_of_the_others) {
    const raw_client client(path);
    client.send("dp1 restart 0\n");
    for (int i = 0; i < 3; ++i) {
        server.exchange(true);
    }
    EXPECT_EQ(client.received(), "waiting 1\n");
    exchange();
    EXPECT_EQ(client.received(), "ready\n");
}

TEST_F(request_socket_test, a_client_that_is_gone_before_it_agreed_withdraws_its_request) {
    for (const char* text : {"", "dp1 ba", "dp1 batch 10\n123", "dp1 restart 0\n"}) {
        raw_client client(path);
        client.send(text);
        exchange();
        EXPECT_EQ(server.connections(), 1U);
        client.hang_up();
        exchange();
        EXPECT_EQ(server.connections(), 0U) << text;
        EXPECT_EQ(server.next(), nullptr);
    }
}

TEST_F(request_socket_test, a_request_that_started_is_executed_though_its_client_is_gone) {
    raw_client client(path);
    client.send("dp1 restart 0\n");
    exchange();
    client.send("go\n");
    client.hang_up();
    exchange();
    exchange();
    ASSERT_NE(server.next(), nullptr);
    server.next()->answer(0, "", request_socket::clock::now());
    exchange();
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(request_socket_test, a_client_that_does_not_answer_does_not_delay_the_next) {
    const raw_client silent(path);
    const raw_client next(path);
    silent.send("dp1 restart 0\n");
    exchange();
    next.send("dp1 update 0\n");
    exchange();
    const auto deadline = server.deadline();
    ASSERT_TRUE(deadline);
    EXPECT_LE(*deadline, request_socket::clock::now() + request_socket::offer_interval);
    while (request_socket::clock::now() < *deadline) {
        usleep(1000);
    }
    exchange();
    EXPECT_EQ(next.received(), "waiting 1\nready\n");
    next.send("go\n");
    exchange();
    ASSERT_NE(server.next(), nullptr);
    EXPECT_EQ(server.next()->header().kind, "update");
}

TEST_F(request_socket_test, garbage_is_refused) {
    for (const std::string& garbage :
         {std::string("GET / HTTP/1.0\n"), std::string(1000, 'x'), std::string("dp1 restart 1 2\n"),
          std::string("dp1 restart 0\nmore"), std::string("dp1 batch 99999999\n"),
          std::string("dp1 batch 2\nabc")}) {
        const raw_client client(path);
        client.send(garbage);
        exchange();
        const std::string answer = client.received();
        EXPECT_EQ(answer.substr(0, 8), "refused ") << garbage;
        EXPECT_NE(answer.find("(end)"), std::string::npos) << garbage;
        EXPECT_EQ(server.connections(), 0U);
    }
    const raw_client client(path);
    client.send("dp1 restart 0\n");
    exchange();
    client.send("stop\n");
    exchange();
    EXPECT_EQ(client.received().substr(0, 14), "ready\nrefused ");
}

TEST_F(request_socket_test, further_connections_and_large_requests_are_refused) {
    std::vector<std::unique_ptr<raw_client>> clients;
    for (std::size_t i = 0; i < request_socket::most_connections; ++i) {
        clients.push_back(std::make_unique<raw_client>(path));
        exchange();
    }
    const raw_client further(path);
    exchange();
    EXPECT_EQ(further.received().substr(0, 8), "refused ");
    EXPECT_EQ(server.connections(), request_socket::most_connections);
    clients.clear();
    exchange();
    EXPECT_EQ(server.connections(), 0U);
    const raw_client again(path);
    again.send("dp1 restart 0\n");
    exchange();
    EXPECT_EQ(again.received(), "ready\n");
}

TEST_F(request_socket_test, replaces_what_is_at_its_path_and_removes_it_at_the_end) {
    {
        request_socket other;
        ASSERT_TRUE(other.begin(path, std::nullopt));
        EXPECT_TRUE(raw_client(path).is_connected);
        struct stat info {};
        ASSERT_EQ(stat(path.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777U, 0600U);
        ASSERT_EQ(stat((test::root() + "/run/dp").c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777U, 0700U);
    }
    EXPECT_FALSE(fileexist(path));
}

TEST_F(request_socket_test, its_path_may_be_longer_than_an_address) {
    request_socket other;
    const std::string folder = test::root() + '/' + std::string(120, 'x');
    const std::string long_path = folder + "/settings.sock";
    const auto begun = other.begin(long_path, std::nullopt);
    ASSERT_TRUE(begun) << begun.reason();
    ASSERT_EQ(chdir(folder.c_str()), 0);
    EXPECT_TRUE(raw_client("settings.sock").is_connected);
    ASSERT_EQ(chdir(test::root().c_str()), 0);
}

TEST_F(request_socket_test, a_group_gets_access_to_folder_and_socket) {
    request_socket other;
    ASSERT_TRUE(other.begin(path, getegid()));
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0660U);
    EXPECT_EQ(info.st_gid, getegid());
    ASSERT_EQ(stat((test::root() + "/run/dp").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0750U);
    EXPECT_EQ(info.st_gid, getegid());
}

TEST_F(request_socket_test, waits_for_descriptors_before_it_accepts_again) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers need descriptors themselves";
#endif
    const raw_client client(path);
    client.send("dp1 restart 0\n");
    {
        const test::descriptor_limit limit(0);
        exchange();
        EXPECT_EQ(server.connections(), 0U);
        std::vector<pollfd> entries;
        server.add_poll_entries(entries);
        ASSERT_EQ(entries.size(), 1U);
        EXPECT_EQ(entries[0].fd, -1) << "otherwise the service would be busy";
        EXPECT_TRUE(server.deadline());
    }
    while (request_socket::clock::now() < *server.deadline()) {
        usleep(1000);
    }
    exchange();
    EXPECT_EQ(client.received(), "ready\n");
}

}  // namespace
