#include "dpctl/wait_notice.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <thread>

namespace dpctl {
namespace {

TEST(wait_notice, is_one_plain_line_away_from_a_terminal) {
    std::ostringstream err;
    { const wait_notice notice(err, false, "waiting"); }
    EXPECT_EQ(err.str(), "dpctl: waiting\n");
}

TEST(wait_notice, counts_seconds_on_a_terminal_and_goes_away) {
    std::ostringstream err;
    double seconds = 0;
    {
        const wait_notice notice(err, true, "waiting");
        std::this_thread::sleep_for(std::chrono::milliseconds(1200));
        seconds = notice.seconds();
    }
    EXPECT_TRUE(err.str().starts_with("\rdpctl: waiting ... 0 s\rdpctl: waiting ... 1 s"))
        << err.str();
    EXPECT_TRUE(err.str().ends_with("\r\x1b[K"));
    EXPECT_GE(seconds, 1.2);
}

TEST(wait_notice, ends_at_once) {
    std::ostringstream err;
    const auto start = std::chrono::steady_clock::now();
    { const wait_notice notice(err, true, "waiting"); }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
}

}  // namespace
}  // namespace dpctl
