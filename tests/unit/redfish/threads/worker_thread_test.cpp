#include "redfish/threads/worker_thread.hpp"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using dp_redfish::worker_thread;
using thread_modes = worker_thread::modes;

TEST(worker_thread, does_the_pieces_in_their_order_on_one_thread) {
    std::string order;
    std::promise<std::thread::id> done;
    worker_thread thread(10);
    for (const char c : {'a', 'b', 'c'}) {
        EXPECT_TRUE(thread.post([&order, c](thread_modes) { order += c; }));
    }
    EXPECT_TRUE(thread.post([&](thread_modes) { done.set_value(std::this_thread::get_id()); }));
    EXPECT_NE(done.get_future().get(), std::this_thread::get_id());
    EXPECT_EQ(order, "abc");
}

TEST(worker_thread, a_full_queue_takes_nothing) {
    std::promise<void> started;
    std::promise<void> may_end;
    worker_thread thread(2);
    EXPECT_TRUE(thread.post([&](thread_modes) {
        started.set_value();
        may_end.get_future().wait();
    }));
    started.get_future().wait();
    EXPECT_TRUE(thread.post([](thread_modes) {}));
    EXPECT_TRUE(thread.post([](thread_modes) {}));
    EXPECT_FALSE(thread.post([](thread_modes) { ADD_FAILURE() << "was not taken"; }));
    may_end.set_value();
}

TEST(worker_thread, each_piece_is_called_once_also_at_the_end) {
    int called = 0;
    bool was_cancelled = false;
    {
        worker_thread thread(1000);
        for (int i = 0; i < 1000; ++i) {
            thread.post([&](thread_modes mode) {
                ++called;
                // Once the end has begun, nothing more is run.
                EXPECT_TRUE(mode == thread_modes::cancel || !was_cancelled);
                was_cancelled = mode == thread_modes::cancel;
            });
        }
    }
    EXPECT_EQ(called, 1000);
}

TEST(worker_thread, takes_nothing_after_its_end) {
    worker_thread thread(10);
    thread.stop();
    EXPECT_FALSE(thread.post([](thread_modes) { ADD_FAILURE() << "was not taken"; }));
    thread.stop();
}

TEST(worker_thread, does_jobs_in_their_order_and_survives_a_failed_one) {
    std::string order;
    std::promise<void> done;
    worker_thread worker(10);
    worker.post([&](thread_modes) { order += 'a'; });
    worker.post([](thread_modes) { throw std::runtime_error("x"); });
    worker.post([&](thread_modes) { order += 'b'; });
    worker.post([&](thread_modes) { done.set_value(); });
    done.get_future().wait();
    EXPECT_EQ(order, "ab");
}

TEST(worker_thread, takes_no_more_jobs_than_may_wait) {
    std::promise<void> release;
    std::promise<void> running;
    worker_thread worker(2);
    worker.post([&](thread_modes) {
        running.set_value();
        release.get_future().wait();
    });
    running.get_future().wait();
    EXPECT_TRUE(worker.post([](thread_modes) {}));
    EXPECT_TRUE(worker.post([](thread_modes) {}));
    EXPECT_FALSE(worker.post([](thread_modes) {}));
    release.set_value();
}

TEST(worker_thread, frees_the_jobs_that_wait_at_its_end) {
    const auto kept = std::make_shared<int>(1);
    std::promise<void> release;
    auto released = release.get_future();
    std::promise<void> running;
    {
        worker_thread worker(2);
        worker.post([&](thread_modes) {
            running.set_value();
            released.wait();
        });
        worker.post([kept](thread_modes) { static_cast<void>(kept); });
        running.get_future().wait();
        EXPECT_EQ(kept.use_count(), 2);
        release.set_value();
    }
    EXPECT_EQ(kept.use_count(), 1);
}

TEST(worker_thread, takes_no_jobs_after_its_end) {
    worker_thread worker(10);
    worker.stop();
    worker.stop();
    EXPECT_FALSE(worker.post([](thread_modes) {}));
}

}  // namespace
