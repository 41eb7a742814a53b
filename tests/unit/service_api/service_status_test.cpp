#include "service_api/service_status.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include "tests/support/scratch_files.hpp"
#include "transactions/command_status.hpp"

namespace {

namespace service_status = dp_service::service_status;
using service_status::explanation;

TEST(explanation_test, says_why_a_command_failed) {
    EXPECT_EQ(explanation(service_status::read_only), "it is read-only");
    EXPECT_EQ(explanation(dp::command_status::success), "done");
    EXPECT_EQ(explanation(dp::command_status::unresolved),
              "the settings service knows no setting of that name");
}

TEST(explanation_test, begins_with_the_value_where_it_is_about_the_value) {
    EXPECT_EQ(explanation(service_status::out_of_range), "the value is out of range");
    EXPECT_EQ(explanation(service_status::out_of_range, "\"9\""), "\"9\" is out of range");
    EXPECT_TRUE(service_status::is_about_value(service_status::out_of_range));
    EXPECT_TRUE(service_status::is_about_value(dp::command_status::value_not_mapped));
    EXPECT_FALSE(service_status::is_about_value(service_status::read_only));
}

// The constants of a header of status codes, as their names and numbers are written there.
std::set<std::pair<std::string, std::int32_t>> codes_in(const std::string& header) {
    const std::string text = test::read_file(std::string(DP_SOURCE_DIR) + "/" + header);
    const std::regex code(R"(constexpr std::int32_t (\w+) =\s*(\d+);)");
    std::set<std::pair<std::string, std::int32_t>> codes;
    for (std::sregex_iterator at(text.begin(), text.end(), code), end; at != end; ++at) {
        codes.emplace((*at)[1], std::stoi((*at)[2]));
    }
    return codes;
}

TEST(explanation_test, is_there_for_every_code_of_the_headers_and_differs) {
    auto codes = codes_in("transactions/command_status.hpp");
    EXPECT_TRUE(codes.contains({"unknown_operation", dp::command_status::unknown_operation}));
    EXPECT_GE(codes.size(), 10U);
    auto of_service = codes_in("service_api/service_status.hpp");
    EXPECT_TRUE(of_service.contains({"over_limit", service_status::over_limit}));
    EXPECT_GE(of_service.size(), 14U);
    codes.merge(of_service);
    EXPECT_TRUE(of_service.empty());
    std::set<std::string> texts;
    for (const auto& [name, status] : codes) {
        EXPECT_NE(explanation(status), "") << name;
        EXPECT_TRUE(texts.insert(explanation(status)).second) << name;
    }
}

TEST(explanation_test, is_empty_for_an_unknown_status) {
    EXPECT_EQ(explanation(99), "");
    EXPECT_EQ(explanation(-1), "");
    EXPECT_FALSE(service_status::is_about_value(99));
}

}  // namespace
