#include "redfish/resources/bios_resources.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "redfish/resources/resource_paths.hpp"
#include "redfish/resources/system_resources.hpp"
#include "service_api/service_status.hpp"
#include "tests/support/applying_service.hpp"
#include "tests/support/redfish_exchange.hpp"
#include "tests/support/shown_server.hpp"

namespace {

using dp_redfish::gateway;
using dp_redfish::route_table;
using dp_redfish::server_model;
using dp_support::json_value;
using test::redfish_response;
using test::shown_server;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const shown_server::values sample_values{{"Boot.Mode", "UEFI"},   {"Boot.Delay", "5"},
                                         {"Boot.Label", "disk"},  {"Boot.Vendor", "acme"},
                                         {"Ports.Speed.1", "10"}, {"Ports.Speed.2", "20"}};

class bios_resources : public testing::Test {
  protected:
    bios_resources() : bios_resources(test::sample_template(), sample_values) {}

    bios_resources(const std::vector<template_info>& infos, const shown_server::values& values)
        : files(infos, values, values), started_with_(values) {
        add_bios_routes(routes_, model_);
        add_system_routes(routes_, model_);
    }

    void start_service() { service = std::make_unique<test::applying_service>(started_with_); }

    redfish_response get(const std::string& path) { return test::get(gateway_, path); }
    redfish_response patch(const std::string& body, const std::string& etag = {}) {
        return test::send(gateway_, "PATCH", dp_redfish::resource_paths::bios_settings, body, etag);
    }
    redfish_response patch_system(const std::string& body) {
        return test::send(gateway_, "PATCH", dp_redfish::resource_paths::system, body);
    }
    redfish_response post(const std::string& path, const std::string& body = "{}") {
        return test::send(gateway_, "POST", path, body);
    }

    // Runs the operation of a route for a request that was admitted.
    void run(const char* method, const char* path, const std::shared_ptr<dp_redfish::call>& sent) {
        routes_.find(method, path).found->run(sent);
    }

    void log_in(const std::string& user) { access_.next.caller.user = user; }

    // A value of the pending or the current ones, as JSON text.
    std::string value(const std::string& path, const std::string& name) {
        const auto response = get(path);
        const auto* const attributes = response.body.find("Attributes");
        const auto* const found = attributes == nullptr ? nullptr : attributes->find(name);
        return found == nullptr ? "(none)" : to_text(*found, dp_support::json_layout::one_line);
    }
    std::string pending(const std::string& name) {
        return value(dp_redfish::resource_paths::bios_settings, name);
    }
    std::string current(const std::string& name) {
        return value(dp_redfish::resource_paths::bios, name);
    }

    shown_server files;
    std::unique_ptr<test::applying_service> service;

