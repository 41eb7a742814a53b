#include "support/template_expansion.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "bios/template_info.hpp"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string item_end(1, template_info::item_end);
const std::string record_end(1, template_info::record_end);

std::string record(const std::string& configuration) {
    return "id:A" + item_end + "cfg:" + configuration + item_end + record_end + "\n";
}

TEST(check_template_text, accepts_template_records_however_they_end) {
    EXPECT_TRUE(dp_support::check_template_text(record("X")));
    EXPECT_TRUE(dp_support::check_template_text(record("X") + record("Y")));
    EXPECT_TRUE(dp_support::check_template_text("id:A" + item_end + record_end));
    EXPECT_TRUE(dp_support::check_template_text("id:A"));
    EXPECT_TRUE(dp_support::check_template_text(record_end + record_end));
    EXPECT_TRUE(dp_support::check_template_text("xyz:1" + item_end));
}

TEST(check_template_text, names_the_invalid_template_record) {
    EXPECT_EQ(dp_support::check_template_text("").reason(), "is empty");
    EXPECT_EQ(dp_support::check_template_text("garbage").reason(),
              "contains record 1, which does not consist of items");
    EXPECT_EQ(dp_support::check_template_text(record("X") + "\x01\x02:").reason(),
              "contains record 2, which does not consist of items");
    EXPECT_EQ(
        dp_support::check_template_text(record("X") + "id:" + std::string(16'381, 'x') + record_end)
            .reason(),
        "contains record 2, which is longer than 16383 bytes");
    EXPECT_TRUE(dp_support::check_template_text("id:" + std::string(16'380, 'x') + record_end));
}

TEST(expand_template, passes_attribute_text_through) {
    const auto expanded = dp_support::expand_template(record("X"));
    ASSERT_TRUE(expanded);
    EXPECT_EQ(*expanded, record("X"));
}

TEST(expand_template, refuses_bytes_that_are_neither_image_nor_text) {
    for (const std::string& bytes : {std::string(), std::string("hello"), std::string(8, '\0'),
                                     std::string("\x10\0\0\0\x10\0\0\0abc", 11)}) {
        const auto expanded = dp_support::expand_template(bytes);
        EXPECT_FALSE(expanded);
        EXPECT_THAT(expanded.reason(), HasSubstr("neither a complete compressed image"));
    }
}

TEST(configuration_names, are_listed_once_in_order_of_first_appearance) {
    EXPECT_THAT(dp_support::configuration_names(record("Z") + record("A") + record("Z") +
                                                record("") + record("M")),
                ElementsAre("Z", "A", "M"));
    EXPECT_THAT(dp_support::configuration_names(""), IsEmpty());
    EXPECT_THAT(dp_support::configuration_names("id:A" + item_end), IsEmpty());
}

TEST(configuration_names, end_at_a_record_that_the_library_does_not_read) {
    EXPECT_THAT(dp_support::configuration_names(record("A") + "id:" + std::string(17'000, 'x') +
                                                record_end + record("B")),
                ElementsAre("A"));
}

TEST(attribute_names, are_listed_in_the_order_of_the_records) {
    const std::string other = "id:B" + item_end + record_end;
    const std::string empty = "dsc:x" + item_end + record_end;
    EXPECT_THAT(dp_support::attribute_names(other + "id:A" + item_end + "cfg:C" + item_end +
                                            record_end + empty + other),
                ElementsAre("B", "A", "B"));
    EXPECT_THAT(dp_support::attribute_names(other + "id:" + std::string(17'000, 'x') + record_end),
                ElementsAre("B"));
}

}  // namespace
