#include <fcntl.h>
#include <gtest/gtest.h>
#include <mqueue.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <optional>
#include <string>

#include "platform/dp/message_formatter.hpp"
#include "platform/posix/message_listener.hpp"
#include "platform/sysipc/message.hpp"
#include "platform/sysipc/system_message_queue.hpp"
#include "platform/sysipc/system_message_queue_client.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/environment_variable.hpp"
#include "tests/support/own_queues.hpp"
#include "tests/unit/platform/support.hpp"

namespace {

using dp_platform::message_listener;
using result = message_listener::result;

sysipc::message message_of(unsigned char value) {
    sysipc::message message(8096);
    dp::message_formatter formatter(message);
    formatter.send_alert_plugins(dp::command::alerts::settings_changed, 1, value);
    message.set_payload_length(formatter.parameter_byte_count() + 4);
    return message;
}

bool send(const sysipc::message& message, unsigned char number = 8) {
    const sysipc::system_message_queue queue(number, 0);
    return sysipc::system_message_queue_client::send(queue, message);
}

class message_queue : public testing::Test {
  protected:
    void SetUp() override {
        const mqd_t probe = mq_open("/dp.queue.probe", O_RDONLY);
        if (probe < 0 && errno == ENOSYS) {
            GTEST_SKIP() << "this kernel has no message queues";
        }
    }
    void TearDown() override { mq_unlink(queue_name().c_str()); }

    static std::string queue_name() { return "/" + test::own_queues::prefix() + ".dp.queue.8"; }

    /// Takes what was sent before: a message is there as soon as its sending is over.
    static result receive(message_listener& listener, sysipc::message& content) {
        return listener.receive(content, 0);
    }

    test::own_queues queues_;
};

TEST_F(message_queue, a_listener_receives_messages_in_the_order_of_sending) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    for (unsigned char i = 0; i < 3; ++i) {
        EXPECT_TRUE(send(message_of(i)));
    }
    for (unsigned char i = 0; i < 3; ++i) {
        sysipc::message content(8096);
        ASSERT_EQ(receive(listener, content), result::received);
        EXPECT_EQ(content.size(), message_of(i).size());
        EXPECT_EQ(std::memcmp(content.data(), message_of(i).data(), content.size()), 0);
    }
    sysipc::message content(8096);
    EXPECT_EQ(listener.receive(content, 0), result::timeout);
}

TEST_F(message_queue, receiving_waits_no_longer_than_asked) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    sysipc::message content(8096);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(listener.receive(content, 20), result::timeout);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(19));
}

TEST_F(message_queue, sending_to_an_absent_queue_fails) {
    const sysipc::system_message_queue queue(8, 0);
    EXPECT_FALSE(queue.is_open());
    EXPECT_EQ(queue.handle(), -1);
    EXPECT_FALSE(sysipc::system_message_queue_client::send(queue, message_of(1)));
    EXPECT_EQ(mq_open(queue_name().c_str(), O_RDONLY), -1) << "a sender makes no queue";
}

TEST_F(message_queue, sending_to_a_full_queue_fails_at_once) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    for (unsigned char i = 0; i < 10; ++i) {
        ASSERT_TRUE(send(message_of(i)));
    }
    EXPECT_FALSE(send(message_of(10)));
    sysipc::message content(8096);
    ASSERT_EQ(receive(listener, content), result::received);
    EXPECT_TRUE(send(message_of(11)));
    EXPECT_FALSE(send(message_of(12)));
}

TEST_F(message_queue, goes_away_with_its_listener) {
    std::optional<message_listener> listener;
    listener.emplace(static_cast<unsigned char>(8));
    ASSERT_TRUE(listener->is_open()) << listener->error();
    const sysipc::system_message_queue opened_before(8, 0);
    ASSERT_TRUE(opened_before.is_open());
    listener.reset();
    EXPECT_FALSE(sysipc::system_message_queue_client::send(opened_before, message_of(1)));
    EXPECT_FALSE(send(message_of(1)));
    EXPECT_EQ(mq_open(queue_name().c_str(), O_RDONLY), -1);
}

TEST_F(message_queue, of_a_dead_listener_takes_no_message_and_is_taken_over_empty) {
    test::child_process dying([](const test::child_process::parent_channel& parent) {
        const message_listener listener(8);
        parent.send(listener.is_open() ? 'y' : 'n');
        return static_cast<int>(parent.receive());
    });
    ASSERT_EQ(dying.receive(), 'y');
    EXPECT_TRUE(send(message_of(1)));
    const sysipc::system_message_queue opened_before(8, 0);
    EXPECT_TRUE(opened_before.is_open());
    ASSERT_EQ(kill(dying.pid(), SIGKILL), 0);
    ASSERT_EQ(dying.wait(), 128 + SIGKILL);

    EXPECT_FALSE(sysipc::system_message_queue(8, 0).is_open());
    EXPECT_FALSE(sysipc::system_message_queue_client::send(opened_before, message_of(2)));
    EXPECT_FALSE(send(message_of(2)));
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    sysipc::message content(8096);
    EXPECT_EQ(listener.receive(content, 0), result::timeout);
    EXPECT_TRUE(send(message_of(3)));
    ASSERT_EQ(receive(listener, content), result::received);
    EXPECT_EQ(dp::message_formatter(content).value(), 3);
}

