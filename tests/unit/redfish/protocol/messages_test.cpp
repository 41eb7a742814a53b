#include "redfish/protocol/messages.hpp"

#include <gtest/gtest.h>

#include <string>

#include "support/json.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/test_data.hpp"

namespace {

using dp_redfish::message_json;

std::string member_text(const dp_support::json_value& value, std::string_view name) {
    const auto* const found = value.find(name);
    return found == nullptr ? "(none)" : found->text;
}

TEST(message_json, replaces_the_placeholders_of_the_text) {
    const auto value = message_json(
        {"PropertyValueNotInList", {"x%1", "Mode"}, "/Attributes/Mode", "Allowed: a."});
    EXPECT_EQ(member_text(value, "MessageId"), "Base.1.22.PropertyValueNotInList");
    EXPECT_EQ(member_text(value, "Message"),
              "The value 'x%1' for the property Mode is not in the list of acceptable values. "
              "Allowed: a.");
    EXPECT_EQ(value.find("RelatedProperties")->items.front().text, "/Attributes/Mode");
    EXPECT_EQ(value.find("MessageArgs")->items.size(), 2U);
}

TEST(message_json, makes_a_general_error_of_an_unknown_id) {
    EXPECT_EQ(member_text(message_json({"NoSuchMessage"}), "MessageId"), "Base.1.22.GeneralError");
}

TEST(error_answer, has_the_message_itself_as_its_code_if_there_is_one) {
    const auto one = dp_redfish::error_answer(400, {{"MalformedJSON"}});
    EXPECT_EQ(one.status, 400U);
    EXPECT_EQ(member_text(*one.body.find("error"), "code"), "Base.1.22.MalformedJSON");
    const auto two = dp_redfish::error_answer(400, {{"EmptyJSON"}, {"NoOperation"}});
    EXPECT_EQ(member_text(*two.body.find("error"), "code"), "Base.1.22.GeneralError");
    EXPECT_EQ(two.body.find("error")->find("@Message.ExtendedInfo")->items.size(), 2U);
}

TEST(base_registry, has_the_messages_of_the_published_one) {
    const std::string name = "redfish/registries/Base.1.22.1.json";
    if (const std::string reason = test::missing_data(name); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const auto published = dp_support::parse_json(test::read_file(test::data_file(name))).root;
    const auto registry = message_registry_json(dp_redfish::base_registry());
    const auto* const messages = registry.find("Messages");
    EXPECT_GT(messages->items.size(), 50U);
    for (const auto& entry : messages->items) {
        const auto* const original = published.find("Messages")->find(entry.name);
        ASSERT_NE(original, nullptr) << entry.name;
        for (const auto& member : entry.items) {
            EXPECT_EQ(to_text(member, dp_support::json_layout::one_line),
                      to_text(*original->find(member.name), dp_support::json_layout::one_line))
                << entry.name;
        }
    }
}

}  // namespace
