#include "platform/sysipc/message.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "tests/unit/platform/message_bytes.hpp"

namespace {

using test::bytes;
using test::bytes_of;

TEST(message, is_empty_at_first) {
    const sysipc::message message(8096);
    EXPECT_EQ(bytes_of(message), (bytes{0, 0, 0, 0}));
    EXPECT_EQ(message.payload_capacity(), 8092U);
    EXPECT_EQ(message.payload_length(), 0U);
    EXPECT_EQ(message.kind(), 0U);
}

TEST(message, lays_out_source_queue_length_and_kind) {
    sysipc::message message(8096);
    message.set_source(7);
    message.set_queue(3);
    message.set_kind(0x1234);
    message.set_payload_length(2);
    EXPECT_EQ(bytes_of(message), (bytes{7, 3, 2, 0, 0x34, 0x12}));
    message.set_payload_length(0x0102);
    EXPECT_EQ(message.size(), 4U + 0x0102U);
    EXPECT_EQ(message.data()[2], 0x02);
    EXPECT_EQ(message.data()[3], 0x01);
}

TEST(message, limits_the_payload_length_to_the_buffer) {
    sysipc::message message(8096);
    message.set_payload_length(8093);
    EXPECT_EQ(message.payload_length(), 8092U);
    sysipc::message smallest(0);
    smallest.set_kind(9);
    smallest.set_payload_length(100);
    EXPECT_EQ(bytes_of(smallest), (bytes{0, 0, 2, 0, 9, 0}));
    EXPECT_EQ(sysipc::message(1'000'000).payload_capacity(), 65531U);
}

TEST(message, assigns_the_bytes_of_another_message) {
    sysipc::message sent(8096);
    sent.set_source(1);
    sent.set_queue(8);
    sent.set_kind(16);
    sent.payload()[2] = 0xAB;
    sent.set_payload_length(3);
    sysipc::message received(100);
    ASSERT_TRUE(received.assign(sent.data(), sent.size()));
    EXPECT_EQ(bytes_of(received), bytes_of(sent));
    EXPECT_EQ(received.source(), 1);
    EXPECT_EQ(received.queue(), 8);
    EXPECT_EQ(received.kind(), 16);
}

TEST(message, is_empty_after_assigning_bytes_that_are_not_a_message) {
    const std::vector<bytes> wrong = {{},
                                      {1, 2},
                                      {1, 2, 0, 0},
                                      {1, 2, 1, 0, 5},
                                      {1, 2, 3, 0, 5, 5},
                                      {1, 2, 1, 0, 5, 5},
                                      {1, 2, 0xFF, 0xFF, 5, 5}};
    for (const auto& data : wrong) {
        sysipc::message message(100);
        message.set_source(9);
        message.set_payload_length(2);
        EXPECT_FALSE(message.assign(data.data(), data.size()));
        EXPECT_EQ(bytes_of(message), (bytes{0, 0, 0, 0}));
    }
}

TEST(message, refuses_bytes_that_do_not_fit_the_buffer) {
    sysipc::message sent(200);
    sent.set_payload_length(97);
    sysipc::message received(100);
    EXPECT_FALSE(received.assign(sent.data(), sent.size()));
    sent.set_payload_length(96);
    EXPECT_TRUE(received.assign(sent.data(), sent.size()));
}

}  // namespace
