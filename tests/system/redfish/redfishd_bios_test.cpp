#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "support/json.hpp"
#include "tests/support/eventually.hpp"
#include "tests/support/redfish_process.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/service_process.hpp"

// dp_redfishd beside the settings service, with curl as the client.

namespace {

using dp_support::json_value;
using dp_support::parse_json;
using test::curl_answer;
using test::redfish_process;
using test::service_process;
using testing::HasSubstr;

constexpr const char* bios_path = "/redfish/v1/Systems/system/Bios";
constexpr const char* settings_path = "/redfish/v1/Systems/system/Bios/Settings";
constexpr const char* reset_path = "/redfish/v1/Systems/system/Actions/ComputerSystem.Reset";

class redfishd_bios : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(server.start()) << service_process::log();
        ASSERT_TRUE(service.start()) << redfish_process::log();
    }

    /// The attribute as JSON text; "(none)" without it.
    std::string attribute(const char* path, const char* name) const {
        const auto document = parse_json(service.ask("GET", path).body);
        const json_value* const attributes = document.root.find("Attributes");
        const json_value* const value = attributes == nullptr ? nullptr : attributes->find(name);
        return value == nullptr ? "(none)"
                                : dp_support::to_text(*value, dp_support::json_layout::one_line);
    }

    service_process server;
    redfish_process service;
};

TEST_F(redfishd_bios, shows_the_service_to_everybody_and_the_rest_to_users) {
    const auto root = service.curl("/redfish/v1");
    EXPECT_EQ(root.status, 200U) << root.problem;
    EXPECT_THAT(root.body, HasSubstr("/redfish/v1/Systems"));
    EXPECT_EQ(root.field("OData-Version"), "4.0");
    const auto refused = service.curl(bios_path);
    EXPECT_EQ(refused.status, 401U);
    EXPECT_THAT(refused.body, HasSubstr("@Message.ExtendedInfo"));
    EXPECT_EQ(service.ask("GET", "/redfish/v1/Systems").status, 200U);
}

TEST_F(redfishd_bios, changes_values_that_count_after_a_reset) {
    EXPECT_EQ(attribute(bios_path, "Mode"), "\"UEFI\"");
    EXPECT_EQ(attribute(bios_path, "Delay"), "5");
    const auto changed =
        service.ask("PATCH", settings_path, R"({"Attributes":{"Mode":"Legacy","Delay":10}})");
    EXPECT_GE(changed.status, 200U);
    EXPECT_LT(changed.status, 300U) << changed.body;
    EXPECT_THAT(test::read_file(service_process::pending()), HasSubstr("Legacy"));
    EXPECT_EQ(attribute(settings_path, "Mode"), "\"Legacy\"");
    EXPECT_EQ(attribute(settings_path, "Delay"), "10");
    EXPECT_EQ(attribute(bios_path, "Mode"), "\"UEFI\"");
    const auto reset = service.ask("POST", reset_path, R"({"ResetType":"ForceRestart"})");
    EXPECT_GE(reset.status, 200U);
    EXPECT_LT(reset.status, 300U) << reset.body;
    EXPECT_TRUE(test::eventually([&] { return attribute(bios_path, "Mode") == "\"Legacy\""; }));
    EXPECT_EQ(attribute(bios_path, "Delay"), "10");
}

TEST_F(redfishd_bios, changes_all_or_nothing) {
    const auto refused =
        service.ask("PATCH", settings_path,
                    R"({"Attributes":{"Delay":20,"Mode":"Quantum","Vendor":"other","Missing":1}})");
    EXPECT_EQ(refused.status, 400U) << refused.body;
    for (const char* const name : {"Mode", "Vendor", "Missing"}) {
        EXPECT_THAT(refused.body, HasSubstr(std::string("/Attributes/") + name));
    }
    EXPECT_EQ(attribute(settings_path, "Delay"), "5");
}

TEST_F(redfishd_bios, shows_the_changes_of_others_at_once) {
    EXPECT_EQ(attribute(settings_path, "Delay"), "5");
    EXPECT_THAT(service_process::run_batch("0 1 t set Boot.Delay \"15\" \"\"\n"),
                HasSubstr("Boot.Delay"));
    EXPECT_EQ(attribute(settings_path, "Delay"), "15");
}

