#ifndef DP_TESTS_SUPPORT_ALERT_QUEUES_HPP
#define DP_TESTS_SUPPORT_ALERT_QUEUES_HPP

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

#include "platform/posix/message_listener.hpp"
#include "platform/sysipc/message.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/private_queues.hpp"

namespace test {

/// Fixture for tests that send alerts on message queues of their own and receive them.
class alert_queues : public testing::Test {
  protected:
    /// The next message, which must have been sent.
    static sysipc::message receive(dp_platform::message_listener& listener) {
        EXPECT_TRUE(listener.is_open()) << listener.error();
        sysipc::message content(8096);
        EXPECT_EQ(listener.receive(content, 0), dp_platform::message_listener::result::received);
        return content;
    }

    static void expect_empty(dp_platform::message_listener& listener) {
        sysipc::message content(8096);
        EXPECT_EQ(listener.receive(content, 0), dp_platform::message_listener::result::timeout);
    }

    static std::vector<unsigned char> payload_of(const sysipc::message& content) {
        return {content.payload(), content.payload() + content.payload_length()};
    }

    /// Leaves a queue whose listener was killed.
    static void kill_listener_of(unsigned char number) {
        child_process listener([number](const child_process::parent_channel& parent) {
            const dp_platform::message_listener queue(number);
            parent.send(queue.is_open() ? 'y' : 'n');
            return static_cast<int>(parent.receive());
        });
        EXPECT_EQ(listener.receive(), 'y');
        kill(listener.pid(), SIGKILL);
        EXPECT_EQ(listener.wait(), 128 + SIGKILL);
    }

  private:
    private_queues queues_;
};

}  // namespace test

#endif
