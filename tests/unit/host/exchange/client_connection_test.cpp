#include "host/exchange/client_connection.hpp"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace {

using dp_host::client_connection;
using states = dp_host::client_connection::states;
using std::chrono::milliseconds;

constexpr std::size_t much_space = 1'000'000;

/// A connection at a clock that the test steps.
class client_connection_test : public testing::Test {
  protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
        client = dp_support::file_descriptor(ends[0]);
        connection = std::make_unique<client_connection>(dp_support::file_descriptor(ends[1]),
                                                         dp_host::peer(), now);
    }

    void send(const std::string& text) const {
        ASSERT_EQ(write(client.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    std::string received() const {
        std::string text(65536, '\0');
        const ssize_t count = read(client.get(), text.data(), text.size());
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }

    void offer() {
        send("dp1 restart 0\n");
        connection->handle(POLLIN, much_space, now);
        ASSERT_EQ(connection->state(), states::waiting);
        connection->offer(now);
    }

    client_connection::clock::time_point now{};
    dp_support::file_descriptor client;
    std::unique_ptr<client_connection> connection;
};

TEST_F(client_connection_test, a_request_that_is_not_complete_in_time_is_refused) {
    send("dp1 batch 10\n");
    connection->handle(POLLIN, much_space, now);
    now += client_connection::receive_timeout - milliseconds(1);
    // One more byte gives no more time.
    send("x");
    connection->handle(POLLIN, much_space, now);
    EXPECT_EQ(connection->state(), states::receiving);
    ASSERT_TRUE(connection->deadline());
    now = *connection->deadline();
    connection->handle(0, much_space, now);
    EXPECT_EQ(connection->state(), states::closed);
    EXPECT_EQ(received().substr(0, 11), "refused 57 ");
}

TEST_F(client_connection_test, a_turn_that_is_not_taken_in_time_is_lost) {
    offer();
    now += client_connection::go_timeout;
    connection->handle(0, much_space, now);
    EXPECT_EQ(connection->state(), states::closed);
    EXPECT_EQ(received().substr(0, 17), "ready\nrefused 61 ");
}

TEST_F(client_connection_test, a_waiting_request_has_no_time_limit) {
    send("dp1 restart 0\n");
    connection->handle(POLLIN, much_space, now);
    EXPECT_FALSE(connection->deadline());
    connection->handle(0, much_space, now + std::chrono::hours(1));
    EXPECT_EQ(connection->state(), states::waiting);
}

TEST_F(client_connection_test, a_client_that_does_not_read_its_answer_is_given_up) {
    offer();
    send("go\n");
    connection->handle(POLLIN, much_space, now);
    ASSERT_EQ(connection->state(), states::started);
    connection->answer(0, std::string(10'000'000, 'x'), now);
    EXPECT_EQ(connection->state(), states::answering);
    received();
    now += client_connection::send_timeout - milliseconds(1);
    connection->handle(POLLOUT, much_space, now);
    EXPECT_EQ(connection->state(), states::answering);
    now = *connection->deadline() - milliseconds(1);
    connection->handle(0, much_space, now);
    EXPECT_EQ(connection->state(), states::answering) << "it was read from";
    connection->handle(0, much_space, now + milliseconds(1));
    EXPECT_EQ(connection->state(), states::closed);
}

TEST_F(client_connection_test, progress_is_dropped_while_the_client_is_slow) {
    offer();
    send("go\n");
    connection->handle(POLLIN, much_space, now);
    const std::size_t before = connection->size();
    for (std::uint32_t i = 0; i < 1'000'000; ++i) {
        connection->report_progress(i, 1'000'000, now);
    }
    EXPECT_LT(connection->size(), before + 20'000);
    EXPECT_EQ(connection->state(), states::started);
}

TEST_F(client_connection_test, a_request_that_does_not_fit_is_refused) {
    send("dp1 batch 1001\n");
    connection->handle(POLLIN, 1000, now);
    EXPECT_EQ(connection->state(), states::closed);
    EXPECT_EQ(received().substr(0, 11), "refused 61 ");
}

TEST_F(client_connection_test, knows_for_whom_the_client_acts) {
    EXPECT_EQ(connection->requester(), "uid=0,gid=0,pid=0,program=?");
    send("dp1 restart 0 for=eve\n");
    connection->handle(POLLIN, much_space, now);
    EXPECT_EQ(connection->requester(), "uid=0,gid=0,pid=0,for=eve,program=?");
}

TEST_F(client_connection_test, reports_each_position_once) {
    send("dp1 restart 0\n");
    connection->handle(POLLIN, much_space, now);
    for (const std::uint32_t ahead : {2U, 2U, 1U, 0U}) {
        connection->report_position(ahead, now);
    }
    EXPECT_EQ(received(), "waiting 2\nwaiting 1\n");
}

}  // namespace
