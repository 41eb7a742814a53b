#include "redfish/protocol/query_options.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <variant>

namespace {

using dp_redfish::answer;
using dp_redfish::query_options;
using dp_redfish::query_parameters;
using dp_redfish::read_query;
using testing::ElementsAre;

query_options good(const query_parameters& query) {
    auto result = read_query(query);
    EXPECT_TRUE(std::holds_alternative<query_options>(result));
    return std::holds_alternative<query_options>(result) ? std::get<query_options>(result)
                                                         : query_options();
}

// The status and the message of the error.
std::pair<unsigned, std::string> bad(const query_parameters& query) {
    const auto result = read_query(query);
    const auto* const error = std::get_if<answer>(&result);
    if (error == nullptr) {
        return {0, ""};
    }
    const std::string code = error->body.find("error")->find("code")->text;
    return {error->status, code.substr(code.rfind('.') + 1)};
}

TEST(read_query, reads_all_parameters_that_are_known) {
    const auto options = good({{"$select", "Name, Status/Health"},
                               {"$expand", "*($levels=2)"},
                               {"$top", "5"},
                               {"$skip", "0"}});
    EXPECT_THAT(options.selected, ElementsAre("Name", "Status/Health"));
    ASSERT_TRUE(options.expanded);
    EXPECT_TRUE(options.expanded->links);
    EXPECT_TRUE(options.expanded->others);
    EXPECT_EQ(options.expanded->levels, 2U);
    EXPECT_EQ(options.top, 5U);
    EXPECT_EQ(options.skip, 0U);
}

TEST(read_query, distinguishes_the_kinds_of_expansion) {
    EXPECT_FALSE(good({{"$expand", "."}}).expanded->links);
    EXPECT_FALSE(good({{"$expand", "~"}}).expanded->others);
    EXPECT_EQ(good({{"$expand", "."}}).expanded->levels, 1U);
}

TEST(read_query, ignores_parameters_of_others) {
    EXPECT_TRUE(good({{"session", "1"}, {"x", ""}}).is_empty());
}

TEST(read_query, does_not_implement_other_redfish_parameters) {
    EXPECT_EQ(bad({{"$filter", "Id eq 1"}}),
              std::pair(501U, std::string("QueryParameterUnsupported")));
    EXPECT_EQ(bad({{"$nonsense", ""}}).first, 501U);
}

TEST(read_query, refuses_wrong_values) {
    EXPECT_EQ(bad({{"$top", "x"}}), std::pair(400U, std::string("QueryParameterValueTypeError")));
    EXPECT_EQ(bad({{"$top", ""}}).second, "QueryParameterValueTypeError");
    EXPECT_EQ(bad({{"$skip", "-1"}}).second, "QueryParameterOutOfRange");
    EXPECT_EQ(bad({{"$top", "99999999999"}}).second, "QueryParameterOutOfRange");
    EXPECT_EQ(bad({{"$expand", "Members"}}).second, "QueryParameterValueFormatError");
    EXPECT_EQ(bad({{"$expand", ""}}).second, "QueryParameterValueFormatError");
    EXPECT_EQ(bad({{"$expand", ".($levels=x)"}}).second, "QueryParameterValueFormatError");
    EXPECT_EQ(bad({{"$expand", ".($levels=0)"}}).second, "QueryParameterOutOfRange");
    EXPECT_EQ(bad({{"$expand", ".($levels=99)"}}).second, "QueryParameterOutOfRange");
    EXPECT_EQ(bad({{"$select", ""}}).second, "QueryParameterValueFormatError");
    EXPECT_EQ(bad({{"$select", "a,,b"}}).second, "QueryParameterValueFormatError");
    EXPECT_EQ(bad({{"$top", "1"}, {"$top", "2"}}).second, "QueryCombinationInvalid");
    EXPECT_EQ(bad({{"only", ""}, {"$expand", "."}}).second, "QueryCombinationInvalid");
    EXPECT_EQ(bad({{"only", "x"}}).second, "QueryParameterValueFormatError");
}

}  // namespace
