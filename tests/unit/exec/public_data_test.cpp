// The records of exec/ as a host uses them.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "exec/security_wrap.hpp"
#include "tests/support/data_members.hpp"

TEST(security_wrap, takes_its_records_as_aggregates) {
    const dp::security_wrap::redirection redirection{"1", "/dev/null", 2};
    static_assert(std::is_aggregate_v<dp::security_wrap::redirection>);
    EXPECT_TRUE(test::has_type<std::string>(redirection.source));
    EXPECT_TRUE(test::has_type<std::string>(redirection.target));
    EXPECT_TRUE(test::has_type<std::int32_t>(redirection.operation));
    EXPECT_TRUE(test::in_order(redirection.source, redirection.target, redirection.operation));

    dp::security_wrap::redirection_file out{"", 0};
    dp::security_wrap::redirection_file err{"file", 1};
    static_assert(std::is_aggregate_v<dp::security_wrap::redirection_file>);
    EXPECT_TRUE(test::has_type<std::string>(out.name));
    EXPECT_TRUE(test::has_type<std::int32_t>(out.operation));
    EXPECT_TRUE(test::in_order(out.name, out.operation));
    EXPECT_EQ(dp::security_wrap::parse_redirection({redirection}, out, err), 0x01);
}
