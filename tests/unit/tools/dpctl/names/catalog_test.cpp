#include "tools/dpctl/names/catalog.hpp"

#include <gmock/gmock.h>

#include <map>

#include "tests/support/sample_attribute.hpp"

namespace dpctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Collections that a test adds.
class fake_source final : public attribute_source {
  public:
    struct contents {
        std::vector<dp_attribute> attributes;
        std::vector<const char*> names;
    };

    void add(const std::string& collection, std::vector<const char*> attributes,
             std::vector<const char*> setting_names) {
        order_.push_back(collection);
        auto& content = contents_[collection];
        for (const char* const id : attributes) {
            content.attributes.push_back(test::sample_attribute(id, DP_TYPE_ENUMERATION));
        }
        content.names = std::move(setting_names);
    }

    std::vector<std::string> collections() override { return order_; }

    std::span<const dp_attribute> attributes(const std::string& collection) override {
        ++reads[collection];
        return contents_[collection].attributes;
    }

    std::span<const char* const> setting_names(const std::string& collection) override {
        return contents_[collection].names;
    }

    std::map<std::string, int> reads;

  private:
    std::vector<std::string> order_;
    std::map<std::string, contents> contents_;
};

class catalog_test : public testing::Test {
  protected:
    catalog_test() {
        source_.add("Boot", {"Mode", "Delay", "Order"},
                    {"Boot.Mode", "Boot.Delay", "Boot.Order.1", "Boot.Order.2"});
        source_.add("Memory", {"Mode", "Speed", "Di.mm"},
                    {"Memory.Mode", "Memory.Speed", "Memory.Di.mm.4", "Memory.Gone"});
        source_.add("Empty", {}, {});
    }

    // The full name of the setting that is found, or the reason and the suggestions.
    std::string find(const std::string& text) {
        catalog names(source_);
        const auto found = names.find_setting(text);
        if (const auto* const setting = std::get_if<setting_ref>(&found)) {
            return setting->name();
        }
        const auto& unknown = std::get<unknown_name>(found);
        std::string result = unknown.reason;
        for (const auto& suggestion : unknown.suggestions) {
            result += "|" + suggestion;
        }
        return result;
    }

    fake_source source_;
};

TEST_F(catalog_test, finds_a_full_name) {
    EXPECT_EQ(find("Boot.Mode"), "Boot.Mode");
    EXPECT_EQ(find("Boot.Order"), "Boot.Order");
    EXPECT_EQ(find("Boot.Order.2"), "Boot.Order.2");
    EXPECT_EQ(find("Boot.Order.77"), "Boot.Order.77");
}

TEST_F(catalog_test, reads_only_the_collection_of_a_full_name) {
    find("Boot.Mode");
    EXPECT_EQ(source_.reads, (std::map<std::string, int>{{"Boot", 1}}));
}

TEST_F(catalog_test, finds_an_attribute_with_dots) {
    EXPECT_EQ(find("Memory.Di.mm"), "Memory.Di.mm");
    EXPECT_EQ(find("Memory.Di.mm.4"), "Memory.Di.mm.4");
}

TEST_F(catalog_test, finds_an_attribute_of_a_single_collection_without_its_name) {
    EXPECT_EQ(find("Delay"), "Boot.Delay");
    EXPECT_EQ(find("Order.2"), "Boot.Order.2");
    EXPECT_EQ(find("Di.mm.4"), "Memory.Di.mm.4");
}

TEST_F(catalog_test, refuses_an_attribute_of_several_collections_without_a_collection) {
    EXPECT_EQ(find("Mode"),
              "several collections have \"Mode\": Boot and Memory; use Boot.Mode or Memory.Mode");
}

TEST_F(catalog_test, suggests_a_similar_attribute_of_the_collection) {
    EXPECT_EQ(find("Boot.Dealy"), "collection Boot has no attribute \"Dealy\"|Boot.Delay");
    EXPECT_EQ(find("Boot.mode"), "collection Boot has no attribute \"mode\"|Boot.Mode");
}

TEST_F(catalog_test, suggests_the_collection_that_has_the_attribute) {
    EXPECT_EQ(find("Boot.Speed"), "collection Boot has no attribute \"Speed\"|Memory.Speed");
    EXPECT_EQ(find("Boots.Mode"), "there is no collection \"Boots\"|Boot.Mode|Memory.Mode");
}

TEST_F(catalog_test, suggests_a_similar_attribute_without_a_collection) {
    EXPECT_EQ(find("Sped"), "no collection has an attribute \"Sped\"|Memory.Speed");
}

TEST_F(catalog_test, suggests_a_similar_collection) {
    EXPECT_EQ(find("Boots.Xyzzy"), "there is no collection \"Boots\"|Boot");
}

