#include "platform/posix/message_listener.hpp"

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
#include <utility>

#include "platform/dp/message_formatter.hpp"
#include "platform/sysipc/message.hpp"
#include "platform/sysipc/system_message_queue.hpp"
#include "platform/sysipc/system_message_queue_client.hpp"
#include "tests/support/child_process.hpp"
#include "tests/support/closed_standard_input.hpp"
#include "tests/support/environment_variable.hpp"
#include "tests/support/intercepted_call.hpp"
#include "tests/support/interrupting_timer.hpp"
#include "tests/support/open_descriptors.hpp"
#include "tests/support/private_queues.hpp"
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

class message_listener_test : public testing::Test {
  protected:
    void SetUp() override {
        const mqd_t probe = mq_open("/dp.queue.probe", O_RDONLY);
        if (probe < 0 && errno == ENOSYS) {
            GTEST_SKIP() << "this kernel has no message queues";
        }
    }
    void TearDown() override { mq_unlink(queue_name().c_str()); }

    static std::string queue_name() { return "/" + test::private_queues::prefix() + ".dp.queue.8"; }

    /// Receives without waiting: a message is in the queue as soon as it is sent.
    static result receive(message_listener& listener, sysipc::message& content) {
        return listener.receive(content, 0);
    }

    test::private_queues queues_;
};

using system_message_queue_test = message_listener_test;

TEST_F(message_listener_test, receives_messages_in_the_order_of_sending) {
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

TEST_F(message_listener_test, times_out) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    sysipc::message content(8096);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(listener.receive(content, 20), result::timeout);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(19));
}

TEST_F(system_message_queue_test, sending_fails_when_the_queue_does_not_exist) {
    const sysipc::system_message_queue queue(8, 0);
    EXPECT_FALSE(queue.is_open());
    EXPECT_EQ(queue.handle(), -1);
    EXPECT_FALSE(sysipc::system_message_queue_client::send(queue, message_of(1)));
    EXPECT_EQ(mq_open(queue_name().c_str(), O_RDONLY), -1) << "a sender creates no queue";
}

TEST_F(system_message_queue_test, sending_fails_at_once_when_the_queue_is_full) {
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

TEST_F(message_listener_test, removes_its_queue_when_destroyed) {
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

TEST_F(message_listener_test, empties_and_reuses_the_queue_of_a_dead_listener) {
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

TEST_F(message_listener_test, receives_from_another_process) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    test::child_process sender([](const auto&) { return send(message_of(42)) ? 0 : 1; });
    EXPECT_EQ(sender.wait(), 0);
    sysipc::message content(8096);
    EXPECT_EQ(receive(listener, content), result::received);
    EXPECT_EQ(dp::message_formatter(content).value(), 42);
}

TEST_F(message_listener_test, is_not_open_when_the_queue_has_another_listener) {
    const message_listener first(8);
    ASSERT_TRUE(first.is_open()) << first.error();
    message_listener second(8);
    EXPECT_FALSE(second.is_open());
    EXPECT_NE(second.error().find("already has a listener"), std::string::npos) << second.error();
    EXPECT_EQ(second.handle(), -1);
    sysipc::message content(8096);
    EXPECT_EQ(second.receive(content, 0), result::failed);
    EXPECT_TRUE(send(message_of(1))) << "the second one must not touch the queue";
}

TEST_F(message_listener_test, keeps_no_descriptor_of_a_queue_that_it_cannot_use) {
    test::child_process other([](const test::child_process::parent_channel& parent) {
        const message_listener listener(8);
        parent.send(listener.is_open() ? 'y' : 'n');
        return static_cast<int>(parent.receive());
    });
    ASSERT_EQ(other.receive(), 'y');
    const auto before = test::open_descriptors();
    {
        const message_listener refused(8);
        EXPECT_FALSE(refused.is_open());
        EXPECT_EQ(test::open_descriptors(), before);
    }
    ASSERT_EQ(kill(other.pid(), SIGKILL), 0);
    ASSERT_EQ(other.wait(), 128 + SIGKILL);
    {
        const sysipc::system_message_queue without_listener(8, 0);
        EXPECT_FALSE(without_listener.is_open());
        EXPECT_EQ(test::open_descriptors(), before);
        const message_listener listener(8);
        const sysipc::system_message_queue queue(8, 0);
        EXPECT_TRUE(queue.is_open());
    }
    EXPECT_EQ(test::open_descriptors(), before);
}

TEST_F(message_listener_test, receives_without_standard_input) {
    const test::closed_standard_input closed;
    {
        message_listener listener(8);
        ASSERT_TRUE(listener.is_open()) << listener.error();
        EXPECT_TRUE(send(message_of(1)));
        sysipc::message content(8096);
        EXPECT_EQ(receive(listener, content), result::received);
    }
    EXPECT_TRUE(test::closed_standard_input::is_closed());
}

TEST_F(message_listener_test, uses_a_separate_queue_for_each_number_and_prefix) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    EXPECT_FALSE(send(message_of(1), 3));
    {
        const test::environment_variable other("DP_QUEUE_PREFIX",
                                               test::private_queues::prefix() + "-other");
        EXPECT_FALSE(send(message_of(1)));
    }
    EXPECT_TRUE(send(message_of(1)));
}

TEST_F(message_listener_test, refuses_an_invalid_prefix) {
    for (const std::string& prefix : {std::string("a/b"), std::string("../x"), std::string("a b"),
                                      std::string(65, 'x'), std::string("a\n")}) {
        const test::environment_variable variable("DP_QUEUE_PREFIX", prefix);
        EXPECT_FALSE(sysipc::system_message_queue(8, 0).is_open());
        const message_listener listener(8);
        EXPECT_FALSE(listener.is_open());
        EXPECT_NE(listener.error().find("DP_QUEUE_PREFIX"), std::string::npos);
    }
}

TEST_F(message_listener_test, reports_the_limit_on_a_users_queues) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_MSGQUEUE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_MSGQUEUE, &none), 0);
    const message_listener listener(8);
    EXPECT_EQ(setrlimit(RLIMIT_MSGQUEUE, &before), 0);
    EXPECT_FALSE(listener.is_open());
    EXPECT_EQ(listener.error(), "cannot create queue " + queue_name() +
                                    ": the limit on this user's queues is reached (ulimit -q)");
}

