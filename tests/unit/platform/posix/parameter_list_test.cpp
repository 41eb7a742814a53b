#include "platform/sysipc/parameter_list.hpp"

#include <gtest/gtest.h>

#include <array>

#include "platform/sysipc/message.hpp"
#include "tests/unit/platform/message_bytes.hpp"

namespace {

using test::bytes;
using test::bytes_of;

TEST(parameter_list, adds_arrays_without_gaps) {
    sysipc::message message(8096);
    message.set_kind(11);
    sysipc::parameter_list parameters(message, 2);
    EXPECT_EQ(parameters.byte_count(), 0U);
    const std::array<unsigned char, 3> three = {1, 2, 3};
    EXPECT_TRUE(parameters.add_byte_array(three.data(), three.size()));
    EXPECT_TRUE(parameters.add_byte_array(three.data(), 0));
    EXPECT_TRUE(parameters.add_byte_array(three.data() + 1, 1));
    EXPECT_EQ(parameters.byte_count(), 4U);
    message.set_payload_length(parameters.byte_count() + 2);
    EXPECT_EQ(bytes_of(message), (bytes{0, 0, 6, 0, 11, 0, 1, 2, 3, 2}));
}

TEST(parameter_list, refuses_parameters_that_do_not_fit) {
    sysipc::message message(10);
    const bytes data(8096, 0xEE);
    sysipc::parameter_list parameters(message, 2);
    EXPECT_FALSE(parameters.add_byte_array(data.data(), 5));
    EXPECT_FALSE(parameters.add_byte_array(data.data(), data.size()));
    EXPECT_TRUE(parameters.add_byte_array(data.data(), 4));
    EXPECT_FALSE(parameters.add_byte_array(data.data(), 1));
    EXPECT_EQ(parameters.byte_count(), 4U);
    sysipc::parameter_list beyond(message, 100);
    EXPECT_FALSE(beyond.add_byte_array(data.data(), 1));
}

}  // namespace
