#ifndef DP_TESTS_SUPPORT_ACCESS_ROUTES_HPP
#define DP_TESTS_SUPPORT_ACCESS_ROUTES_HPP

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "redfish/access/add_account.hpp"
#include "redfish/access/password_access_control.hpp"
#include "redfish/protocol/route_table.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "support/json.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/support/stepped_access.hpp"

namespace test {

/// Sends requests to routes directly, as a gateway does for a caller whom it admitted.
class access_routes : public testing::Test {
  protected:
    void SetUp() override {
        clean_root();
        put_account("admin", dp_redfish::roles::administrator);
        put_account("eve", dp_redfish::roles::operator_role);
        put_account("bob", dp_redfish::roles::read_only);
        auto started = dp_redfish::password_access_control::start(
            {path, lines.writer(), steps.environment(), 1, 4, {5, 4}});
        ASSERT_TRUE(started) << started.reason();
        access = std::move(*started);
    }

    /// The password is "NAME's password".
    void put_account(const std::string& name, dp_redfish::roles role) {
        const auto added =
            add_account(path, name, role, dp_redfish::secret_text(name + "'s password"),
                        steps.environment(), 1);
        ASSERT_TRUE(added) << added.reason();
    }

    dp_redfish::identity caller(const std::string& user) {
        const auto found = access->accounts().find(user);
        return found ? dp_redfish::identity{user, found->role, {}, found->must_change_password}
                     : dp_redfish::identity{};
    }

    /// The answer to a request of `user`; status 403 when the route needs a privilege that the user
    /// does not have or allows only others, 404 when there is no route.
    dp_redfish::answer ask(const std::string& method, const std::string& target,
                           const std::string& user, const std::string& body = "{}",
                           const dp_redfish::header_fields& headers = {}) {
        const auto match = routes.find(method, target);
        const dp_redfish::identity who = caller(user);
        if (match.found == nullptr) {
            return {.status = 404, .body = {}};
        }
        const auto needed = match.found->needed;
        if (needed != dp_redfish::privileges::none &&
            (!who.is_logged_in() || !has_privilege(who.role, needed) ||
             (who.must_change_password && !match.found->is_for_password_change))) {
            return {.status = 403, .body = {}};
        }
        const auto document = dp_support::parse_json(body).root;
        if (match.found->is_allowed && !match.found->is_allowed(who, match.parameters, document)) {
            return not_allowed_answer(who);
        }
        auto request = std::make_shared<dp_redfish::http_request>();
        request->method = method;
        request->path = target;
        request->peer = "192.0.2.7";
        request->headers = headers;
        auto sent = std::make_shared<dp_redfish::call>();
        sent->request = request;
        sent->caller = who;
        sent->parameters = match.parameters;
        sent->document = document;
        std::promise<dp_redfish::answer> made;
        sent->respond = [&](dp_redfish::answer one) { made.set_value(std::move(one)); };
        match.found->run(sent);
        return made.get_future().get();
    }

    /// The message ids of an error, without the registry's name: "PropertyMissing ...".
    static std::string message_ids(const dp_redfish::answer& error) {
        std::string ids;
        const auto* const root = error.body.find("error");
        const auto* const list = root != nullptr ? root->find("@Message.ExtendedInfo") : nullptr;
        if (list == nullptr) {
            return "no error";
        }
        for (const auto& one : list->items) {
            const std::string& id = one.find("MessageId")->text;
            ids += (ids.empty() ? "" : " ") + id.substr(id.rfind('.') + 1);
        }
        return ids;
    }

    static std::string text_of(const dp_redfish::answer& made) {
        return to_text(made.body, dp_support::json_layout::one_line);
    }
    static const dp_support::json_value& member(const dp_redfish::answer& made,
                                                std::string_view name) {
        static const dp_support::json_value none;
        const auto* const found = made.body.find(name);
        return found != nullptr ? *found : none;
    }

    std::string path = root() + "/var/dp/accounts.json";
    stepped_access steps;
    kept_lines lines;
    dp_redfish::route_table routes;
    std::unique_ptr<dp_redfish::password_access_control> access;
};

}  // namespace test

#endif
