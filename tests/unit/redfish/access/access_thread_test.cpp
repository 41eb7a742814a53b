#include "redfish/access/access_thread.hpp"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

namespace {

using dp_redfish::access_thread;
using thread_modes = access_thread::run_modes;

TEST(access_thread, does_the_pieces_in_their_order_on_one_thread) {
    std::string order;
    std::promise<std::thread::id> done;
    access_thread thread(10);
    for (const char c : {'a', 'b', 'c'}) {
        EXPECT_TRUE(thread.add([&order, c](thread_modes) { order += c; }));
    }
    EXPECT_TRUE(thread.add([&](thread_modes) { done.set_value(std::this_thread::get_id()); }));
    EXPECT_NE(done.get_future().get(), std::this_thread::get_id());
    EXPECT_EQ(order, "abc");
}

TEST(access_thread, a_full_queue_takes_nothing) {
    std::promise<void> started;
    std::promise<void> may_end;
    access_thread thread(2);
    EXPECT_TRUE(thread.add([&](thread_modes) {
        started.set_value();
        may_end.get_future().wait();
    }));
    started.get_future().wait();
    EXPECT_TRUE(thread.add([](thread_modes) {}));
    EXPECT_TRUE(thread.add([](thread_modes) {}));
    EXPECT_FALSE(thread.add([](thread_modes) { ADD_FAILURE() << "was not taken"; }));
    may_end.set_value();
}

TEST(access_thread, each_piece_is_called_once_also_at_the_end) {
    int called = 0;
    bool was_cancelled = false;
    {
        access_thread thread(1000);
        for (int i = 0; i < 1000; ++i) {
            thread.add([&](thread_modes mode) {
                ++called;
                // Once the end has begun, nothing more is run.
                EXPECT_TRUE(mode == thread_modes::cancel || !was_cancelled);
                was_cancelled = mode == thread_modes::cancel;
            });
        }
    }
    EXPECT_EQ(called, 1000);
}

TEST(access_thread, takes_nothing_after_its_end) {
    access_thread thread(10);
    thread.stop();
    EXPECT_FALSE(thread.add([](thread_modes) { ADD_FAILURE() << "was not taken"; }));
    thread.stop();
}

}  // namespace
