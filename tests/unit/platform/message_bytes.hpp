#ifndef DP_TESTS_UNIT_PLATFORM_MESSAGE_BYTES_HPP
#define DP_TESTS_UNIT_PLATFORM_MESSAGE_BYTES_HPP

#include <sstream>
#include <string>
#include <vector>

#include "platform/sysipc/message.hpp"

namespace test {

using bytes = std::vector<unsigned char>;

/// The bytes of a message as they are sent.
inline bytes bytes_of(const sysipc::message& message) {
    return {message.data(), message.data() + message.size()};
}

/// The printed form of a message formatter.
std::string printed(const auto& formatter) {
    std::ostringstream text;
    text << formatter;
    return text.str();
}

}  // namespace test

#endif
