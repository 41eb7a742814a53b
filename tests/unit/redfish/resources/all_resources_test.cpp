#include "redfish/resources/all_resources.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "redfish/model/server_model.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/resources/account_routes.hpp"
#include "redfish/resources/event_resources.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "redfish/resources/schemas.hpp"
#include "redfish/resources/session_routes.hpp"
#include "redfish/resources/task_resources.hpp"
#include "redfish/resources/task_store.hpp"
#include "tests/support/access_routes.hpp"
#include "tests/support/process.hpp"
#include "tests/support/program.hpp"
#include "tests/support/recorded_stream.hpp"
#include "tests/support/redfish_exchange.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/shown_server.hpp"
#include "tests/support/test_data.hpp"

namespace {

using dp_support::json_kind;
using dp_support::json_value;

// All resources that can be reached from the root.
class redfish_crawl {
  public:
    explicit redfish_crawl(dp_redfish::http_handler& service) : service_(service) {
        visit("/redfish/v1/");
        while (!waiting_.empty()) {
            const std::string path = waiting_.back();
            waiting_.pop_back();
            const auto response = test::get(service_, path);
            if (response.status != 200 || response.body.kind != json_kind::object) {
                broken.insert(path);
                continue;
            }
            const auto* const id = response.body.find("@odata.id");
            if (id == nullptr || id->text != path.substr(0, path.find('?'))) {
                misnamed.insert(path);
            }
            texts.push_back(response.text);
            find_paths(response.body);
        }
    }

    std::set<std::string> seen;
    std::set<std::string> broken;
    std::set<std::string> misnamed;  // their @odata.id is not their path
    std::vector<std::string> texts;

  private:
    void visit(const std::string& path) {
        if (path.starts_with('/') && path.find('#') == std::string::npos &&
            seen.insert(path).second) {
            waiting_.push_back(path);
        }
    }

    void find_paths(const json_value& value) {
        for (const auto& item : value.items) {
            const bool is_path = value.kind == json_kind::object && item.kind == json_kind::text &&
                                 (item.name == "@odata.id" || item.name == "Uri" ||
                                  item.name.ends_with("@odata.nextLink"));
            if (is_path) {
                visit(item.text);
            }
            find_paths(item);
        }
    }

    dp_redfish::http_handler& service_;
    std::vector<std::string> waiting_;
};

// Why texts of resources are not valid for their schemas; empty if they are. `is_checked` is false
// when this machine cannot check them.
std::string problems_of(const std::vector<std::string>& texts, bool& is_checked) {
    const std::string schemas = test::data_file("redfish/json-schema/Bios.json");
    std::vector<std::string> arguments{
        std::string(DP_SOURCE_DIR) + "/tests/support/validate_redfish.py",
        std::filesystem::path(schemas).parent_path().string()};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        arguments.push_back(test::root() + "/" + std::to_string(i) + ".json");
        test::write_file(arguments.back(), texts[i]);
    }
    const std::string python = "/usr/bin/python3";
    const auto result =
        test::run_process(python, test::argument_list(python, arguments), [] { return true; });
    constexpr int not_installed = 77;
    constexpr int no_python = 127;
    is_checked = result.exit_code != not_installed && result.exit_code != no_python &&
                 test::missing_data("redfish/json-schema/Bios.json").empty();
    return result.exit_code == 0 ? "" : result.out + result.err + "(invalid)";
}

class all_resources : public testing::Test {
  protected:
    all_resources()
        : files(test::sample_template(), {{"Boot.Mode", "UEFI"}, {"Ports.Speed.1", "10"}},
                {{"Boot.Mode", "Legacy"}}) {
        test::shown_server::set_history(
            "<c-1,id=7,uid=0,gid=0,pid=1,for=eve,program=/usr/bin/x> 2026-11-22T15:25:09+01:00   "
            "Boot.Mode   \"UEFI\"   was \"Legacy\"   because \"Label is \\\"x\\\"\"\n"
            "<c-1,id=7> 2026-11-22T15:25:09+01:00   Boot.Label   was \"a\"\n"
            "<c-1,id=7> 2026-11-22T15:25:09+01:00   Boot.Label   was \"a\"\n"
            "<dp_settingsd> 2026-11-22T15:25:10+01:00   (BIOS)   \"updated\"\n");
        dp_redfish::add_server_routes(routes, model,
                                      {"1.0", "92384634-2938-2342-8820-489239905423"});
        dp_redfish::add_event_routes(routes, model, events);
        dp_redfish::add_task_routes(routes, tasks);
    }