  private:
    shown_server::values started_with_;
    server_model model_;
    route_table routes_;
    test::fixed_access access_;
    gateway gateway_{routes_, access_};
};

// --- GET

TEST_F(bios_resources, shows_values_with_the_types_of_their_attributes) {
    EXPECT_EQ(pending("Mode"), "\"UEFI\"");
    EXPECT_EQ(pending("Delay"), "5");
    EXPECT_EQ(pending("Speed_2"), "20");
    EXPECT_EQ(pending("Speed_3"), "null");
    EXPECT_EQ(current("Label"), "\"disk\"");
}

TEST_F(bios_resources, shows_changes_of_others_at_once) {
    EXPECT_EQ(pending("Delay"), "5");
    for (int i = 10; i < 60; i += 5) {
        auto values = sample_values;
        values["Boot.Delay"] = std::to_string(i);
        shown_server::set_pending(values);
        ASSERT_EQ(pending("Delay"), std::to_string(i));
    }
    EXPECT_EQ(current("Delay"), "5");
}

TEST_F(bios_resources, shows_long_values_whole) {
    auto values = sample_values;
    values["Boot.Label"] = std::string(500, 'x');
    shown_server::set_pending(values);
    EXPECT_EQ(pending("Label"), '"' + std::string(500, 'x') + '"');
}

TEST_F(bios_resources, changes_the_etag_with_the_values) {
    const auto first = get("/redfish/v1/Systems/system/Bios/Settings");
    EXPECT_EQ(first.body.find("@odata.etag")->text, first.header("ETag"));
    shown_server::set_pending({{"Boot.Delay", "10"}});
    EXPECT_NE(get("/redfish/v1/Systems/system/Bios/Settings").header("ETag"), first.header("ETag"));
    shown_server::set_pending(sample_values);
    EXPECT_EQ(get("/redfish/v1/Systems/system/Bios/Settings").header("ETag"), first.header("ETag"));
}

TEST_F(bios_resources, refers_to_the_pending_values_and_the_last_apply) {
    const auto bios = get("/redfish/v1/Systems/system/Bios");
    const auto* const settings = bios.body.find("@Redfish.Settings");
    ASSERT_NE(settings, nullptr);
    EXPECT_EQ(settings->find("SettingsObject")->items[0].text,
              "/redfish/v1/Systems/system/Bios/Settings");
    EXPECT_EQ(settings->find("ETag")->text, bios.header("ETag"));
    EXPECT_EQ(settings->find("Messages")->items.size(), 1U);
    EXPECT_EQ(settings->find("SupportedApplyTimes")->items[0].text, "OnReset");
}

// --- PATCH

TEST_F(bios_resources, stores_all_values_of_a_patch_before_it_answers) {
    start_service();
    const auto response = patch(
        R"({"Attributes": {"Mode": "Legacy", "Delay": 10, "Label": "say \"x\" \\", "Speed_3": 7}})");
    EXPECT_EQ(response.status, 200U) << response.text;
    EXPECT_EQ(service->batches(), 1);
    EXPECT_EQ(response.body.find("Attributes")->find("Delay")->integer, 10);
    EXPECT_EQ(pending("Mode"), "\"Legacy\"");
    EXPECT_EQ(pending("Label"), R"("say \"x\" \\")");
    EXPECT_EQ(pending("Speed_3"), "7");
    EXPECT_EQ(current("Mode"), "\"UEFI\"");
    EXPECT_EQ(response.header("ETag"),
              get("/redfish/v1/Systems/system/Bios/Settings").header("ETag"));
}

TEST_F(bios_resources, reports_every_problem_of_a_patch_and_changes_nothing) {
    start_service();
    const auto response = patch(R"({"Attributes": {"Mode": "Legacy", "NoSuch": 1, "Delay": "10",
        "Label": 5, "Vendor": "other", "Speed_1": 5000, "Speed_2": -1, "Speed_3": 1.5,
        "Speed_4": 99999999999999999999, "Delay ": 1}, "Id": "x", "Nonsense": {}})");
    EXPECT_EQ(response.status, 400U);
    EXPECT_THAT(response.messages(),
                UnorderedElementsAre("PropertyUnknown", "PropertyValueTypeError",
                                     "PropertyValueTypeError", "PropertyNotWritable",
                                     "PropertyValueOutOfRange", "PropertyValueOutOfRange",
                                     "PropertyValueTypeError", "PropertyValueOutOfRange",
                                     "PropertyUnknown", "PropertyNotWritable", "PropertyUnknown"));
    EXPECT_THAT(
        response.pointers(),
        UnorderedElementsAre("/Attributes/NoSuch", "/Attributes/Delay", "/Attributes/Label",
                             "/Attributes/Vendor", "/Attributes/Speed_1", "/Attributes/Speed_2",
                             "/Attributes/Speed_3", "/Attributes/Speed_4", "/Attributes/Delay ",
                             "/Id", "/Nonsense"));
    EXPECT_EQ(service->batches(), 0);
    EXPECT_EQ(pending("Mode"), "\"UEFI\"");
}

