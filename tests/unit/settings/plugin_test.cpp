#include "settings/plugin.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "tests/support/settings_model.hpp"
#include "transactions/transaction.hpp"

namespace {

// Records the sub-steps that plug-ins complete.
class recording_transaction final : public dp::transaction {
  public:
    void on_execute_step(dp::registrar&, dp::plugin_list&) override {}
    void on_substep_complete(dp::registrar& reg, dp::plugin* p) override {
        registrars.push_back(&reg);
        plugins.push_back(p);
    }
    void on_transaction_complete(dp::registrar&) override {}
    void on_transaction_event(dp::registrar&) override {}

    std::vector<dp::registrar*> registrars;
    std::vector<dp::plugin*> plugins;
};

}  // namespace

TEST(plugin, has_fixed_type_values_and_names) {
    EXPECT_EQ(dp::plugin::any_type, 0U);
    EXPECT_EQ(dp::plugin::template_owner, 1U);
    EXPECT_EQ(dp::plugin::settings_owner, 2U);
    EXPECT_EQ(dp::plugin::client, 3U);
    EXPECT_STREQ(dp::plugin::map(dp::plugin::any_type), "unknown");
    EXPECT_STREQ(dp::plugin::map(dp::plugin::template_owner), "template_owner");
    EXPECT_STREQ(dp::plugin::map(dp::plugin::settings_owner), "settings_owner");
    EXPECT_STREQ(dp::plugin::map(dp::plugin::client), "client");
    EXPECT_STREQ(dp::plugin::map(static_cast<dp::plugin::types>(4)), "unknown");
    EXPECT_STREQ(dp::plugin::map(static_cast<dp::plugin::types>(0xFFFFFFFF)), "unknown");
}

TEST(plugin, prints_its_name_and_type) {
    std::ostringstream os;
    os << test::plugin("bios", dp::plugin::settings_owner);
    EXPECT_EQ(os.str(), "bios, type= settings_owner");
}

TEST(plugin, completes_its_sub_step_at_once_by_default) {
    test::registrar reg;
    test::plugin p("p");
    recording_transaction trans;
    trans.pending = 1;
    p.process_transaction(reg, &trans);
    EXPECT_EQ(trans.plugins, std::vector<dp::plugin*>{&p});
    EXPECT_EQ(trans.registrars, std::vector<dp::registrar*>{&reg});
    EXPECT_EQ(trans.pending, 0U);
}

TEST(plugin, ignores_events_and_configurations_by_default) {
    test::registrar reg;
    test::plugin p("p");
    test::configuration config("c");
    dp::plugin& base = p;
    base.on_event(reg, dp::plugin::message_event{1, {1, 2, 3}});
    base.on_event(reg, dp::plugin::file_event{dp::plugin::file_event::kinds::written, "/f"});
    base.on_add_configuration(reg, &config);
    base.on_unregister_configuration(reg, &config);
    base.on_remove_configuration(reg, &config);
    EXPECT_EQ(config.version, 0U);
    EXPECT_TRUE(reg.queued.empty());
    EXPECT_EQ(p.source, 0);
}