    test::shown_server files;
    dp_redfish::server_model model;
    dp_redfish::event_service events{{}};
    dp_redfish::task_store tasks;
    dp_redfish::route_table routes;
    test::fixed_access access;
    dp_redfish::gateway service{routes, access};
};

TEST_F(all_resources, can_be_reached_from_the_root) {
    const redfish_crawl crawl(service);
    // Sessions and accounts are not a part of this.
    EXPECT_EQ(crawl.broken, (std::set<std::string>{dp_redfish::resource_paths::session_service,
                                                   dp_redfish::resource_paths::sessions,
                                                   dp_redfish::resource_paths::account_service}));
    EXPECT_EQ(crawl.misnamed, std::set<std::string>());
    for (const char* const path :
         {dp_redfish::resource_paths::bios_settings, dp_redfish::resource_paths::manager,
          dp_redfish::resource_paths::tasks, "/redfish/v1/JsonSchemas/Bios",
          "/redfish/v1/Registries/Base.1.22.1/Base.1.22.1",
          "/redfish/v1/Registries/BiosAttributeRegistry.1.0.0/BiosAttributeRegistry.1.0.0"}) {
        EXPECT_TRUE(crawl.seen.contains(path)) << path;
    }
    EXPECT_GT(crawl.seen.size(), 45U);
}

