#include "batch/cache_updater.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "batch/batch_file_entry.hpp"
#include "batch/batch_file_loader.hpp"
#include "common/log.hpp"
#include "tests/support/settings_model.hpp"
#include "tests/support/test_platform.hpp"

using test::recording_log;

namespace {

class cache_updater : public testing::Test {
  protected:
    cache_updater() {
        config.add_setting(&s);
        reg.configurations = {&config};
    }

    // Reads a line and updates the caches from its entry.
    void update(const std::string& line, dp::registrar* with) {
        std::vector<dp::batch_file_entry> entries;
        dp::batch_file_loader loader(&entries);
        std::istringstream in(line);
        ASSERT_EQ(loader.read_file(in, nullptr), 1);
        dp::cache_updater::process_entry(entries[0], with);
    }

    std::string value(std::uint32_t instance) {
        std::string out;
        return s.get_instance_value(&out, instance) ? out : "unknown";
    }

    test::registrar reg;
    test::configuration config{"A"};
    test::element element;
    dp::setting s{&config, "B", nullptr, &element};
};

}  // namespace

TEST_F(cache_updater, stores_the_output_value_in_the_instance_of_the_entry) {
    update(R"(0 0 t1 get A.B.7 "in" "42")", &reg);
    EXPECT_EQ(value(7), "42");
    EXPECT_EQ(s.cache.size(), 1U);
    EXPECT_EQ(config.version, 1U);
    update(R"(0 0 t1 get A.B.7 "" "43")", &reg);
    EXPECT_EQ(value(7), "43");
}

TEST_F(cache_updater, uses_special_numbers_for_a_missing_or_invalid_instance) {
    update(R"(0 0 t1 get A.B "" "single")", &reg);
    update(R"(0 0 t1 get A.B.x "" "odd")", &reg);
    EXPECT_EQ(value(0xFFFFFFFE), "single");
    EXPECT_EQ(value(0xFFFFFFFF), "odd");
    update(R"(0 0 t1 get A.B.99999999999 "" "too big")", &reg);
    EXPECT_EQ(value(0xFFFFFFFF), "too big");
}

TEST_F(cache_updater, accepts_any_status_and_operation) {
    update(R"(226 0 t1 nonsense A.B.1 "" "v")", &reg);
    EXPECT_EQ(value(1), "v");
}

TEST_F(cache_updater, does_nothing_without_a_registrar_or_a_setting) {
    const recording_log log(0xFFFFFFFB);
    update(R"(0 0 t1 get A.B.7 "" "42")", nullptr);
    update(R"(0 0 t1 get A.C "" "42")", &reg);
    update(R"(0 0 t1 get D.B "" "42")", &reg);
    update(R"(0 0 t1 get B "" "42")", &reg);
    EXPECT_EQ(s.cache.size(), 0U);
    EXPECT_EQ(config.version, 0U);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(cache_updater, logs_stored_values_when_the_top_mask_bit_is_set) {
    recording_log log(dp::log_level::log);
    update(R"(0 0 t1 get A.B.7 "in" "42")", &reg);
    update(R"(0 0 t1 get A.B "in" "")", &reg);
    const std::vector<recording_log::line> expected{{"LOG", " cache_updater: B.7=42"},
                                                    {"LOG", " cache_updater: B="}};
    EXPECT_EQ(log.lines, expected);
    log.mask_value = ~dp::log_level::log & ~4U;
    update(R"(0 0 t1 get A.B.7 "" "43")", &reg);
    EXPECT_EQ(log.lines, expected);
    EXPECT_EQ(value(7), "43");
}
