#include "support/attribute_text.hpp"

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

TEST(text_problem, accepts_records_however_they_end) {
    EXPECT_EQ(dp_tools::text_problem(record("X")), "");
    EXPECT_EQ(dp_tools::text_problem(record("X") + record("Y")), "");
    EXPECT_EQ(dp_tools::text_problem("id:A" + item_end + record_end), "");
    EXPECT_EQ(dp_tools::text_problem("id:A"), "");
    EXPECT_EQ(dp_tools::text_problem(record_end + record_end), "");
    EXPECT_EQ(dp_tools::text_problem("xyz:1" + item_end), "");
}

TEST(text_problem, names_the_record_that_is_none) {
    EXPECT_EQ(dp_tools::text_problem(""), "is empty");
    EXPECT_EQ(dp_tools::text_problem("garbage"), "holds record 1, which is not made of items");
    EXPECT_EQ(dp_tools::text_problem(record("X") + "\x01\x02:"),
              "holds record 2, which is not made of items");
    EXPECT_EQ(dp_tools::text_problem(record("X") + "id:" + std::string(16'381, 'x') + record_end),
              "holds record 2, longer than 16383 bytes");
    EXPECT_EQ(dp_tools::text_problem("id:" + std::string(16'380, 'x') + record_end), "");
}

TEST(expand_template, passes_attribute_text_through) {
    const auto expanded = dp_tools::expand_template(record("X"));
    EXPECT_EQ(expanded.text, record("X"));
}

TEST(expand_template, refuses_what_is_neither_image_nor_text) {
    for (const std::string& bytes : {std::string(), std::string("hello"), std::string(8, '\0'),
                                     std::string("\x10\0\0\0\x10\0\0\0abc", 11)}) {
        const auto expanded = dp_tools::expand_template(bytes);
        EXPECT_FALSE(expanded.text.has_value());
        EXPECT_THAT(expanded.error, HasSubstr("neither a whole compressed image"));
    }
}

TEST(configurations, are_listed_once_in_order_of_first_appearance) {
    EXPECT_THAT(dp_tools::configurations(record("Z") + record("A") + record("Z") + record("") +
                                         record("M")),
                ElementsAre("Z", "A", "M"));
    EXPECT_THAT(dp_tools::configurations(""), IsEmpty());
    EXPECT_THAT(dp_tools::configurations("id:A" + item_end), IsEmpty());
}

TEST(configurations, end_at_a_record_that_the_library_could_not_read) {
    EXPECT_THAT(dp_tools::configurations(record("A") + "id:" + std::string(17'000, 'x') +
                                         record_end + record("B")),
                ElementsAre("A"));
}

}  // namespace
