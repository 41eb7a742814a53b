#include "host/exchange/batch_exchange.hpp"

#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>

#include "common/file_utilities.hpp"
#include "service_api/exchange_lock.hpp"
#include "tests/support/descriptor_limit.hpp"
#include "tests/support/test_platform.hpp"
#include "tests/unit/host/sample_service.hpp"

namespace {

using dp_host::poll_result;

class batch_exchange_test : public test::sample_service {
  protected:
    void SetUp() override { test::clean_root(); }

    std::string batch = test::root() + "/tmp/dp/batch";
    std::string running = batch + ".run";
    std::string result = batch + ".out";
    std::string command_line = "0 1 t set Boot.Mode \"Legacy\" \"\"\n";
    std::string result_line = "0 1 t set Boot.Mode \"Legacy\" \"Legacy\" \n";
    std::string late = batch + ".late";
    int set_aside = 0;
    dp_host::batch_exchange exchange{registrar, [this] { ++set_aside; }};
};

TEST_F(batch_exchange_test, a_batch_is_run_answered_and_removed) {
    test::write_file(batch, command_line);
    EXPECT_EQ(exchange.poll(true), poll_result::taken);
    EXPECT_EQ(test::read_file(result), result_line);
    EXPECT_FALSE(fileexist(batch));
    EXPECT_FALSE(fileexist(running));
    EXPECT_EQ(value_of("Boot.Mode"), "Legacy");
    EXPECT_EQ(exchange.poll(true), poll_result::nothing);
}

TEST_F(batch_exchange_test, a_batch_is_run_until_its_client_gives_up) {
    test::write_file(batch, command_line);
    test::set_mtime(batch, std::time(nullptr) - 60);
    exchange.recover();
    EXPECT_EQ(exchange.poll(true), poll_result::taken);
    EXPECT_EQ(test::read_file(result), result_line);
}

TEST_F(batch_exchange_test, an_old_batch_and_one_from_the_future_are_set_aside) {
    int count = 0;
    for (const std::time_t age : {63, -70}) {
        test::write_file(batch, command_line);
        test::set_mtime(batch, std::time(nullptr) - age);
        EXPECT_EQ(exchange.poll(true), poll_result::taken);
        EXPECT_FALSE(fileexist(running));
        EXPECT_FALSE(fileexist(result));
        EXPECT_EQ(test::read_file(late), command_line);
        EXPECT_EQ(set_aside, ++count);
    }
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
}

TEST_F(batch_exchange_test, an_old_batch_is_run_while_a_client_has_the_exchange_lock) {
    dp_service::exchange_lock lock;
    ASSERT_TRUE(lock.try_acquire());
    test::write_file(batch, command_line);
    test::set_mtime(batch, 1000);
    EXPECT_EQ(exchange.poll(true), poll_result::taken);
    EXPECT_EQ(test::read_file(result), result_line);
}

TEST_F(batch_exchange_test, the_age_of_a_batch_is_unknown_after_the_clock_was_set) {
    // Of an earlier service, which ran when the clock was an hour ahead.
    std::string boot;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> boot;
    test::write_file(test::root() + "/tmp/dp/clock", boot + " 3600\n");
    test::write_file(batch, command_line);
    exchange.recover();
    EXPECT_EQ(exchange.poll(true), poll_result::taken);
    EXPECT_EQ(test::read_file(late), command_line);
    EXPECT_EQ(exchange.poll(true), poll_result::nothing);
    test::write_file(batch, command_line);
    EXPECT_EQ(exchange.poll(true), poll_result::taken);
    EXPECT_EQ(test::read_file(result), result_line);
}

TEST_F(batch_exchange_test, a_batch_is_not_lost_while_descriptors_are_missing) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers need descriptors themselves";
#endif
    test::write_file(batch, command_line);
    poll_result found = poll_result::retry_later;
    unsigned left = 0;
    for (; left < 20 && found != poll_result::taken; ++left) {
        EXPECT_EQ(value_of("Boot.Mode"), "UEFI") << left;
        const test::descriptor_limit limit(left);
        found = exchange.poll(true);
        EXPECT_TRUE(found == poll_result::retry_later || found == poll_result::taken) << left;
    }
    EXPECT_GT(left, 2U);
    EXPECT_EQ(test::read_file(result), result_line);
    EXPECT_EQ(set_aside, 0);
}

