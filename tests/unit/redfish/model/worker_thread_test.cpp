#include "redfish/model/worker_thread.hpp"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using dp_redfish::worker_thread;

TEST(worker_thread, does_jobs_in_their_order_and_survives_a_failed_one) {
    std::string order;
    std::promise<void> done;
    worker_thread worker(10);
    worker.post([&] { order += 'a'; });
    worker.post([] { throw std::runtime_error("x"); });
    worker.post([&] { order += 'b'; });
    worker.post([&] { done.set_value(); });
    done.get_future().wait();
    EXPECT_EQ(order, "ab");
}

TEST(worker_thread, takes_no_more_jobs_than_may_wait) {
    std::promise<void> release;
    std::promise<void> running;
    worker_thread worker(2);
    worker.post([&] {
        running.set_value();
        release.get_future().wait();
    });
    running.get_future().wait();
    EXPECT_TRUE(worker.post([] {}));
    EXPECT_TRUE(worker.post([] {}));
    EXPECT_FALSE(worker.post([] {}));
    release.set_value();
}

TEST(worker_thread, frees_the_jobs_that_wait_at_its_end) {
    const auto kept = std::make_shared<int>(1);
    std::promise<void> release;
    auto released = release.get_future();
    std::promise<void> running;
    {
        worker_thread worker(2);
        worker.post([&] {
            running.set_value();
            released.wait();
        });
        worker.post([kept] { static_cast<void>(kept); });
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
    EXPECT_FALSE(worker.post([] {}));
}

}  // namespace