TEST_F(bios_resources, names_the_reason_of_each_limit) {
    start_service();
    EXPECT_THAT(patch(R"({"Attributes": {"Mode": "legacy"}})").messages(),
                ElementsAre("PropertyValueNotInList"));
    EXPECT_THAT(patch(R"({"Attributes": {"Delay": 7}})").messages(),
                ElementsAre("PropertyValueOutOfRange"));
    EXPECT_THAT(patch(R"({"Attributes": {"Delay": 65}})").text, HasSubstr("0 to 60"));
    EXPECT_THAT(patch(R"({"Attributes": {"Label": "123456789012345678901"}})").messages(),
                ElementsAre("StringValueTooLong"));
    EXPECT_THAT(patch(R"({"Attributes": {"Label": "a\nb"}})").messages(),
                ElementsAre("PropertyValueFormatError"));
    EXPECT_THAT(patch(R"({"Attributes": {"Label": null}})").messages(),
                ElementsAre("PropertyValueTypeError"));
    EXPECT_THAT(patch(R"({"Attributes": {"Label": "a", "Label": "b"}})").messages(),
                ElementsAre("PropertyDuplicate"));
    EXPECT_EQ(service->batches(), 0);
}

TEST_F(bios_resources, refuses_a_patch_without_values) {
    EXPECT_THAT(patch("{}").messages(), ElementsAre("EmptyJSON"));
    EXPECT_THAT(patch(R"({"Attributes": {}})").messages(), ElementsAre("NoOperation"));
    EXPECT_THAT(patch(R"({"@odata.id": "/x"})").messages(), ElementsAre("NoOperation"));
    EXPECT_THAT(patch(R"({"Attributes": []})").messages(), ElementsAre("PropertyValueTypeError"));
}

TEST_F(bios_resources, applies_settings_at_the_next_reset_only) {
    start_service();
    EXPECT_EQ(patch(R"({"Attributes": {"Delay": 10},
                        "@Redfish.SettingsApplyTime": {"ApplyTime": "OnReset"}})")
                  .status,
              200U);
    EXPECT_THAT(patch(R"({"Attributes": {"Delay": 15},
                          "@Redfish.SettingsApplyTime": {"ApplyTime": "Immediate"}})")
                    .messages(),
                ElementsAre("PropertyValueNotInList"));
    EXPECT_EQ(pending("Delay"), "10");
}

TEST_F(bios_resources, does_not_need_the_service_for_values_that_are_pending) {
    EXPECT_EQ(patch(R"({"Attributes": {"Mode": "UEFI", "Vendor": "acme", "Delay": 5}})").status,
              200U);
}

TEST_F(bios_resources, accepts_what_it_shows) {
    shown_server::set_pending({{"Boot.Mode", "UEFI"}, {"Boot.Delay", "soon"}});
    const auto shown = get(dp_redfish::resource_paths::bios_settings);
    const std::string all =
        to_text(*shown.body.find("Attributes"), dp_support::json_layout::one_line);
    EXPECT_THAT(all, HasSubstr("null"));
    EXPECT_THAT(all, HasSubstr("soon"));
    EXPECT_EQ(patch(R"({"Attributes": )" + all + "}").status, 200U);
    EXPECT_THAT(patch(R"({"Attributes": {"Mode": null, "Delay": "later"}})").messages(),
                ElementsAre("PropertyValueTypeError", "PropertyValueTypeError"));
}

TEST_F(bios_resources, recognises_the_order_of_a_list_in_both_of_its_forms) {
    shown_server::set_pending({{"Boot.Order", "[value='HDD',order='2'],[value='PXE',order='1']"}});
    EXPECT_EQ(pending("Order"), "\"PXE,HDD\"");
    EXPECT_EQ(patch(R"({"Attributes": {"Order": "PXE,HDD"}})").status, 200U);
    EXPECT_EQ(patch(R"({"Attributes":
                        {"Order": "[value='HDD',order='2'],[value='PXE',order='1']"}})")
                  .status,
              200U);
}

