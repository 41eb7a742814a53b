#include "tools/dpctl/names/setting_selection.hpp"

#include <gmock/gmock.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/sample_attribute.hpp"
#include "tools/dpctl/output/report.hpp"

namespace dpctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Two collections, of which one has an attribute without a value.
class two_collections final : public attribute_source {
  public:
    std::vector<std::string> collections() override { return {"Boot", "Memory"}; }

    std::span<const dp_attribute> attributes(const std::string& collection) override {
        return contents_[collection].attributes;
    }

    std::span<const char* const> setting_names(const std::string& collection) override {
        return contents_[collection].names;
    }

  private:
    struct contents {
        std::vector<dp_attribute> attributes;
        std::vector<const char*> names;
    };

    std::map<std::string, contents> contents_{
        {"Boot",
         {{test::sample_choices("Mode", "A,B"), test::sample_string("Order", 0, 9, ""),
           test::sample_string("Empty", 0, 9, "")},
          {"Boot.Mode", "Boot.Order.1", "Boot.Order.2"}}},
        {"Memory", {{test::sample_choices("Speed", "A,B")}, {"Memory.Speed"}}}};
};

class select_settings_test : public testing::Test {
  protected:
    std::vector<std::string> select(const std::vector<std::string>& texts, bool all = false) {
        catalog names(source_);
        return names_of(select_settings(names, texts, all, rep_));
    }

    two_collections source_;
    std::ostringstream out_;
    std::ostringstream err_;
    report rep_{out_, err_, false};
};

TEST_F(select_settings_test, takes_collections_attributes_and_single_settings_once) {
    EXPECT_THAT(select({"Memory", "Order", "Boot.Order.1", "Memory.Speed"}),
                ElementsAre("Memory.Speed", "Boot.Order.1", "Boot.Order.2"));
    EXPECT_THAT(select({"Boot", "Mode"}), ElementsAre("Boot.Mode", "Boot.Order.1", "Boot.Order.2"));
    EXPECT_FALSE(rep_.failed());
}

TEST_F(select_settings_test, takes_patterns_of_names) {
    EXPECT_THAT(select({"Boot.Order*", "*.Speed"}),
                ElementsAre("Boot.Order.1", "Boot.Order.2", "Memory.Speed"));
    EXPECT_THAT(select({"Nothing*"}), IsEmpty());
    EXPECT_TRUE(rep_.failed());
}

TEST_F(select_settings_test, takes_all_that_have_values) {
    EXPECT_THAT(select({}, true),
                ElementsAre("Boot.Mode", "Boot.Order.1", "Boot.Order.2", "Memory.Speed"));
    EXPECT_THAT(select({}), IsEmpty());
}

TEST_F(select_settings_test, reports_unknown_names_and_finds_the_others) {
    EXPECT_THAT(select({"Nope", "Mode"}), ElementsAre("Boot.Mode"));
    EXPECT_THAT(err_.str(), HasSubstr("no collection has an attribute \"Nope\""));
    EXPECT_TRUE(rep_.failed());
}

}  // namespace
}  // namespace dpctl
