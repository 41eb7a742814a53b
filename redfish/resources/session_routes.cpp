#include "redfish/resources/session_routes.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "redfish/access/role_names.hpp"
#include "redfish/access/text_rules.hpp"
#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/resources/access_answers.hpp"
#include "redfish/resources/request_members.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_value;

using resource_paths::session_service;

std::string session_path(const std::string& id) {
    return std::string(resource_paths::sessions) + '/' + id;
}

json_value session_service_body(const access_policy& policy) {
    json_value body =
        start_resource(session_service, "SessionService", "SessionService", "Session Service");
    body.merge(json_value::object(
        {{"Description", "Sessions of logged-in users"},
         {"Status", json_value::object({{"State", "Enabled"}, {"Health", "OK"}})},
         {"ServiceEnabled", true},
         {"SessionTimeout", policy.session_timeout.count()},
         {"AbsoluteSessionTimeoutEnabled", policy.has_absolute_timeout},
         {"AbsoluteSessionTimeout", policy.absolute_timeout.count()},
         {"Sessions", reference(resource_paths::sessions)}}));
    return body;
}

json_value session_body(const login_session& shown) {
    json_value body = start_resource(session_path(shown.id), "Session", shown.id, "User Session");
    body.merge(json_value::object(
        {{"Description", "Session of a logged-in user"},
         {"UserName", shown.user},
         {"Password", nullptr},
         {"CreatedTime", time_text(std::chrono::system_clock::to_time_t(shown.created))},
         {"ClientOriginIPAddress", shown.peer},
         {"SessionType", "Redfish"},
         {"Roles", std::vector<std::string>{role_name(shown.role)}}}));
    if (!shown.context.empty()) {
        body.set("Context", shown.context);
    }
    return body;
}

bool may_see(const identity& caller, const login_session& shown) {
    return caller.user == shown.user || (!caller.must_change_password &&
                                         has_privilege(caller.role, privileges::configure_manager));
}

void change_session_service(password_access_control& access, const std::shared_ptr<call>& request) {
    request_members members(request->document);
    const auto timeout = members.integer("SessionTimeout", access_policy::least_session_timeout,
                                         access_policy::greatest_time);
    const auto absolute =
        members.integer("AbsoluteSessionTimeout", access_policy::least_session_timeout,
                        access_policy::greatest_time);
    const auto has_absolute = members.boolean("AbsoluteSessionTimeoutEnabled");
    members.read_only(
        {"Id", "Name", "Description", "Status", "ServiceEnabled", "Sessions", "Actions", "Oem"});
    members.unknown();
    if (!members.errors().empty() || (!timeout && !absolute && !has_absolute)) {
        request->respond(nothing_changed_answer(members.all()));
        return;
    }
    answer_from_access_thread(
        access, request, [&access, request, timeout, absolute, has_absolute, members]() -> answer {
            const account_problem problem =
                access.accounts().change_policy(request->caller.user, [&](access_policy& policy) {
                    policy.session_timeout =
                        std::chrono::seconds(timeout.value_or(policy.session_timeout.count()));
                    policy.absolute_timeout =
                        std::chrono::seconds(absolute.value_or(policy.absolute_timeout.count()));
                    policy.has_absolute_timeout =
                        has_absolute.value_or(policy.has_absolute_timeout);
                    return true;
                });
            if (problem != account_problem::none) {
                return change_refused_answer(problem, {});
            }
            answer done;
            done.body = session_service_body(access.accounts().policy());
            annotate(done.body, members);
            return done;
        });
}

answer list_sessions(password_access_control& access, const identity& caller) {
    std::vector<std::string> paths;
    for (const login_session& one : access.sessions().list()) {
        if (may_see(caller, one)) {
            paths.push_back(session_path(one.id));
        }
    }
    answer found;
    found.body = collection_resource(resource_paths::sessions, "SessionCollection",
                                     "Session Collection", paths);
    return found;
}

answer login_refused(const http_request& request) {
    answer refused = error_answer(http_status::unauthorized,
                                  {{"AccessUnauthorized",
                                    {},
                                    {},
                                    "The user name or the password is wrong, or there were too "
                                    "many failed logins."}});
    add_challenge(refused, request);
    return refused;
}

