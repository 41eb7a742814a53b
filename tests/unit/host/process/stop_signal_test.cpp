#include "host/process/stop_signal.hpp"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/child_process.hpp"

namespace {

namespace stop_signal = dp_host::stop_signal;
using channel = test::child_process::parent_channel;

bool is_readable(int fd) {
    pollfd entry{fd, POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

TEST(stop_signal_test, a_signal_is_received_and_makes_the_descriptor_readable) {
    for (const int number : {SIGTERM, SIGINT}) {
        test::child_process process([number](const channel&) {
            if (!stop_signal::install() || stop_signal::received() ||
                is_readable(stop_signal::descriptor())) {
                return 1;
            }
            raise(number);
            return stop_signal::received() && is_readable(stop_signal::descriptor()) ? 0 : 2;
        });
        EXPECT_EQ(process.wait(), 0);
    }
}

TEST(stop_signal_test, works_in_a_process_whose_parent_blocked_the_signals) {
    test::child_process process([](const channel&) {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        std::signal(SIGALRM, SIG_IGN);
        if (!stop_signal::install(1)) {
            return 1;
        }
        raise(SIGTERM);
        while (true) {
            pause();
        }
    });
    EXPECT_EQ(process.wait(), 128 + SIGALRM);
}

TEST(stop_signal_test, a_process_that_does_not_end_is_ended_after_a_while) {
    test::child_process process([](const channel& parent) {
        if (!stop_signal::install(1)) {
            return 1;
        }
        parent.send('I');
        // Another signal does not prolong it.
        while (true) {
            usleep(1000);
            raise(SIGTERM);
        }
    });
    ASSERT_EQ(process.receive(), 'I');
    EXPECT_EQ(process.wait(), 128 + SIGALRM);
}

}  // namespace
