#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/eventually.hpp"
#include "tests/support/sample_template.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/dp_settingsd/settingsd_fixture.hpp"

namespace {

using test::eventually;
using test::service_process;

class dp_settingsd_end : public test::settingsd_fixture {};

TEST_F(dp_settingsd_end, stops_on_sigterm_and_sigint) {
    for (const int signal : {SIGTERM, SIGINT}) {
        start();
        EXPECT_EQ(server.stop(signal), 0) << service_process::log();
    }
}

TEST_F(dp_settingsd_end, finishes_the_running_batch_before_it_stops) {
    start();
    std::ostringstream text;
    for (int i = 0; i < 300'000; ++i) {
        text << "0 " << i << " t set Ports.Speed.1 \"" << i % 1000 + 1 << "\" \"\" \n";
    }
    service_process::write_batch(text.str());
    ASSERT_TRUE(eventually([] { return !std::filesystem::exists(service_process::batch()); }));
    EXPECT_EQ(server.stop(), 0);
    EXPECT_EQ(test::line_count(test::read_file(service_process::result())), 300'000U);
    EXPECT_FALSE(std::filesystem::exists(path("/tmp/dp/batch.run")));
}

TEST_F(dp_settingsd_end, keeps_whole_batches_and_all_answered_ones_after_kills_at_any_time) {
    constexpr int attributes = 300;
    constexpr int rounds = 40;
    std::vector<template_info> infos;
    for (int i = 0; i < attributes; ++i) {
        infos.push_back(test::number("A", "N" + std::to_string(i), "0", 0, 0xFFFFFFFF, 1));
    }
    service_process::install(infos, "B1");
    test::kill_schedule delays(20240517, std::chrono::microseconds(12'000));
    int answered = 0;  // the value of the last batch with an answer
    int sent = 0;
    int unanswered = 0;
    for (int round = 0; round < rounds; ++round) {
        ASSERT_TRUE(server.start()) << service_process::log();
        // A batch that was not run before the kill is run now.
        if (sent > answered) {
            ASSERT_NE(service_process::wait_for_result(), "(no result)");
            answered = sent;
        }
        std::ostringstream text;
        ++sent;
        for (int i = 0; i < attributes; ++i) {
            text << "0 " << i << " t set A.N" << i << " \"" << sent << "\" \"\" \n";
        }
        test::kill_during_batch(server, text.str(), delays.next());

        const bool was_answered = std::filesystem::exists(service_process::result());
        if (was_answered) {
            const std::string result = test::read_file(service_process::result());
            ASSERT_EQ(test::line_count(result), static_cast<std::size_t>(attributes));
            EXPECT_EQ(result.find("\n0 299 t set A.N299 ") != std::string::npos, true);
            answered = sent;
        }
        const auto values = test::pending_values();
        ASSERT_EQ(values.size(), static_cast<std::size_t>(attributes));
        const std::set<std::string> different(values.begin(), values.end());
        ASSERT_EQ(different.size(), 1U) << "part of a batch";
        const int kept = std::stoi(*different.begin());
        EXPECT_TRUE(kept == answered || kept == sent) << kept;
        unanswered += was_answered ? 0 : 1;
        delays.adapt(was_answered);
    }
    // The test is only conclusive if kills hit both before and after the answer.
    EXPECT_GT(unanswered, 0);
    EXPECT_LT(unanswered, rounds);
}

}  // namespace
