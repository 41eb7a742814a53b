#include "host/history/history_time.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <utility>

#include "tests/support/time_zone.hpp"

namespace {

TEST(history_time, is_the_local_time_with_its_zone) {
    constexpr std::time_t when = 1'700'000'000;
    test::time_zone zone("UTC0");
    for (const auto& [name, text] : {std::pair{"UTC0", "2023-11-14T22:13:20+00:00"},
                                     std::pair{"ABC-2", "2023-11-15T00:13:20+02:00"},
                                     std::pair{"DEF3:30", "2023-11-14T18:43:20-03:30"}}) {
        zone.set(name);
        EXPECT_EQ(dp_host::history_time(when), text);
    }
}

TEST(history_time, has_no_text_for_a_time_without_a_year) {
    EXPECT_EQ(dp_host::history_time(std::numeric_limits<std::time_t>::max()), "");
}

}  // namespace
