#include "host/history/transaction_id.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(new_transaction_id, is_another_one_each_time) {
    std::set<std::string> ids;
    for (int i = 0; i < 1000; ++i) {
        const std::string id = dp_host::new_transaction_id();
        EXPECT_EQ(id.size(), 16U);
        EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), std::string::npos) << id;
        EXPECT_TRUE(ids.insert(id).second) << id;
    }
}

}  // namespace