void create_session(password_access_control& access, const std::shared_ptr<call>& request) {
    constexpr std::size_t longest_context = 128;
    request_members members(request->document);
    members.require({"UserName", "Password"});
    const auto user = members.text("UserName");
    secret_text password(members.secret("Password").value_or(""));
    for (json_value& member : request->document.items) {
        if (member.name == "Password") {
            wipe(member.text);
        }
    }
    const auto context = members.text("Context").value_or("");
    if (context.size() > longest_context || !is_plain_text(context)) {
        members.wrong("Context", {"PropertyValueFormatError",
                                  {std::string(context.substr(0, longest_context)), "Context"}});
    }
    // The schema has more members, which the service sets.
    members.ignore({"Id", "Name", "Description", "SessionType", "Roles"});
    members.unknown();
    if (const auto problems = members.all(); !problems.empty()) {
        request->respond(error_answer(http_status::bad_request, problems));
        return;
    }
    access.log_in(
        std::string(*user), std::move(password), request->request->peer, std::string(context),
        [&access, request](password_access_control::login_problem problem,
                           const login_session& made, const secret_text& token) {
            using problems = password_access_control::login_problem;
            answer done;
            switch (problem) {
                case problems::none:
                    done.status = http_status::created;
                    done.body = session_body(made);
                    done.headers["Location"] = session_path(made.id);
                    done.headers["X-Auth-Token"] = std::string(token.view());
                    if (access.accounts().must_change_password(made.user)) {
                        json_value messages = json_value::array();
                        messages.push_back(
                            message_json({"PasswordChangeRequired", {account_path(made.user)}}));
                        done.body.set("@Message.ExtendedInfo", std::move(messages));
                    }
                    break;
                case problems::refused:
                    done = login_refused(*request->request);
                    break;
                case problems::too_many_sessions:
                    done = error_answer(http_status::unavailable, {{"SessionLimitExceeded"}});
                    done.headers["Retry-After"] = "30";
                    break;
                case problems::unavailable:
                    done = try_again_answer();
                    break;
            }
            request->respond(std::move(done));
        });
}

// The session that a request is about, or the answer when the caller may not see it.
struct session_or_refusal {
    std::optional<login_session> found;
    answer refusal{};
};

session_or_refusal wanted_session(password_access_control& access, const call& request) {
    const std::string& id = request.parameters.at(0);
    auto found = access.sessions().find(id);
    if (!found) {
        return {std::nullopt, not_found_answer("Session", id)};
    }
    if (!may_see(request.caller, *found)) {
        return {std::nullopt, not_allowed_answer(request.caller)};
    }
    return {std::move(found)};
}

}  // namespace

void add_session_routes(route_table& routes, password_access_control& access) {
    routes.add("GET", session_service, privileges::login,
               [&access](const std::shared_ptr<call>& request) {
                   answer found;
                   found.body = session_service_body(access.accounts().policy());
                   request->respond(std::move(found));
               });
    routes.add("PATCH", session_service, privileges::configure_manager,
               [&access](const std::shared_ptr<call>& request) {
                   change_session_service(access, request);
               });
    routes.add("GET", resource_paths::sessions, privileges::login,
               [&access](const std::shared_ptr<call>& request) {
                   request->respond(list_sessions(access, request->caller));
               });
    // Redfish has two paths for adding to a collection.
    const std::string sessions = resource_paths::sessions;
    for (const std::string& path : {sessions, sessions + "/Members"}) {
        routes.add("POST", path, privileges::none, [&access](const std::shared_ptr<call>& request) {
            create_session(access, request);
        });
    }
    routes.add(
        "GET", session_path("{}"), privileges::configure_self,
        [&access](const std::shared_ptr<call>& request) {
            auto wanted = wanted_session(access, *request);
            if (wanted.found) {
                wanted.refusal.body = session_body(*wanted.found);
            }
            request->respond(std::move(wanted.refusal));
        },
        for_password_change);
    routes.add(
        "DELETE", session_path("{}"), privileges::configure_self,
        [&access](const std::shared_ptr<call>& request) {
            auto wanted = wanted_session(access, *request);
            if (wanted.found) {
                const std::string reason = "ended by " + request->caller.user;
                wanted.refusal = access.sessions().end(wanted.found->id, reason)
                                     ? no_content_answer()
                                     : not_found_answer("Session", wanted.found->id);
            }
            request->respond(std::move(wanted.refusal));
        },
        for_password_change);
}

}  // namespace dp_redfish