TEST_F(bios_resources, is_unavailable_without_the_settings_service) {
    const auto response = patch(R"({"Attributes": {"Delay": 10}})");
    EXPECT_EQ(response.status, 503U);
    EXPECT_NE(response.header("Retry-After"), "");
    EXPECT_EQ(get("/redfish/v1/Systems/system/Bios").status, 200U);
    EXPECT_THAT(patch(R"({"Attributes": {"Delay": 7}})").messages(),
                ElementsAre("PropertyValueOutOfRange"))
        << "what is wrong is reported anyway";
}

TEST_F(bios_resources, changes_only_the_values_that_the_client_knows) {
    start_service();
    const std::string etag = get("/redfish/v1/Systems/system/Bios/Settings").header("ETag");
    EXPECT_EQ(patch(R"({"Attributes": {"Delay": 10}})", etag).status, 200U);
    EXPECT_EQ(patch(R"({"Attributes": {"Delay": 15}})", etag).status, 412U);
    EXPECT_EQ(pending("Delay"), "10");
}

TEST_F(bios_resources, does_not_lose_a_change_that_is_made_between_the_check_and_the_request) {
    start_service();
    const std::string etag = get("/redfish/v1/Systems/system/Bios/Settings").header("ETag");
    service->before_next_request = [&] { service->set("Boot.Mode", "Legacy"); };
    EXPECT_EQ(patch(R"({"Attributes": {"Delay": 10}})", etag).status, 412U);
    EXPECT_EQ(pending("Delay"), "5");
    service->before_next_request = [&] { service->set("Boot.Label", "other"); };
    EXPECT_EQ(patch(R"({"Attributes": {"Delay": 10}})").status, 200U) << "it is planned again";
    EXPECT_EQ(pending("Delay"), "10");
    EXPECT_EQ(pending("Label"), "\"other\"");
    EXPECT_EQ(pending("Mode"), "\"Legacy\"");
}

TEST_F(bios_resources, takes_everything_back_when_the_service_refuses_a_part) {
    start_service();
    service->refusals["Boot.Delay"] = dp_service::service_status::out_of_range;
    const auto response = patch(R"({"Attributes": {"Mode": "Legacy", "Delay": 10, "Speed_3": 7}})");
    EXPECT_EQ(response.status, 400U);
    EXPECT_THAT(response.messages(), ElementsAre("PropertyValueOutOfRange"));
    EXPECT_EQ(pending("Mode"), "\"UEFI\"");
    EXPECT_EQ(pending("Speed_3"), "null");
    service->refusals["Boot.Delay"] = dp_service::service_status::not_persisted;
    EXPECT_EQ(patch(R"({"Attributes": {"Delay": 10}})").status, 507U);
}

TEST_F(bios_resources, says_what_became_of_a_change_when_the_service_ends) {
    start_service();
    service->dies = true;
    EXPECT_EQ(patch(R"({"Attributes": {"Delay": 10}})").status, 200U) << "it is in the file";
    EXPECT_EQ(pending("Delay"), "10");
}

// --- actions

TEST_F(bios_resources, resets_all_values_that_can_be_changed) {
    start_service();
    ASSERT_EQ(patch(R"({"Attributes": {"Mode": "Legacy", "Delay": 60}})").status, 200U);
    EXPECT_EQ(post("/redfish/v1/Systems/system/Bios/Actions/Bios.ResetBios").status, 204U);
    EXPECT_EQ(pending("Mode"), "\"UEFI\"");
    EXPECT_EQ(pending("Delay"), "5");
    EXPECT_EQ(pending("Speed_2"), "10");
    EXPECT_EQ(pending("Speed_3"), "null");
}