TEST_F(message_listener_test, reports_why_the_queue_cannot_be_used) {
    const auto error_when = [](test::libc_call function, int error) {
        const test::intercepted_call failing(function, error);
        const message_listener listener(8);
        EXPECT_FALSE(listener.is_open());
        return listener.error();
    };
    const std::string name = queue_name();
    EXPECT_EQ(error_when(test::libc_call::mq_open, EACCES),
              "cannot create queue " + name + ": Permission denied");
    EXPECT_EQ(error_when(test::libc_call::fcntl, ENOLCK),
              "cannot lock queue " + name + ": No locks available");
    EXPECT_EQ(error_when(test::libc_call::fcntl, EACCES),
              "queue " + name + " already has a listener");
    EXPECT_EQ(error_when(test::libc_call::mq_getattr, EBADF),
              "cannot examine queue " + name + ": Bad file descriptor");
    const message_listener listener(8);
    EXPECT_TRUE(listener.is_open()) << "a failed listener keeps no lock";
}

TEST_F(message_listener_test, creates_the_queue_again_when_the_previous_listener_removes_it) {
    const std::string name = queue_name();
    int removals = 0;
    const test::intercepted_call removing(test::libc_call::fcntl, [&] {
        // Once it is open, and before it is locked.
        return removals++ == 0 ? mq_unlink(name.c_str()) : 0;
    });
    const message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    EXPECT_TRUE(send(message_of(1)));
}

TEST_F(message_listener_test, gives_up_when_the_queue_keeps_being_removed) {
    const std::string name = queue_name();
    const test::intercepted_call removing(test::libc_call::fcntl,
                                          [&] { return mq_unlink(name.c_str()); });
    const message_listener listener(8);
    EXPECT_FALSE(listener.is_open());
    EXPECT_EQ(listener.error(), "queue " + name + " keeps being removed");
}

TEST_F(message_listener_test, reports_a_wait_that_fails_and_times_out_when_interrupted) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    sysipc::message content(8096);
    {
        const test::intercepted_call failing(test::libc_call::poll, ENOMEM);
        EXPECT_EQ(listener.receive(content, 0), result::failed);
    }
    const test::interrupting_timer timer(1000);
    EXPECT_EQ(listener.receive(content, -1), result::timeout);
}

TEST_F(message_listener_test, receives_nothing_when_the_message_has_gone_since_the_wait) {
    message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    sysipc::message content(8096);
    for (const auto& [error, expected] :
         {std::pair(0, result::timeout), std::pair(EINTR, result::timeout),
          std::pair(EBADF, result::failed)}) {
        ASSERT_TRUE(send(message_of(1)));
        const test::intercepted_call taking(test::libc_call::mq_receive, [&listener,
                                                                          reported = error] {
            std::string message(8192, ' ');
            EXPECT_GT(mq_receive(listener.handle(), message.data(), message.size(), nullptr), 0);
            return reported;
        });
        EXPECT_EQ(listener.receive(content, 0), expected) << error;
    }
}

TEST_F(system_message_queue_test, is_not_open_when_its_listener_cannot_be_determined) {
    const message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    const sysipc::system_message_queue queue(8, 0);
    ASSERT_TRUE(queue.is_open());
    const test::intercepted_call failing(test::libc_call::fcntl, EBADF);
    EXPECT_FALSE(sysipc::system_message_queue(8, 0).is_open());
    EXPECT_FALSE(sysipc::system_message_queue_client::send(queue, message_of(1)));
}

TEST_F(system_message_queue_test, accepts_no_flags) {
    const message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    EXPECT_TRUE(sysipc::system_message_queue(8, 0).is_open());
    EXPECT_FALSE(sysipc::system_message_queue(8, 1).is_open());
}

TEST_F(message_listener_test, creates_a_queue_that_only_its_owner_may_use) {
    const message_listener listener(8);
    ASSERT_TRUE(listener.is_open()) << listener.error();
    struct stat status {};
    ASSERT_EQ(fstat(listener.handle(), &status), 0);
    EXPECT_EQ(status.st_mode & 0077U, 0U);
}

TEST_F(message_listener_test, receives_messages_of_up_to_8192_bytes) {
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

TEST_F(message_listener_test, drops_messages_that_are_malformed_or_do_not_fit) {
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

TEST_F(message_listener_test, refuses_the_queue_of_another_user) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can act as two users";
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
        GTEST_SKIP() << "cannot become another user";
    }
    const message_listener listener(8);
    EXPECT_FALSE(listener.is_open());
    EXPECT_NE(listener.error().find("belongs to another user"), std::string::npos)
        << listener.error();
}

}  // namespace
