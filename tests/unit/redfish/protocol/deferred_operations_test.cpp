#include "redfish/protocol/deferred_operations.hpp"

#include <gtest/gtest.h>

namespace {

TEST(prefers_deferred, finds_the_preference_in_a_list) {
    EXPECT_TRUE(dp_redfish::prefers_deferred("respond-async"));
    EXPECT_TRUE(dp_redfish::prefers_deferred("wait=10, Respond-Async"));
    EXPECT_TRUE(dp_redfish::prefers_deferred(" respond-async ;x=1,y"));
    EXPECT_FALSE(dp_redfish::prefers_deferred(""));
    EXPECT_FALSE(dp_redfish::prefers_deferred("respond-asynchronously"));
    EXPECT_FALSE(dp_redfish::prefers_deferred("return=minimal,,wait=1"));
}

}  // namespace
