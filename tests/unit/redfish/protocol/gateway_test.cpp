#include "redfish/protocol/gateway.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "redfish/protocol/messages.hpp"
#include "tests/support/redfish_exchange.hpp"

namespace {

using dp_redfish::answer;
using dp_redfish::call;
using dp_redfish::gateway;
using dp_redfish::privileges;
using dp_redfish::roles;
using dp_redfish::route_table;
using dp_support::json_value;
using access_states = dp_redfish::access_control::decision::states;
using test::redfish_response;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A service with a public root, a collection of three items, and an item that can be changed.
class gateway_test : public testing::Test {
  protected:
    gateway_test() {
        add("GET", "/redfish", privileges::none, R"({"v1":"/redfish/v1/"})");
        add("GET", "/redfish/v1", privileges::none,
            R"({"@odata.id":"/redfish/v1","@odata.type":"#ServiceRoot.v1_20_0.ServiceRoot",)"
            R"("Items":{"@odata.id":"/redfish/v1/Items"},)"
            R"("Links":{"First":{"@odata.id":"/redfish/v1/Items/1"}}})");
        routes.add(
            "GET", "/redfish/v1/Items", privileges::login,
            [this](const std::shared_ptr<call>& request) {
                json_value members = json_value::array();
                for (unsigned i = 1; i <= members_; ++i) {
                    members.push_back(json_value::object(
                        {{"@odata.id", "/redfish/v1/Items/" + std::to_string(i)}}));
                }
                request->respond({.body = json_value::object({{"@odata.id", "/redfish/v1/Items"},
                                                              {"Members@odata.count", members_},
                                                              {"Members", std::move(members)}})});
            });
        routes.add(
            "GET", "/redfish/v1/Items/{}", privileges::login,
            [](const std::shared_ptr<call>& request) {
                request->respond(
                    {.body = json_value::object(
                         {{"@odata.id", request->request->path},
                          {"Id", request->parameters.front()},
                          {"Up", json_value::object({{"@odata.id", "/redfish/v1/Items"}})}})});
            });
        routes.add("PATCH", "/redfish/v1/Items/{}", privileges::configure_components,
                   [this](const std::shared_ptr<call>& request) {
                       changed_ = to_text(request->document, dp_support::json_layout::one_line);
                       request->respond({.status = 204, .body = {}});
                   });
        routes.add("POST", "/redfish/v1/Fail/{}", privileges::login,
                   [](const std::shared_ptr<call>& request) {
                       const std::string& how = request->parameters.front();
                       if (how == "throw") {
                           throw std::runtime_error("x");
                       }
                       if (how == "memory") {
                           throw std::bad_alloc();
                       }
                       if (how == "twice") {
                           request->respond({.status = 204, .body = {}});
                           throw std::runtime_error("x");
                       }
                       // Otherwise: dropped.
                   });
    }

    void add(const char* method, const char* path, privileges needed, const char* text) {
        routes.add(method, path, needed,
                   [body = dp_support::parse_json(text).root](
                       const std::shared_ptr<call>& request) { request->respond({.body = body}); });
    }

    redfish_response get(const std::string& target) { return test::get(service, target); }

    redfish_response get_with(const std::string& target, const char* field, std::string value) {
        auto request = test::request_of("GET", target);
        request.headers[field] = std::move(value);
        return test::exchange(service, std::move(request));
    }

    void be_nobody() { access.next.caller = {}; }