TEST_F(batch_exchange_test, a_batch_that_kills_the_service_twice_is_set_aside) {
    test::write_file(batch + ".repeated", command_line);
    exchange.recover();
    EXPECT_EQ(test::read_file(late), command_line);
    EXPECT_FALSE(fileexist(result));
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
}

TEST_F(batch_exchange_test, a_failed_answer_does_not_block_the_next_batch) {
    test::recording_log log(sysipc::event_log::log_level::error);
    std::filesystem::create_directories(result + "/full");
    test::write_file(batch, command_line);
    EXPECT_EQ(exchange.poll(true), poll_result::taken);
    EXPECT_EQ(log.lines.size(), 1U);
    EXPECT_FALSE(fileexist(running));
    EXPECT_EQ(value_of("Boot.Mode"), "Legacy");
    test::write_file(batch, command_line);
    EXPECT_EQ(exchange.poll(true), poll_result::taken);
    EXPECT_EQ(test::read_file(result), result_line);
}

TEST_F(batch_exchange_test, an_interrupted_batch_is_run_again) {
    test::write_file(running, command_line);
    exchange.recover();
    EXPECT_EQ(test::read_file(result), result_line);
    EXPECT_EQ(value_of("Boot.Mode"), "Legacy");
    EXPECT_FALSE(fileexist(running));
}

TEST_F(batch_exchange_test, an_interrupted_batch_is_dropped_when_there_is_a_newer_batch) {
    test::write_file(running, command_line);
    test::write_file(batch, "0 2 t get Boot.Mode \"\" \"\"\n");
    exchange.recover();
    EXPECT_FALSE(fileexist(running));
    EXPECT_FALSE(fileexist(result));
    EXPECT_EQ(exchange.poll(true), poll_result::taken);
    EXPECT_EQ(test::read_file(result), "0 2 t get Boot.Mode \"\" \"UEFI\" \n");
}

TEST_F(batch_exchange_test, an_interrupted_batch_is_dropped_when_its_client_no_longer_waits) {
    // Time passes before the check, so the age from the future is well beyond the limit.
    for (const std::time_t age : {63, -70}) {
        test::write_file(running, command_line);
        test::set_mtime(running, std::time(nullptr) - age);
        exchange.recover();
        EXPECT_FALSE(fileexist(running));
        EXPECT_FALSE(fileexist(result));
    }
    EXPECT_EQ(value_of("Boot.Mode"), "UEFI");
    test::write_file(running, command_line);
    test::set_mtime(running, std::time(nullptr) - 55);
    exchange.recover();
    EXPECT_TRUE(fileexist(result));
}

TEST_F(batch_exchange_test, an_interrupted_batch_that_was_answered_is_not_run_again) {
    test::write_file(running, command_line);
    test::write_file(result, "the answer\n");
    const std::time_t now = std::time(nullptr);
    test::set_mtime(running, now - 2);
    test::set_mtime(result, now - 2);
    exchange.recover();
    EXPECT_FALSE(fileexist(running));
    EXPECT_EQ(test::read_file(result), "the answer\n");

    // A result that is older than the batch is the answer to an earlier batch.
    test::write_file(running, command_line);
    test::set_mtime(running, now);
    exchange.recover();
    EXPECT_EQ(test::read_file(result), result_line);
}

TEST_F(batch_exchange_test, a_symlink_instead_of_an_interrupted_batch_is_removed) {
    test::write_file(running + ".real", command_line);
    ASSERT_EQ(symlink((running + ".real").c_str(), running.c_str()), 0);
    exchange.recover();
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(running)));
    EXPECT_FALSE(fileexist(result));
}

}  // namespace
