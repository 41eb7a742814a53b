#include "service_api/attribute_copy.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/sample_attribute.hpp"

namespace dp_service {
namespace {

TEST(attribute_copy, keeps_all_texts_and_numbers_after_the_original_is_gone) {
    std::unique_ptr<attribute_copy> copy;
    {
        const std::string id(100, 'i');
        const std::string choices = "Legacy,UEFI and a text that is longer than a short string";
        dp_attribute original = test::sample_choices(id.c_str(), choices.c_str());
        original.num = 2;
        original.flg = 1;
        copy = std::make_unique<attribute_copy>(original);
        EXPECT_NE(copy->get().chc, original.chc);
    }
    EXPECT_EQ(copy->get().id, std::string(100, 'i'));
    EXPECT_STREQ(copy->get().chc, "Legacy,UEFI and a text that is longer than a short string");
    EXPECT_STREQ(copy->get().dsc, "");
    EXPECT_EQ(copy->get().type, DP_TYPE_ENUMERATION);
    EXPECT_EQ(copy->get().num, 2U);
    EXPECT_EQ(copy->get().flg, 1U);
}

}  // namespace
}  // namespace dp_service