    unsigned members_ = 3;
    std::string changed_;
    route_table routes;
    test::fixed_access access;
    gateway service{routes, access};
};

// --- who may do what

TEST_F(gateway_test, answers_open_resources_without_asking_who_it_is) {
    be_nobody();
    EXPECT_EQ(get("/redfish/v1/").status, 200U);
    EXPECT_EQ(get("/redfish").status, 200U);
    EXPECT_EQ(access.asked, 0);
}

TEST_F(gateway_test, asks_for_a_login) {
    be_nobody();
    const auto response = get("/redfish/v1/Items");
    EXPECT_EQ(response.status, 401U);
    EXPECT_THAT(response.header("WWW-Authenticate"), HasSubstr("Basic"));
    EXPECT_THAT(response.messages(), ElementsAre("NoValidSession"));
}

TEST_F(gateway_test, names_the_way_to_log_in_also_to_a_client_with_an_expired_token) {
    access.next.state = access_states::refused;
    const auto response = get_with("/redfish/v1/Items", "X-Auth-Token", "expired");
    EXPECT_EQ(response.status, 401U);
    EXPECT_THAT(response.header("WWW-Authenticate"), HasSubstr("Basic"));
}

TEST_F(gateway_test, looks_at_the_login_before_other_fields) {
    be_nobody();
    EXPECT_EQ(get_with("/redfish/v1/Items", "OData-Version", "4.1").status, 401U);
    EXPECT_EQ(get_with("/redfish/v1/Items", "If-None-Match", "*").status, 401U);
    EXPECT_EQ(get_with("/redfish/v1/", "OData-Version", "4.1").status, 412U);
}

TEST_F(gateway_test, refuses_a_patch_that_asks_for_nothing) {
    const auto messages = [&](const char* body) {
        return test::send(service, "PATCH", "/redfish/v1/Items/1", body).messages();
    };
    EXPECT_THAT(messages("{}"), ElementsAre("EmptyJSON"));
    EXPECT_THAT(messages(R"({"@odata.id": "/redfish/v1/Items/1"})"), ElementsAre("NoOperation"));
    EXPECT_EQ(changed_, "");
}

TEST_F(gateway_test, names_the_character_set_if_the_client_asks_for_it) {
    const auto type = [&](const char* accept) {
        return get_with("/redfish/v1/Items", "Accept", accept).header("Content-Type");
    };
    EXPECT_EQ(get("/redfish/v1/Items").header("Content-Type"), "application/json");
    EXPECT_EQ(type("application/json"), "application/json");
    EXPECT_EQ(type("application/json;charset=utf-8"), "application/json;charset=utf-8");
    EXPECT_EQ(type("text/html, */*; charset=UTF-8"), "application/json;charset=utf-8");
}

TEST_F(gateway_test, does_not_let_a_browser_ask_for_a_page_that_fetches) {
    be_nobody();
    EXPECT_EQ(get_with("/redfish/v1/Items", "Sec-Fetch-Mode", "cors").header("WWW-Authenticate"),
              "");
    EXPECT_NE(
        get_with("/redfish/v1/Items", "Sec-Fetch-Mode", "navigate").header("WWW-Authenticate"), "");
}

TEST_F(gateway_test, says_nothing_about_paths_to_those_who_are_not_logged_in) {
    be_nobody();
    EXPECT_EQ(get("/redfish/v1/Missing").status, 401U);
    EXPECT_EQ(test::exchange(service, test::request_of("DELETE", "/redfish/v1/Items")).status,
              401U);
    EXPECT_EQ(get("/other").status, 404U);
}

TEST_F(gateway_test, refuses_what_a_role_may_not_do) {
    access.next.caller.role = roles::read_only;
    const auto response = test::send(service, "PATCH", "/redfish/v1/Items/1", "{\"a\":1}");
    EXPECT_EQ(response.status, 403U);
    EXPECT_THAT(response.messages(), ElementsAre("InsufficientPrivilege"));
    EXPECT_EQ(changed_, "");
    EXPECT_EQ(get("/redfish/v1/Items").status, 200U);
}

TEST_F(gateway_test, is_unavailable_while_nobody_can_be_identified) {
    access.next.state = access_states::unavailable;
    const auto response = get("/redfish/v1/Items");
    EXPECT_EQ(response.status, 503U);
    EXPECT_NE(response.header("Retry-After"), "");
}

// --- methods, versions, media types

TEST_F(gateway_test, reports_missing_resources_and_methods) {
    EXPECT_EQ(get("/redfish/v1/Missing").status, 404U);
    const auto response =
        test::exchange(service, test::request_of("DELETE", "/redfish/v1/Items/1"));
    EXPECT_EQ(response.status, 405U);
    EXPECT_EQ(response.header("Allow"), "GET, HEAD, PATCH");
    EXPECT_EQ(test::exchange(service, test::request_of("TRACE", "/redfish/v1/Items")).status, 405U);
    EXPECT_EQ(test::exchange(service, test::request_of("BREW", "/redfish/v1/Items")).status, 501U);
    EXPECT_EQ(test::exchange(service, test::request_of("BREW", "/redfish/v1/No")).status, 501U);
}

TEST_F(gateway_test, answers_a_wrong_method_on_an_open_resource_without_a_login) {
    be_nobody();
    const auto response = test::send(service, "POST", "/redfish/v1", "{}");
    EXPECT_EQ(response.status, 405U);
    EXPECT_EQ(response.header("Allow"), "GET, HEAD");
}

TEST_F(gateway_test, has_the_headers_of_the_protocol) {
    const auto response = get("/redfish/v1");
    EXPECT_EQ(response.header("OData-Version"), "4.0");
    EXPECT_EQ(response.header("Content-Type"), "application/json");
    EXPECT_EQ(response.header("Allow"), "GET, HEAD");
    EXPECT_EQ(response.header("Link"),
              "<http://redfish.dmtf.org/schemas/v1/ServiceRoot.v1_20_0.json>; rel=describedby");
    EXPECT_NE(response.header("ETag"), "");
}

TEST_F(gateway_test, refuses_other_versions_of_odata) {
    EXPECT_EQ(get_with("/redfish/v1", "OData-Version", "4.0").status, 200U);
    EXPECT_EQ(get_with("/redfish/v1", "OData-Version", "4.01").status, 412U);
}

TEST_F(gateway_test, refuses_clients_that_do_not_accept_json) {
    EXPECT_EQ(get_with("/redfish/v1", "Accept", "text/html").status, 406U);
    EXPECT_EQ(get_with("/redfish/v1", "Accept", "text/html, */*;q=0.1").status, 200U);
    EXPECT_EQ(get_with("/redfish/v1", "Accept", "application/json").status, 200U);
}

TEST_F(gateway_test, checks_the_body_before_the_operation_runs) {
    EXPECT_EQ(test::send(service, "PATCH", "/redfish/v1/Items/1", "{\"a\":").status, 400U);
    EXPECT_EQ(changed_, "");
    EXPECT_EQ(test::send(service, "PATCH", "/redfish/v1/Items/1", "{\"a\":1}").status, 204U);
    EXPECT_EQ(changed_, "{\"a\":1}");
}

// --- conditions

TEST_F(gateway_test, does_not_send_what_the_client_has) {
    const auto first = get("/redfish/v1/Items/1");
    const auto again = get_with("/redfish/v1/Items/1", "If-None-Match", first.header("ETag"));
    EXPECT_EQ(again.status, 304U);
    EXPECT_EQ(again.text, "");
    EXPECT_EQ(again.header("ETag"), first.header("ETag"));
    EXPECT_EQ(get_with("/redfish/v1/Items/1", "If-None-Match", "\"x\"").status, 200U);
}

TEST_F(gateway_test, changes_only_what_the_client_knows) {
    const std::string etag = get("/redfish/v1/Items/1").header("ETag");
    EXPECT_EQ(test::send(service, "PATCH", "/redfish/v1/Items/1", "{\"a\":1}", "\"x\"").status,
              412U);
    EXPECT_EQ(changed_, "");
    EXPECT_EQ(test::send(service, "PATCH", "/redfish/v1/Items/1", "{\"a\":1}", etag).status, 204U);
    EXPECT_EQ(test::send(service, "PATCH", "/redfish/v1/Items/1", "{\"a\":2}", "*").status, 204U);
    EXPECT_EQ(changed_, "{\"a\":2}");
}

TEST_F(gateway_test, checks_who_may_change_a_resource_before_its_etag) {
    add("GET", "/redfish/v1/Own/{}", privileges::login, R"({"Id":"x"})");
    add("PATCH", "/redfish/v1/Own/{}", privileges::login, "{}");
    routes.allow_only([](const dp_redfish::identity& caller,
                         const std::vector<std::string>& parameters, const json_value& document) {
        return caller.is_logged_in() && parameters.at(0) == "1" && document.find("a") != nullptr;
    });
    const auto patch = [this](const std::string& item, const std::string& body) {
        return test::send(service, "PATCH", "/redfish/v1/Own/" + item, body, "\"x\"");
    };
    EXPECT_EQ(patch("1", R"({"a":1})").status, 412U);
    EXPECT_EQ(patch("2", R"({"a":1})").status, 403U);
    EXPECT_THAT(patch("1", R"({"b":1})").messages(), ElementsAre("InsufficientPrivilege"));
}

// --- queries

TEST_F(gateway_test, refuses_queries_that_it_does_not_implement) {
    EXPECT_EQ(get("/redfish/v1/Items?$filter=x").status, 501U);
    EXPECT_EQ(get("/redfish/v1/Items?other=1").status, 200U);
    EXPECT_EQ(get("/redfish/v1/Items?$top=x").status, 400U);
    const auto response = test::send(service, "PATCH", "/redfish/v1/Items/1?$select=a", "{}");
    EXPECT_EQ(response.status, 400U);
    EXPECT_THAT(response.messages(), ElementsAre("QueryNotSupportedOnOperation"));
}

TEST_F(gateway_test, answers_a_part_of_a_collection) {
    const auto response = get("/redfish/v1/Items?$skip=1&$top=1");
    ASSERT_EQ(response.status, 200U);
    EXPECT_EQ(response.body.find("Members@odata.count")->integer, 3);
    ASSERT_EQ(response.body.find("Members")->items.size(), 1U);
    EXPECT_EQ(response.body.find("Members")->items[0].items[0].text, "/redfish/v1/Items/2");
    EXPECT_EQ(response.body.find("Members@odata.nextLink")->text,
              "/redfish/v1/Items?$top=1&$skip=2");
    EXPECT_THAT(get("/redfish/v1/Items?$skip=9").body.find("Members")->items, IsEmpty());
    EXPECT_EQ(get("/redfish/v1/Items?$top=0").body.find("Members@odata.nextLink"), nullptr);
    EXPECT_EQ(get("/redfish/v1/Items/1?$top=1").status, 400U);
}

TEST_F(gateway_test, answers_a_long_collection_in_pages) {
    members_ = gateway::page_size + 5;
    const auto first = get("/redfish/v1/Items");
    EXPECT_EQ(first.body.find("Members")->items.size(), gateway::page_size);
    const auto second = get(first.body.find("Members@odata.nextLink")->text);
    EXPECT_EQ(second.body.find("Members")->items.size(), 5U);
    EXPECT_EQ(second.body.find("Members@odata.nextLink"), nullptr);
}

TEST_F(gateway_test, selects_members) {
    EXPECT_EQ(get("/redfish/v1/Items/1?$select=Id").text,
              R"({"@odata.id":"/redfish/v1/Items/1","Id":"1"})");
}

TEST_F(gateway_test, expands_references_level_by_level) {
    const auto one = get("/redfish/v1/Items?$expand=.");
    ASSERT_EQ(one.status, 200U);
    const auto* const first = &one.body.find("Members")->items.at(0);
    EXPECT_EQ(first->find("Id")->text, "1");
    EXPECT_EQ(first->find("Up")->items.size(), 1U);
    const auto two = get("/redfish/v1/Items?$expand=.($levels=2)");
    EXPECT_NE(two.body.find("Members")->items.at(2).find("Up")->find("Members"), nullptr);
}

TEST_F(gateway_test, distinguishes_links_from_other_references) {
    const auto others = get("/redfish/v1?$expand=.");
    EXPECT_NE(others.body.find("Items")->find("Members"), nullptr);
    EXPECT_EQ(others.body.find("Links")->find("First")->items.size(), 1U);
    const auto links = get("/redfish/v1?$expand=~");
    EXPECT_EQ(links.body.find("Items")->items.size(), 1U);
    EXPECT_EQ(links.body.find("Links")->find("First")->find("Id")->text, "1");
}

TEST_F(gateway_test, selects_in_the_members_of_an_expanded_collection) {
    const auto response = get("/redfish/v1/Items?$expand=.&$select=Id");
    EXPECT_EQ(
        to_text(response.body.find("Members")->items.at(1), dp_support::json_layout::one_line),
        R"({"@odata.id":"/redfish/v1/Items/2","Id":"2"})");
}

TEST_F(gateway_test, expands_nothing_that_the_client_may_not_see) {
    be_nobody();
    const auto response = get("/redfish/v1?$expand=*");
    EXPECT_EQ(response.status, 200U);
    EXPECT_EQ(response.body.find("Items")->items.size(), 1U);
}

TEST_F(gateway_test, answers_the_only_member_of_a_collection) {
    EXPECT_NE(get("/redfish/v1/Items?only").body.find("Members"), nullptr);
    members_ = 1;
    const auto response = get("/redfish/v1/Items?only");
    EXPECT_EQ(response.body.find("Id")->text, "1");
    EXPECT_EQ(response.header("ETag"), get("/redfish/v1/Items/1").header("ETag"));
    EXPECT_EQ(get("/redfish/v1/Items/1?only").status, 400U);
}

// --- failures

TEST_F(gateway_test, answers_when_an_operation_fails) {
    for (const char* const how : {"throw", "memory", "dropped"}) {
        const auto response =
            test::send(service, "POST", std::string("/redfish/v1/Fail/") + how, "{}");
        EXPECT_EQ(response.status, 500U) << how;
        EXPECT_THAT(response.messages(), ElementsAre("InternalError")) << how;
    }
    EXPECT_EQ(test::send(service, "POST", "/redfish/v1/Fail/twice", "{}").status, 204U);
}

// --- streams and refusals

class gateway_streams : public testing::Test {
  protected:
    gateway_streams() {
        routes.add_stream(
            "/redfish/v1/Stream", privileges::login, [this](const std::shared_ptr<call>& request) {
                query = request->request->query;
                answer opened;
                opened.headers["Content-Type"] = "text/event-stream";
                opened.start_stream = [this](const std::shared_ptr<dp_redfish::body_stream>&) {
                    has_started = true;
                };
                request->respond(std::move(opened));
            });
        routes.add_refusal("POST", "/redfish/v1/Stream", privileges::login,
                           [](const std::shared_ptr<call>& request) {
                               request->respond(dp_redfish::error_answer(
                                   405, {{"OperationNotAllowed", {}, {}, "Why not."}}));
                           });
    }