TEST_F(bios_resources, refuses_actions_that_it_does_not_have) {
    EXPECT_THAT(post("/redfish/v1/Systems/system/Bios/Actions/Bios.ChangePassword").messages(),
                ElementsAre("ActionNotSupported"));
    EXPECT_THAT(
        post("/redfish/v1/Systems/system/Bios/Actions/Bios.ResetBios", R"({"a":1})").messages(),
        ElementsAre("ActionParameterUnknown"));
    EXPECT_EQ(post("/redfish/v1/Systems/system/Bios/Actions/Bios.ResetBios").status, 503U);
}

TEST_F(bios_resources, overrides_no_boot_device) {
    const auto system = get(dp_redfish::resource_paths::system);
    const json_value* const boot = system.body.find("Boot");
    ASSERT_NE(boot, nullptr);
    EXPECT_EQ(boot->find("BootSourceOverrideEnabled")->text, "Disabled");
    EXPECT_EQ(boot->find("BootSourceOverrideTarget@Redfish.AllowableValues")->items[0].text,
              "None");

    const auto as_it_is = patch_system(R"({"Boot": {"BootSourceOverrideEnabled": "Disabled"}})");
    EXPECT_EQ(as_it_is.status, 200U) << as_it_is.text;
    EXPECT_EQ(as_it_is.body.find("Id")->text, "system");
    const auto refused = patch_system(
        R"({"Boot": {"BootSourceOverrideEnabled": "Once", "BootSourceOverrideTarget": 1, "x": 1}})");
    EXPECT_EQ(refused.status, 400U);
    EXPECT_THAT(refused.messages(),
                ElementsAre("PropertyValueNotInList", "PropertyValueTypeError", "PropertyUnknown"));
    EXPECT_THAT(refused.text, HasSubstr("/Boot/BootSourceOverrideEnabled"));
    EXPECT_THAT(patch_system(R"({"Name": "x", "AssetTag": "y", "z": 1})").messages(),
                ElementsAre("PropertyNotWritable", "PropertyNotWritable", "PropertyUnknown"));
    EXPECT_THAT(patch_system(R"({"Boot": 1})").messages(), ElementsAre("PropertyValueTypeError"));
    EXPECT_THAT(patch_system(R"({"Boot": {}})").messages(), ElementsAre("NoOperation"));
}

TEST_F(bios_resources, tells_the_settings_service_which_user_asked) {
    start_service();
    ASSERT_EQ(patch(R"({"Attributes": {"Delay": 60}})").status, 200U);
    EXPECT_EQ(service->last_on_behalf_of(), "admin");
    log_in("eve");
    EXPECT_EQ(post("/redfish/v1/Systems/system/Actions/ComputerSystem.Reset",
                   R"({"ResetType": "ForceRestart"})")
                  .status,
              204U);
    EXPECT_EQ(service->last_on_behalf_of(), "eve");
}

TEST_F(bios_resources, changes_nothing_when_the_operation_was_cancelled_before_it_began) {
    start_service();
    bool is_answered = false;
    const auto cancelled = std::make_shared<dp_redfish::call>();
    cancelled->request = std::make_shared<dp_redfish::http_request>();
    cancelled->document = dp_support::parse_json(R"({"Attributes": {"Delay": 60}})").root;
    cancelled->respond = [&](const dp_redfish::answer&) { is_answered = true; };
    cancelled->begin = [] { return false; };
    run("PATCH", dp_redfish::resource_paths::bios_settings, cancelled);
    // The next one, which is carried out after it.
    ASSERT_EQ(patch(R"({"Attributes": {"Label": "net"}})").status, 200U);
    EXPECT_FALSE(is_answered);
    EXPECT_EQ(pending("Delay"), "5");
}