TEST_F(redfishd_bios, changes_only_what_the_client_has_seen) {
    const std::string etag = service.ask("GET", settings_path).field("ETag");
    ASSERT_NE(etag, "");
    const std::string body = R"({"Attributes":{"Delay":20}})";
    EXPECT_LT(service.ask("PATCH", settings_path, body, {"--header", "If-Match: " + etag}).status,
              300U);
    EXPECT_EQ(service.ask("PATCH", settings_path, body, {"--header", "If-Match: " + etag}).status,
              412U);
    const std::string now = service.ask("GET", settings_path).field("ETag");
    EXPECT_NE(now, etag);
    EXPECT_EQ(service.ask("GET", settings_path, "", {"--header", "If-None-Match: " + now}).status,
              304U);
}

TEST_F(redfishd_bios, lets_a_client_log_in_with_a_session) {
    const auto made = service.curl(
        "/redfish/v1/SessionService/Sessions",
        {"--header", "Content-Type: application/json", "--data",
         R"({"UserName":"admin","Password":")" + redfish_process::first_password() + "\"}"});
    ASSERT_EQ(made.status, 201U) << made.body;
    const std::string token = made.field("X-Auth-Token");
    ASSERT_GE(token.size(), 32U);
    const std::string field = "X-Auth-Token: " + token;
    EXPECT_EQ(service.curl(bios_path, {"--header", field}).status, 200U);
    std::string session = made.field("Location");
    session.erase(0, session.find("/redfish"));
    const auto ended = service.curl(session, {"--header", field, "--request", "DELETE"});
    EXPECT_LT(ended.status, 300U) << ended.body;
    EXPECT_EQ(service.curl(bios_path, {"--header", field}).status, 401U);
    EXPECT_EQ(redfish_process::log().find(token), std::string::npos);
}

TEST_F(redfishd_bios, answers_head_with_the_fields_of_get) {
    const auto get = service.ask("GET", bios_path);
    const auto head = service.ask("HEAD", bios_path);
    EXPECT_EQ(head.status, 200U);
    EXPECT_EQ(head.field("Content-Length"), std::to_string(get.body.size()));
    EXPECT_EQ(head.field("ETag"), get.field("ETag"));
}

TEST_F(redfishd_bios, compresses_large_answers) {
    const auto plain = service.ask("GET", bios_path);
    EXPECT_EQ(plain.field("Content-Encoding"), "");
    const auto compressed = service.ask("GET", bios_path, "", {"--compressed"});
    EXPECT_EQ(compressed.body, plain.body);
}

TEST_F(redfishd_bios, takes_bodies_in_chunks_and_after_100_continue) {
    const auto changed =
        service.ask("PATCH", settings_path, R"({"Attributes":{"Delay":30}})",
                    {"--header", "Transfer-Encoding: chunked", "--header", "Expect: 100-continue"});
    EXPECT_LT(changed.status, 300U) << changed.body;
    EXPECT_EQ(attribute(settings_path, "Delay"), "30");
}

TEST_F(redfishd_bios, reads_without_the_settings_service_and_changes_with_it) {
    EXPECT_EQ(server.stop(SIGKILL), 128 + SIGKILL);
    EXPECT_EQ(attribute(bios_path, "Mode"), "\"UEFI\"");
    const std::string body = R"({"Attributes":{"Delay":20}})";
    const auto refused = service.ask("PATCH", settings_path, body);
    EXPECT_EQ(refused.status, 503U) << refused.body;
    EXPECT_NE(refused.field("Retry-After"), "");
    ASSERT_TRUE(server.start());
    EXPECT_LT(service.ask("PATCH", settings_path, body).status, 300U);
    EXPECT_EQ(attribute(settings_path, "Delay"), "20");
}

TEST_F(redfishd_bios, refuses_bodies_that_are_not_json_objects) {
    for (const char* const body :
         {"{", "[]", "1", R"({"Attributes":{"Delay":1,"Delay":2}})", "{\"Attributes\":\"\xff\"}"}) {
        const auto answer = service.ask("PATCH", settings_path, body);
        EXPECT_EQ(answer.status, 400U) << body << answer.body;
        EXPECT_THAT(answer.body, HasSubstr("@Message.ExtendedInfo"));
    }
    EXPECT_EQ(attribute(settings_path, "Delay"), "5");
}

TEST_F(redfishd_bios, keeps_its_accounts_when_it_starts_again) {
    EXPECT_EQ(service.stop(), 0);
    ASSERT_TRUE(service.start()) << redfish_process::log();
    EXPECT_EQ(service.ask("GET", bios_path).status, 200U);
}

}  // namespace
