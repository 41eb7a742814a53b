#ifndef DP_TESTS_SYSTEM_DPCTL_DPCTL_JSON_HPP
#define DP_TESTS_SYSTEM_DPCTL_DPCTL_JSON_HPP

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/dpctl.hpp"

namespace test {

/// Runs dpctl with --json, checks its exit code and returns the document.
inline nlohmann::json dpctl_json(std::vector<std::string> arguments, int exit_code = 0) {
    arguments.emplace_back("--json");
    const auto result = dpctl(arguments);
    EXPECT_EQ(result.exit_code, exit_code) << result.err;
    auto document = nlohmann::json::parse(result.out, nullptr, false);
    EXPECT_TRUE(document.is_object()) << result.out;
    return document;
}

}  // namespace test

#endif