TEST_F(message_queue, reaches_a_listener_in_another_process) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    test::child_process sender([](const auto&) { return send(message_of(42)) ? 0 : 1; });
    EXPECT_EQ(sender.wait(), 0);
    sysipc::message content(8096);
    EXPECT_EQ(receive(listener, content), result::received);
    EXPECT_EQ(dp::message_formatter(content).value(), 42);
}

TEST_F(message_queue, has_one_listener_at_a_time) {
    const message_listener first(8);
    ASSERT_TRUE(first.is_open()) << first.error();
    message_listener second(8);
    EXPECT_FALSE(second.is_open());
    EXPECT_NE(second.error().find("has a listener already"), std::string::npos) << second.error();
    EXPECT_EQ(second.handle(), -1);
    sysipc::message content(8096);
    EXPECT_EQ(second.receive(content, 0), result::failed);
    EXPECT_TRUE(send(message_of(1))) << "the second one must not touch the queue";
}

TEST_F(message_queue, of_another_number_or_prefix_is_another_queue) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    EXPECT_FALSE(send(message_of(1), 3));
    {
        const test::environment_variable other("DP_QUEUE_PREFIX",
                                               test::own_queues::prefix() + "-other");
        EXPECT_FALSE(send(message_of(1)));
    }
    EXPECT_TRUE(send(message_of(1)));
}

TEST_F(message_queue, is_refused_with_a_prefix_that_is_no_part_of_a_name) {
    for (const std::string& prefix : {std::string("a/b"), std::string("../x"), std::string("a b"),
                                      std::string(65, 'x'), std::string("a\n")}) {
        const test::environment_variable variable("DP_QUEUE_PREFIX", prefix);
        EXPECT_FALSE(sysipc::system_message_queue(8, 0).is_open());
        const message_listener listener(8);
        EXPECT_FALSE(listener.is_open());
        EXPECT_NE(listener.error().find("DP_QUEUE_PREFIX"), std::string::npos);
    }
}

TEST_F(message_queue, beyond_what_a_user_may_have_tells_of_the_limit) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_MSGQUEUE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_MSGQUEUE, &none), 0);
    const message_listener listener(8);
    EXPECT_EQ(setrlimit(RLIMIT_MSGQUEUE, &before), 0);
    EXPECT_FALSE(listener.is_open());
    EXPECT_EQ(listener.error(), "can't make queue " + queue_name() +
                                    ": this user's queues are as big as they may be (ulimit -q)");
}

TEST_F(message_queue, has_no_flags) {
    const message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    EXPECT_TRUE(sysipc::system_message_queue(8, 0).is_open());
    EXPECT_FALSE(sysipc::system_message_queue(8, 1).is_open());
}

TEST_F(message_queue, is_readable_for_its_owner_only) {
    const message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    struct stat status {};
    ASSERT_EQ(fstat(listener.handle(), &status), 0);
    EXPECT_EQ(status.st_mode & 0077U, 0U);
}

TEST_F(message_queue, takes_the_biggest_message_and_none_beyond) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    sysipc::message message(65535);
    message.set_payload_length(8192 - sysipc::message::header_size);
    EXPECT_TRUE(send(message));
    message.set_payload_length(8193 - sysipc::message::header_size);
    EXPECT_FALSE(send(message));
    sysipc::message content(8192);
    EXPECT_EQ(receive(listener, content), result::received);
    EXPECT_EQ(content.size(), 8192U);
    EXPECT_EQ(listener.receive(content, 0), result::timeout);
}

TEST_F(message_queue, drops_what_is_no_message_or_does_not_fit) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    const mqd_t raw = mq_open(queue_name().c_str(), O_WRONLY | O_NONBLOCK);
    ASSERT_GE(raw, 0);
    ASSERT_EQ(mq_send(raw, "", 0, 0), 0);
    ASSERT_EQ(mq_send(raw, "abc", 3, 0), 0);
    ASSERT_EQ(mq_send(raw, "\x01\x08\x64\x00\x01\x00", 6, 0), 0);
    ASSERT_TRUE(send(message_of(1)));
    mq_close(raw);
    sysipc::message content(8096);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(receive(listener, content), result::malformed);
        EXPECT_EQ(content.payload_length(), 0U);
    }
    sysipc::message small(6);
    EXPECT_EQ(receive(listener, small), result::malformed);
    ASSERT_TRUE(send(message_of(2)));
    EXPECT_EQ(receive(listener, content), result::received);
}

TEST_F(message_queue, of_another_user_is_refused) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to be two users";
    }
    const std::string name = queue_name();
    const pid_t child = fork();
    if (child == 0) {
        umask(0);
        const bool made = setgid(65534) == 0 && setuid(65534) == 0 &&
                          mq_open(name.c_str(), O_RDWR | O_CREAT, 0666, nullptr) >= 0;
        _exit(made ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (status != 0) {
        GTEST_SKIP() << "can't become another user";
    }
    const message_listener listener(8);
    EXPECT_FALSE(listener.is_open());
    EXPECT_NE(listener.error().find("belongs to another user"), std::string::npos)
        << listener.error();
}

}  // namespace