TEST_F(bios_resources, shows_what_identifies_the_server) {
    const auto shown = [this](const char* name) {
        const auto system = get(dp_redfish::resource_paths::system);
        const json_value* const found = system.body.find(name);
        return found == nullptr ? "(none)" : found->text;
    };
    EXPECT_EQ(shown("BiosVersion"), "B1");
    for (const char* const name : {"UUID", "HostName", "SerialNumber", "Model"}) {
        EXPECT_EQ(shown(name), "(none)") << name;
    }
    const std::string file = test::root() + "/var/dp/vpd.txt";
    test::write_file(file,
                     "UEFIID=B2\nUUID=4c4c4544-0042-4a10-8031-B4C04F4D4D32\nHostName=node-001\n"
                     "AssetTag=\nSerialNumber=A=1\nModel=\xff\nManufacturer=M\303\274ller\n"
                     "SKU=S\nPartNumber=P\nOther=x\n");
    EXPECT_EQ(shown("BiosVersion"), "B2");
    EXPECT_EQ(shown("UUID"), "4c4c4544-0042-4a10-8031-B4C04F4D4D32");
    EXPECT_EQ(shown("HostName"), "node-001");
    EXPECT_EQ(shown("AssetTag"), "(none)") << "an empty text is no tag";
    EXPECT_EQ(shown("SerialNumber"), "A=1");
    EXPECT_EQ(shown("Model"), "(none)") << "not UTF-8";
    EXPECT_EQ(shown("Manufacturer"), "M\303\274ller");
    EXPECT_EQ(shown("Other"), "(none)");
    test::write_file(file, "UUID=4c4c4544-0042-4a10-8031-B4C04F4D4D3\n");
    EXPECT_EQ(shown("UUID"), "(none)") << "not a UUID";
}

TEST_F(bios_resources, makes_pending_values_current_by_a_reset_of_the_system) {
    start_service();
    ASSERT_EQ(patch(R"({"Attributes": {"Delay": 60}})").status, 200U);
    const std::string action = "/redfish/v1/Systems/system/Actions/ComputerSystem.Reset";
    EXPECT_EQ(post(action, R"({"ResetType": "ForceRestart"})").status, 204U);
    EXPECT_EQ(service->restarts(), 1);
    EXPECT_EQ(current("Delay"), "60");
    EXPECT_THAT(post(action).messages(), ElementsAre("ActionParameterMissing"));
    EXPECT_THAT(post(action, R"({"ResetType": "Nmi"})").messages(),
                ElementsAre("ActionParameterValueNotInList"));
    EXPECT_THAT(post(action, R"({"ResetType": 1, "x": 2})").messages(),
                ElementsAre("ActionParameterValueTypeError", "ActionParameterUnknown"));
    EXPECT_EQ(service->restarts(), 1);
}

// --- with a registry

const char* const sample_registry =
    R"({"@odata.type": "#AttributeRegistry.v1_3_2.AttributeRegistry",
 "Id": "SampleRegistry", "Language": "en", "Name": "R", "OwningEntity": "O",
 "RegistryVersion": "1.2.3", "RegistryEntries": {"Attributes": [
  {"AttributeName": "Profile", "Type": "Enumeration", "DefaultValue": "Fast",
   "Value": [{"ValueName": "Fast"}, {"ValueName": "Custom"}]},
  {"AttributeName": "Turbo", "Type": "Boolean", "DefaultValue": true},
  {"AttributeName": "Limit", "Type": "Integer", "LowerBound": 0, "UpperBound": 100,
   "DefaultValue": 5},
  {"AttributeName": "Secret", "Type": "Password"},
  {"AttributeName": "Asset", "Type": "String", "DefaultValue": "", "MaxLength": 20,
   "IsSystemUniqueProperty": true}],
 "Dependencies": [
  {"DependencyFor": "Limit", "Type": "Map", "Dependency": {"MapFrom": [{"MapFromAttribute":
   "Profile", "MapFromCondition": "NEQ", "MapFromProperty": "CurrentValue", "MapFromValue":
   "Custom"}], "MapToAttribute": "Limit", "MapToProperty": "ReadOnly", "MapToValue": true}},
  {"DependencyFor": "Limit", "Type": "Map", "Dependency": {"MapFrom": [{"MapFromAttribute":
   "Turbo", "MapFromCondition": "EQU", "MapFromProperty": "CurrentValue", "MapFromValue":
   false}], "MapToAttribute": "Limit", "MapToProperty": "UpperBound", "MapToValue": 50}}]}})";

