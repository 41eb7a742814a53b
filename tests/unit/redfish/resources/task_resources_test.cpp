#include "redfish/resources/task_resources.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "redfish/protocol/messages.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "tests/support/redfish_exchange.hpp"

namespace {

namespace paths = dp_redfish::resource_paths;
using dp_redfish::call;
using dp_redfish::roles;
using testing::ElementsAre;

// A service with an operation that is done when the test says so.
class task_resources : public testing::Test {
  protected:
    task_resources() {
        add_task_routes(routes, tasks);
        routes.add("PATCH", "/redfish/v1/Slow", dp_redfish::privileges::login,
                   [this](const std::shared_ptr<call>& request) { waiting = request; });
        routes.let_be_deferred();
        routes.add("POST", "/redfish/v1/Fast", dp_redfish::privileges::login,
                   [](const std::shared_ptr<call>& request) {
                       request->respond({.status = 204, .body = {}});
                   });
    }

    test::redfish_response ask(const std::string& method, const std::string& path,
                               const std::string& prefer) {
        auto request = test::request_of(method, path);
        request.headers["Content-Type"] = "application/json";
        request.headers["Prefer"] = prefer;
        request.body = R"({"A": 1})";
        return test::exchange(service, std::move(request));
    }

    void be(const std::string& user, roles role) { access.next.caller = {user, role, {}}; }

    dp_redfish::task_store tasks;
    dp_redfish::route_table routes;
    test::fixed_access access;
    dp_redfish::gateway service{routes, access, &tasks};
    std::shared_ptr<call> waiting;  // ended first: an operation that is dropped ends its task
};

TEST_F(task_resources, let_a_client_fetch_the_answer_later) {
    const auto accepted = ask("PATCH", "/redfish/v1/Slow", "respond-async");
    EXPECT_EQ(accepted.status, 202U);
    EXPECT_EQ(accepted.header("Preference-Applied"), "respond-async");
    EXPECT_EQ(accepted.body.find("TaskState")->text, "Pending");
    EXPECT_TRUE(waiting->begin());
    const std::string monitor = accepted.header("Location");
    const std::string task = accepted.body.find("@odata.id")->text;
    EXPECT_EQ(test::get(service, monitor).status, 202U);
    EXPECT_EQ(
        test::get(service, paths::tasks).body.find("Members")->items.at(0).find("@odata.id")->text,
        task);
    waiting->respond(dp_redfish::error_answer(400, {{"PropertyUnknown", {"A"}, "/A"}}));
    const auto done = test::get(service, monitor);
    EXPECT_EQ(done.status, 400U);
    EXPECT_THAT(done.messages(), ElementsAre("PropertyUnknown"));
    EXPECT_EQ(test::get(service, task).body.find("PercentComplete")->integer, 100);
    EXPECT_EQ(test::send(service, "DELETE", task, "").status, 204U);
    EXPECT_EQ(test::get(service, monitor).status, 404U);
}

TEST_F(task_resources, are_only_used_on_request_and_for_operations_that_may_take_long) {
    EXPECT_EQ(ask("POST", "/redfish/v1/Fast", "respond-async").status, 204U);
    EXPECT_EQ(test::get(service, paths::tasks).body.find("Members")->items.size(), 0U);
}

TEST_F(task_resources, are_seen_by_their_owner_and_by_administrators) {
    be("eve", roles::operator_role);
    const auto accepted = ask("PATCH", "/redfish/v1/Slow", "respond-async");
    const std::string monitor = accepted.header("Location");
    be("bob", roles::operator_role);
    EXPECT_EQ(test::get(service, monitor).status, 404U);
    EXPECT_EQ(test::send(service, "DELETE", monitor, "").status, 404U);
    EXPECT_EQ(test::get(service, paths::tasks).body.find("Members")->items.size(), 0U);
    be("admin", roles::administrator);
    EXPECT_EQ(test::get(service, monitor).status, 202U);
}

TEST_F(task_resources, are_cancelled_until_their_operation_begins) {
    for (const bool is_monitor : {false, true}) {
        const auto accepted = ask("PATCH", "/redfish/v1/Slow", "respond-async");
        const std::string task = accepted.body.find("@odata.id")->text;
        const std::string monitor = accepted.header("Location");
        EXPECT_EQ(test::send(service, "DELETE", is_monitor ? monitor : task, "").status, 204U);
        EXPECT_FALSE(waiting->begin());
        EXPECT_EQ(test::get(service, task).status, 404U);
        EXPECT_EQ(test::get(service, monitor).status, 404U);
    }
    const auto accepted = ask("PATCH", "/redfish/v1/Slow", "respond-async");
    EXPECT_TRUE(waiting->begin());
    const auto refused = test::send(service, "DELETE", accepted.header("Location"), "");
    EXPECT_EQ(refused.status, 409U);
    EXPECT_THAT(refused.messages(), ElementsAre("ResourceInUse"));
    EXPECT_EQ(test::get(service, accepted.header("Location")).status, 202U);
}

TEST_F(task_resources, end_when_their_operation_is_dropped) {
    const auto accepted = ask("PATCH", "/redfish/v1/Slow", "respond-async");
    waiting.reset();
    EXPECT_EQ(test::get(service, accepted.header("Location")).status, 500U);
}

}  // namespace
