#include "settings/configuration.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/settings_model.hpp"

namespace {

class recording_callback final : public dp::configuration::settings_callback {
  public:
    void operator()(dp::setting* s, int arg) override { calls.emplace_back(s, arg); }
    std::vector<std::pair<dp::setting*, int>> calls;
};

}  // namespace

TEST(configuration, starts_empty_and_unchanged) {
    const test::configuration config("BIOS");
    EXPECT_EQ(config.name, "BIOS");
    EXPECT_EQ(config.version, 0U);
    EXPECT_EQ(config.changed, 0U);
    EXPECT_TRUE(config.settings.empty());
    EXPECT_TRUE(config.records.empty());
}

TEST(configuration, prints_its_name) {
    std::ostringstream os;
    os << test::configuration("BIOS");
    EXPECT_EQ(os.str(), "BIOS");
}

TEST(configuration, keeps_the_first_of_two_settings_with_one_name) {
    test::configuration config("c");
    dp::setting first(&config, "s", nullptr, nullptr);
    dp::setting second(&config, "s", nullptr, nullptr);
    config.add_setting(&first);
    config.add_setting(&second);
    config.add_setting(&first);
    EXPECT_EQ(config.settings.size(), 1U);
    EXPECT_EQ(config.find_setting("s"), &first);
}

TEST(configuration, finds_settings_by_exact_name) {
    test::configuration config("c");
    dp::setting s(&config, "Boot.Mode", nullptr, nullptr);
    config.add_setting(&s);
    EXPECT_EQ(config.find_setting("Boot.Mode"), &s);
    for (const char* other : {"", "Boot", "boot.mode", "Boot.Mode ", "Boot.Modes"}) {
        EXPECT_EQ(config.find_setting(other), nullptr) << other;
    }
}

TEST(configuration, enumerates_settings_in_byte_order_of_their_names) {
    test::registrar reg;
    test::configuration config("c");
    const std::vector<std::string> sorted{"", "A", "B", "a", "a.b", "a10", "a2", "\x80", "\xFF"};
    std::vector<std::unique_ptr<dp::setting>> owned;
    for (auto name = sorted.rbegin(); name != sorted.rend(); ++name) {
        owned.push_back(std::make_unique<dp::setting>(&config, *name, nullptr, nullptr));
        config.add_setting(owned.back().get());
    }
    recording_callback callback;
    config.enumerate_settings(reg, &callback, 42);
    ASSERT_EQ(callback.calls.size(), sorted.size());
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        EXPECT_EQ(callback.calls[i].first->name, sorted[i]);
        EXPECT_EQ(callback.calls[i].second, 42);
    }
}

TEST(configuration, loads_nothing_by_default) {
    test::registrar reg;
    test::configuration config("c");
    config.load_settings(reg);
    EXPECT_TRUE(config.settings.empty());
}

TEST(configuration, counts_only_the_first_change_until_the_owner_clears_it) {
    test::configuration config("c");
    config.count_change();
    EXPECT_EQ(config.version, 1U);
    EXPECT_EQ(config.changed, 1U);
    config.count_change();
    config.count_change();
    EXPECT_EQ(config.version, 1U);
    config.changed = 0;
    config.count_change();
    EXPECT_EQ(config.version, 2U);
}

TEST(configuration, wraps_its_version_around) {
    test::configuration config("c");
    config.version = 0xFFFFFFFF;
    config.count_change();
    EXPECT_EQ(config.version, 0U);
}