class bios_resources_with_registry : public bios_resources {
  protected:
    bios_resources_with_registry()
        : bios_resources({test::choice("Main", "Profile", "Fast", "Fast,Custom"),
                          test::choice("Main", "Turbo", "True", "False,True"),
                          test::number("Main", "Limit", "5", 0, 100, 1),
                          test::text("Main", "Secret", "", 0, 20, ""),
                          test::text("Main", "Asset", "", 0, 20, "")},
                         {{"Main.Profile", "Fast"},
                          {"Main.Turbo", "True"},
                          {"Main.Limit", "5"},
                          {"Main.Secret", "hunter2"},
                          {"Main.Asset", "A-17"}}) {
        shown_server::set_registry(sample_registry);
        start_service();
    }
};

TEST_F(bios_resources_with_registry, types_booleans) {
    EXPECT_EQ(pending("Turbo"), "true");
    EXPECT_EQ(patch(R"({"Attributes": {"Turbo": false}})").status, 200U);
    EXPECT_EQ(pending("Turbo"), "false");
    EXPECT_THAT(patch(R"({"Attributes": {"Turbo": "True"}})").messages(),
                ElementsAre("PropertyValueTypeError"));
    EXPECT_EQ(get("/redfish/v1/Systems/system/Bios").body.find("AttributeRegistry")->text,
              "SampleRegistry");
}

TEST_F(bios_resources_with_registry, refuses_what_a_dependency_forbids) {
    const auto fixed = patch(R"({"Attributes": {"Limit": 10}})");
    EXPECT_THAT(fixed.messages(), ElementsAre("PropertyNotWritable"));
    EXPECT_THAT(fixed.text, HasSubstr("Profile is not Custom"));
    EXPECT_EQ(patch(R"({"Attributes": {"Profile": "Custom", "Turbo": false}})").status, 200U);
    const auto bounded = patch(R"({"Attributes": {"Limit": 80}})");
    EXPECT_THAT(bounded.messages(), ElementsAre("PropertyValueExternalConflict"));
    EXPECT_THAT(bounded.pointers(), ElementsAre("/Attributes/Limit"));
}

TEST_F(bios_resources_with_registry, accepts_what_other_values_of_the_batch_permit) {
    EXPECT_EQ(patch(R"({"Attributes": {"Limit": 10, "Profile": "Custom"}})").status, 200U);
    EXPECT_EQ(pending("Limit"), "10");
}

TEST_F(bios_resources_with_registry, a_reset_keeps_what_identifies_the_server) {
    ASSERT_EQ(patch(R"({"Attributes": {"Asset": "A-18", "Turbo": false}})").status, 200U);
    EXPECT_EQ(post("/redfish/v1/Systems/system/Bios/Actions/Bios.ResetBios").status, 204U);
    EXPECT_EQ(pending("Turbo"), "true");
    EXPECT_EQ(pending("Asset"), "\"A-18\"");
}

TEST_F(bios_resources_with_registry, never_shows_a_password) {
    EXPECT_EQ(pending("Secret"), "null");
    EXPECT_EQ(current("Secret"), "null");
    EXPECT_EQ(patch(R"({"Attributes": {"Secret": null}})").status, 200U) << "remains as it is";
    const auto response = patch(R"({"Attributes": {"Secret": "a very long pass phrase, indeed"}})");
    EXPECT_THAT(response.messages(), ElementsAre("StringValueTooLong"));
    EXPECT_EQ(response.text.find("pass phrase"), std::string::npos);
}

}  // namespace
