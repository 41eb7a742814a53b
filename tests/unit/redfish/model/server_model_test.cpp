#include "redfish/model/server_model.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <vector>

#include "support/json.hpp"
#include "tests/support/applying_service.hpp"
#include "tests/support/shown_server.hpp"

namespace {

using dp_redfish::server_model;
using dp_redfish::snapshot_pointer;
using test::shown_server;

class server_model_test : public testing::Test {
  protected:
    shown_server files{test::sample_template(),
                       {{"Boot.Mode", "UEFI"}, {"Boot.Delay", "5"}},
                       {{"Boot.Mode", "Legacy"}}};
    server_model model;

    static std::string value(const snapshot_pointer& server, const std::string& name) {
        const auto& text = server->pending[server->catalog->by_name.at(name)];
        return text ? *text : "(none)";
    }
};

TEST_F(server_model_test, reads_values_names_and_product_data) {
    const auto server = model.read_now();
    ASSERT_NE(server, nullptr);
    EXPECT_EQ(value(server, "Mode"), "UEFI");
    EXPECT_EQ(value(server, "Speed_4"), "(none)");
    EXPECT_EQ(server->current[server->catalog->by_name.at("Mode")], "Legacy");
    EXPECT_EQ(server->product_data.at("UEFIID"), "B1");
    EXPECT_NE(server->pending_version, "");
    EXPECT_NE(server->pending_version, server->current_version);
}

TEST_F(server_model_test, reads_nothing_again_while_no_file_changes) {
    const auto first = model.read_now();
    EXPECT_EQ(model.read_now(), first);
    shown_server::set_pending({{"Boot.Mode", "Legacy"}});
    const auto second = model.read_now();
    EXPECT_NE(second, first);
    EXPECT_EQ(second->catalog, first->catalog);
    EXPECT_EQ(value(second, "Mode"), "Legacy");
    EXPECT_EQ(value(first, "Mode"), "UEFI") << "a snapshot never changes";
}

TEST_F(server_model_test, makes_a_registry_of_the_template) {
    const auto server = model.read_now();
    const auto registry = dp_support::parse_json(*server->catalog->registry_text).root;
    EXPECT_EQ(server->catalog->registry, nullptr);
    const auto& attributes = registry.find("RegistryEntries")->find("Attributes")->items;
    ASSERT_EQ(attributes.size(), server->catalog->settings.size());
    EXPECT_EQ(attributes[0].find("AttributeName")->text, "Mode");
    EXPECT_EQ(attributes[0].find("Type")->text, "Enumeration");
    EXPECT_EQ(attributes[0].find("Value")->items.at(1).find("ValueName")->text, "Legacy");
    EXPECT_EQ(attributes[1].find("UpperBound")->integer, 60);
    EXPECT_EQ(attributes[3].find("ReadOnly")->truth, true);
}

TEST_F(server_model_test, ignores_the_registry_of_another_template) {
    shown_server::set_registry(R"({"RegistryEntries": {"Attributes": [
        {"AttributeName": "Mode", "Type": "String"}]}})");
    EXPECT_EQ(model.read_now()->catalog->registry, nullptr);
    shown_server::set_registry("{");
    EXPECT_EQ(model.read_now()->catalog->registry, nullptr);
}

TEST_F(server_model_test, has_nothing_without_files) {
    test::clean_root();
    const auto server = model.read_now();
    ASSERT_NE(server, nullptr);
    EXPECT_TRUE(server->catalog->settings.empty());
    EXPECT_EQ(server->pending_version, "");
    EXPECT_TRUE(server->history->is_empty());
}

TEST_F(server_model_test, lets_readers_pass_a_change_that_waits) {
    std::promise<void> release;
    std::promise<void> running;
    model.change([&](dp_service::settings_client&) {
        running.set_value();
        release.get_future().wait();
    });
    running.get_future().wait();
    shown_server::set_pending({{"Boot.Mode", "Legacy"}});
    EXPECT_EQ(value(model.read_now(), "Mode"), "Legacy");
    release.set_value();
    model.stop();  // the thread uses the promises
}

TEST_F(server_model_test, refuses_changes_when_too_many_wait) {
    std::promise<void> release;
    auto released = release.get_future().share();
    int accepted = 0;
    while (model.change([released](dp_service::settings_client&) { released.wait(); })) {
        ASSERT_LT(++accepted, 1000);
    }
    EXPECT_GE(accepted, 64);
    release.set_value();
}

TEST_F(server_model_test, knows_whether_the_settings_service_runs) {
    EXPECT_FALSE(server_model::has_settings_service());
    const test::applying_service service({});
    EXPECT_TRUE(server_model::has_settings_service());
}

}  // namespace