    std::vector<std::pair<std::string, std::string>> query;
    bool has_started = false;
    route_table routes;
    test::fixed_access access;
    gateway service{routes, access};
};

TEST_F(gateway_streams, leave_the_query_to_their_operation) {
    auto request = test::request_of("GET", "/redfish/v1/Stream?$filter=x");
    request.headers["Accept"] = "text/event-stream";
    request.headers["If-None-Match"] = "*";
    std::function<void(std::shared_ptr<dp_redfish::body_stream>)> start;
    service.handle(std::make_shared<const dp_redfish::http_request>(std::move(request)),
                   [&](dp_redfish::http_response response) {
                       EXPECT_EQ(response.status, 200U);
                       EXPECT_EQ(response.headers.at("Allow"), "GET, HEAD");
                       EXPECT_EQ(response.body, nullptr);
                       start = response.start_stream;
                   });
    EXPECT_THAT(query, ElementsAre(std::pair<std::string, std::string>("$filter", "x")));
    ASSERT_TRUE(start);
    start(nullptr);
    EXPECT_TRUE(has_started);
}

TEST_F(gateway_streams, need_a_login) {
    access.next.caller = {};
    EXPECT_EQ(test::get(service, "/redfish/v1/Stream").status, 401U);
}

TEST_F(gateway_streams, explain_methods_that_are_not_allowed) {
    const auto refused = test::send(service, "POST", "/redfish/v1/Stream", "{}");
    EXPECT_EQ(refused.status, 405U);
    EXPECT_THAT(refused.text, HasSubstr("Why not."));
    EXPECT_EQ(test::send(service, "PATCH", "/redfish/v1/Stream", "{}").header("Allow"),
              "GET, HEAD");
}

}  // namespace