TEST_F(catalog_test, explains_malformed_names) {
    EXPECT_EQ(find(""), "no collection has an attribute \"\"");
    EXPECT_EQ(find("."), "there is no collection \"\"");
    EXPECT_EQ(find("Boot."), "collection Boot has no attribute \"\"");
    EXPECT_EQ(find("Boot"), "no collection has an attribute \"Boot\"");
    EXPECT_EQ(find("\x1b[2J"), "no collection has an attribute \"\\x1b[2J\"");
    EXPECT_EQ(find("Boot.Order."), "collection Boot has no attribute \"Order.\"|Boot.Order");
}

TEST_F(catalog_test, finds_collections) {
    catalog names(source_);
    const auto found = names.find_collection("Memory");
    ASSERT_TRUE(std::holds_alternative<const collection_view*>(found));
    EXPECT_EQ(std::get<const collection_view*>(found)->name(), "Memory");
    const auto unknown = names.find_collection("memroy");
    ASSERT_TRUE(std::holds_alternative<unknown_name>(unknown));
    EXPECT_EQ(std::get<unknown_name>(unknown).reason, "there is no collection \"memroy\"");
    EXPECT_THAT(std::get<unknown_name>(unknown).suggestions, ElementsAre("Memory"));
}

TEST_F(catalog_test, lists_settings_in_the_order_of_the_attributes) {
    catalog names(source_);
    const auto* const boot = std::get<const collection_view*>(names.find_collection("Boot"));
    EXPECT_THAT(names_of(boot->settings()),
                ElementsAre("Boot.Mode", "Boot.Delay", "Boot.Order.1", "Boot.Order.2"));
    EXPECT_TRUE(boot->has_only_instances(boot->attributes()[2]));
    EXPECT_FALSE(boot->has_only_instances(boot->attributes()[0]));
    EXPECT_THAT(names_of(boot->find("Order")->all()), ElementsAre("Boot.Order.1", "Boot.Order.2"));
    EXPECT_THAT(names_of(boot->find("Order.2")->all()), ElementsAre("Boot.Order.2"));
    EXPECT_THAT(names_of(boot->find("Mode")->all()), ElementsAre("Boot.Mode"));
}

TEST_F(catalog_test, lists_attributes_without_a_value) {
    source_.add("New", {"Fresh"}, {});
    catalog names(source_);
    const auto* const fresh = std::get<const collection_view*>(names.find_collection("New"));
    EXPECT_THAT(names_of(fresh->settings()), ElementsAre("New.Fresh"));
    EXPECT_THAT(names_of(fresh->settings_with_values()), IsEmpty());
}

TEST_F(catalog_test, ignores_values_without_an_attribute) {
    catalog names(source_);
    const auto* const memory = std::get<const collection_view*>(names.find_collection("Memory"));
    EXPECT_THAT(names_of(memory->settings_with_values()),
                ElementsAre("Memory.Mode", "Memory.Speed", "Memory.Di.mm.4"));
}

TEST_F(catalog_test, finds_the_first_of_two_attributes_with_the_same_name) {
    source_.add("Twice", {"A", "A"}, {"Twice.A"});
    catalog names(source_);
    const auto* const twice = std::get<const collection_view*>(names.find_collection("Twice"));
    EXPECT_EQ(twice->find("A")->attribute, twice->attributes().data());
}

TEST(catalog, finds_nothing_in_an_empty_source) {
    fake_source source;
    catalog names(source);
    EXPECT_TRUE(names.collections().empty());
    EXPECT_TRUE(std::holds_alternative<unknown_name>(names.find_setting("A.B")));
    EXPECT_TRUE(std::holds_alternative<unknown_name>(names.find_collection("A")));
}

TEST(catalog, finds_each_of_many_attributes_quickly) {
    std::vector<std::string> ids;
    std::vector<std::string> full_names;
    std::vector<const char*> id_texts;
    std::vector<const char*> name_texts;
    constexpr int count = 100'000;
    for (int i = 0; i < count; ++i) {
        ids.push_back("Attribute" + std::to_string(i));
        full_names.push_back("Big." + ids.back());
    }
    for (int i = 0; i < count; ++i) {
        id_texts.push_back(ids[static_cast<std::size_t>(i)].c_str());
        name_texts.push_back(full_names[static_cast<std::size_t>(i)].c_str());
    }
    fake_source source;
    source.add("Big", id_texts, name_texts);
    catalog names(source);
    for (int i = 0; i < count; ++i) {
        ASSERT_TRUE(std::holds_alternative<setting_ref>(
            names.find_setting(full_names[static_cast<std::size_t>(i)])));
    }
    EXPECT_TRUE(std::holds_alternative<unknown_name>(names.find_setting("Big.Atribute99999x")));
}

}  // namespace
}  // namespace dpctl
