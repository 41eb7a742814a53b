#ifndef DP_TESTS_SUPPORT_SEALED_VALUES_HPP
#define DP_TESTS_SUPPORT_SEALED_VALUES_HPP

#include <algorithm>
#include <string>

#include "service_api/values_seal.hpp"

namespace test {

/// The text of a file of values with these set lines, each with its newline.
inline std::string sealed(const std::string& lines) {
    const std::string text = std::string(dp_service::values_seal::begin_line) + '\n' + lines;
    const auto count = std::count(lines.begin(), lines.end(), '\n');
    return text + dp_service::values_seal::end_line(text, static_cast<std::size_t>(count)) + '\n';
}

}  // namespace test

#endif
