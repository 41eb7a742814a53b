#include "service_api/exchange_lock.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <optional>

#include "service_api/server_paths.hpp"
#include "tests/support/scratch_files.hpp"

namespace {

using dp_service::exchange_lock;

class exchange_lock_test : public testing::Test {
  protected:
    void SetUp() override { test::clean_root(); }
};

// Two objects exclude each other as two processes do: each has the folder open on its own.
TEST_F(exchange_lock_test, one_client_has_the_lock_at_a_time) {
    std::optional<exchange_lock> first(std::in_place);
    exchange_lock second;
    EXPECT_TRUE(first->try_acquire());
    EXPECT_FALSE(second.try_acquire());
    first.reset();
    EXPECT_TRUE(second.try_acquire());
}

TEST_F(exchange_lock_test, acquire_waits_for_the_other_client) {
    std::optional<exchange_lock> first(std::in_place);
    ASSERT_TRUE(first->try_acquire());
    auto acquired = std::async(std::launch::async, [] {
        exchange_lock second;
        second.acquire();
    });
    EXPECT_EQ(acquired.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    first.reset();
    acquired.get();
}

TEST_F(exchange_lock_test, without_the_folder_there_is_nothing_to_lock) {
    std::filesystem::remove_all(dp_service::server_paths::exchange_folder.str());
    exchange_lock lock;
    EXPECT_TRUE(lock.try_acquire());
    lock.acquire();
}

}  // namespace