TEST_F(all_resources, are_valid_for_their_schemas) {
    const std::string folder = "redfish/json-schema/";
    if (const std::string reason = test::missing_data(folder + "Bios.json"); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const dp_redfish::identity admin{"admin", dp_redfish::roles::administrator, {}};
    const auto request = test::request_of("PATCH", dp_redfish::resource_paths::bios_settings);
    const auto waiting = tasks.accept(admin, request);
    tasks.accept(admin, request).begin();
    tasks.accept(admin, request)
        .finish(dp_redfish::error_answer(400, {{"PropertyUnknown", {"A"}}}));
    const auto stream = std::make_shared<test::recorded_stream>();
    events.begin(events.reserve({{}, admin, "192.0.2.7", {}}, {}, "unknown"), stream);
    events.publish(dp_redfish::make_event("SettingsEvents", "PendingValueChanged", {"A", "1", "2"},
                                          dp_redfish::resource_paths::bios_settings, "Bios",
                                          "2026-11-22T15:25:09+01:00"));
    redfish_crawl crawl(service);
    EXPECT_TRUE(crawl.seen.contains("/redfish/v1/EventService/Subscriptions/1"));
    EXPECT_TRUE(crawl.seen.contains("/redfish/v1/TaskService/Tasks/2"));
    ASSERT_EQ(stream->payloads().size(), 2U);
    for (const auto& payload : stream->payloads()) {
        crawl.texts.push_back(to_text(payload, dp_support::json_layout::one_line));
    }
    crawl.texts.push_back(test::get(service, "/redfish/v1?$expand=*($levels=3)").text);
    crawl.texts.push_back(test::get(service, "/redfish/v1/Missing").text);
    crawl.texts.push_back(test::send(service, "PATCH", dp_redfish::resource_paths::bios_settings,
                                     R"({"Attributes": {"Delay": 7, "NoSuch": 1}})")
                              .text);
    bool is_checked = false;
    const std::string problems = problems_of(crawl.texts, is_checked);
    if (!is_checked) {
        GTEST_SKIP() << "needs python3-jsonschema";
    }
    EXPECT_EQ(problems, "");
}

TEST_F(all_resources, can_be_discovered_without_a_login) {
    access.next.caller = {};
    EXPECT_EQ(test::get(service, "/redfish").text, R"({"v1":"/redfish/v1/"})");
    EXPECT_EQ(
        test::get(service, "/redfish/v1/odata").body.find("value")->items[0].find("url")->text,
        "/redfish/v1/");
    const auto metadata = test::get(service, "/redfish/v1/$metadata");
    EXPECT_EQ(metadata.status, 200U);
    EXPECT_EQ(metadata.header("Content-Type"), "application/xml");
    for (const auto& schema : dp_redfish::used_schemas()) {
        EXPECT_NE(metadata.text.find("Namespace=\"" + std::string(schema.name) + '"'),
                  std::string::npos)
            << schema.name;
    }
}

TEST_F(all_resources, have_schemas_that_exist) {
    const std::string folder = "redfish/json-schema/";
    if (const std::string reason = test::missing_data(folder + "Bios.json"); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    for (const auto& schema : dp_redfish::used_schemas()) {
        const std::string type = dp_redfish::odata_type(schema.name).substr(1);
        const std::string file = type.substr(0, type.rfind('.')) + ".json";
        EXPECT_EQ(test::missing_data(folder + file), "");
    }
}

TEST_F(all_resources, name_a_history_entry_the_same_when_older_ones_are_dropped) {
    const std::string entries = "/redfish/v1/Systems/system/LogServices/Changes/Entries";
    const auto before = test::get(service, entries);
    ASSERT_EQ(before.body.find("Members")->items.size(), 4U);
    const json_value last = before.body.find("Members")->items[3];
    test::shown_server::set_history(
        "<dp_settingsd> 2026-11-22T15:25:10+01:00   (BIOS)   \"updated\"\n");
    const auto after = test::get(service, entries);
    ASSERT_EQ(after.body.find("Members")->items.size(), 1U);
    EXPECT_EQ(after.body.find("Members")->items[0].find("Id")->text, last.find("Id")->text);
    EXPECT_EQ(last.find("Message")->text, "(BIOS) updated");
}

TEST_F(all_resources, name_client_and_user_of_a_history_entry) {
    const auto log =
        test::get(service, "/redfish/v1/Systems/system/LogServices/Changes/Entries").body;
    const json_value& by_user = log.find("Members")->items[0];
    EXPECT_EQ(by_user.find("Originator")->text, "uid=0,gid=0,pid=1,program=/usr/bin/x");
    EXPECT_EQ(by_user.find("OriginatorType")->text, "Client");
    EXPECT_EQ(by_user.find("Username")->text, "eve");
    EXPECT_EQ(log.find("Members")->items[1].find("Username"), nullptr);
}

TEST_F(all_resources, say_when_the_settings_service_does_not_run) {
    const auto response = test::get(service, dp_redfish::resource_paths::manager);
    EXPECT_EQ(response.body.find("Status")->find("Health")->text, "Critical");
}

// --- with sessions and accounts, without a server

class whole_service : public test::access_routes {
  protected:
    void SetUp() override {
        access_routes::SetUp();
        dp_redfish::add_server_routes(routes, model, {"1.0"});
        dp_redfish::add_event_routes(routes, model, events);
        dp_redfish::add_task_routes(routes, tasks);
        add_session_routes(routes, *access);
        add_account_routes(routes, *access);
    }

    dp_redfish::server_model model;
    dp_redfish::event_service events{{}};
    dp_redfish::task_store tasks;
    test::fixed_access admitted;
    dp_redfish::gateway gateway{routes, admitted};
};

TEST_F(whole_service, has_every_resource_that_it_refers_to) {
    const auto login = test::send(gateway, "POST", dp_redfish::resource_paths::sessions,
                                  R"({"UserName": "eve", "Password": "eve's password"})");
    ASSERT_EQ(login.status, 201U) << login.text;
    const redfish_crawl crawl(gateway);
    EXPECT_EQ(crawl.broken, std::set<std::string>());
    EXPECT_EQ(crawl.misnamed, std::set<std::string>());
    EXPECT_TRUE(crawl.seen.contains(login.header("Location"))) << login.header("Location");
    EXPECT_TRUE(crawl.seen.contains("/redfish/v1/AccountService/Accounts/eve"));
    bool is_checked = false;
    const std::string problems = problems_of(crawl.texts, is_checked);
    if (!is_checked) {
        GTEST_SKIP() << "needs python3-jsonschema and DMTF's schemas";
    }
    EXPECT_EQ(problems, "");
}

// --- a server that was installed with a registry

class installed_registry : public testing::TestWithParam<const char*> {
  protected:
    // The registry, or nothing if this machine does not have it.
    static std::string file() {
        const std::string name = GetParam();
        return name.starts_with('/') ? std::string(DP_SOURCE_DIR) + name : test::data_file(name);
    }

    void SetUp() override {
        if (!std::filesystem::exists(file())) {
            GTEST_SKIP() << file() << " does not exist";
        }
        test::clean_root();
        for (const char* const tool : {"dpspy", "sysvpd"}) {
            std::filesystem::create_symlink(test::program_path(tool),
                                            test::root() + "/bin/" + tool);
        }
        const auto installed = test::run_program("dp-server", {"install", "--registry", file()});
        ASSERT_EQ(installed.exit_code, 0) << installed.err;
        dp_redfish::add_server_routes(routes, model, {"1.0"});
        dp_redfish::add_event_routes(routes, model, events);
        dp_redfish::add_task_routes(routes, tasks);
        source = dp_support::parse_json(test::read_file(file())).root;
        for (const auto& attribute : source.find("RegistryEntries")->find("Attributes")->items) {
            // A template has no passwords.
            if (attribute.find("Type")->text != "Password") {
                attributes.push_back(attribute);
            }
        }
    }

    json_value source;
    std::vector<json_value> attributes;
    dp_redfish::server_model model;
    dp_redfish::event_service events{{}};
    dp_redfish::task_store tasks;
    dp_redfish::route_table routes;
    test::fixed_access access;
    dp_redfish::gateway service{routes, access};
};

INSTANTIATE_TEST_SUITE_P(all, installed_registry,
                         testing::Values("/examples/registry/server.registry.json",
                                         "server-a.registry.json"),
                         [](const auto& tested) {
                             return "of_file_" + std::to_string(tested.index);
                         });

std::string text_of(const json_value* value) {
    return value == nullptr ? "(none)" : to_text(*value, dp_support::json_layout::one_line);
}

TEST_P(installed_registry, is_served_as_it_was_installed) {
    const std::string id = source.find("Id")->text;
    const auto served = test::get(service, "/redfish/v1/Registries/" + id + '/' + id);
    ASSERT_EQ(served.status, 200U);
    const auto* const before = source.find("RegistryEntries");
    const auto* const after = served.body.find("RegistryEntries");
    EXPECT_EQ(text_of(after->find("Menus")), text_of(before->find("Menus")));
    ASSERT_EQ(after->find("Attributes")->items.size(), attributes.size());
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        EXPECT_EQ(text_of(&after->find("Attributes")->items[i]), text_of(&attributes[i]));
    }
    EXPECT_EQ(text_of(after->find("Dependencies")), text_of(before->find("Dependencies")));
}

TEST_P(installed_registry, types_every_value_as_the_registry_does) {
    const auto bios = test::get(service, dp_redfish::resource_paths::bios);
    ASSERT_EQ(bios.status, 200U);
    const auto* const values = bios.body.find("Attributes");
    ASSERT_EQ(values->items.size(), attributes.size());
    for (const auto& attribute : attributes) {
        const auto* const current = attribute.find("CurrentValue");
        const auto* const value = current != nullptr ? current : attribute.find("DefaultValue");
        // The order of a list is shown in its terse form.
        if (value != nullptr && value->kind != json_kind::null && !value->text.starts_with('[')) {
            EXPECT_EQ(text_of(values->find(attribute.find("AttributeName")->text)), text_of(value))
                << attribute.find("AttributeName")->text;
        }
    }
}

TEST_P(installed_registry, is_valid_with_all_resources) {
    const redfish_crawl crawl(service);
    bool is_checked = false;
    const std::string problems = problems_of(crawl.texts, is_checked);
    if (!is_checked) {
        GTEST_SKIP() << "needs python3-jsonschema and DMTF's schemas";
    }
    EXPECT_EQ(problems, "");
}

}  // namespace
