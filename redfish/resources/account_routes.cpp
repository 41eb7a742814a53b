#include "redfish/resources/account_routes.hpp"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "redfish/access/account_store.hpp"
#include "redfish/access/digest.hpp"
#include "redfish/access/password_hash.hpp"
#include "redfish/access/role_names.hpp"
#include "redfish/access/secret_text.hpp"
#include "redfish/access/text_rules.hpp"
#include "redfish/protocol/etag.hpp"
#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/request_body.hpp"
#include "redfish/resources/access_answers.hpp"
#include "redfish/resources/request_members.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "support/hexadecimal.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

using resource_paths::account_service;

std::string accounts_path() {
    return std::string(account_service) + "/Accounts";
}

constexpr const char* change_password_action = "ManagerAccount.ChangePassword";

std::string change_password_path(const std::string& name) {
    return account_path(name) + "/Actions/" + change_password_action;
}

std::string roles_path() {
    return std::string(account_service) + "/Roles";
}

std::string role_path(const std::string& name) {
    return roles_path() + '/' + name;
}

json_value account_service_body(const password_access_control& access) {
    const access_policy policy = access.accounts().policy();
    json_value body =
        start_resource(account_service, "AccountService", "AccountService", "Account Service");
    body.merge(json_value::object(
        {{"Description", "Accounts of the users who may log in"},
         {"Status", json_value::object({{"State", "Enabled"}, {"Health", "OK"}})},
         {"ServiceEnabled", true},
         {"AuthFailureLoggingThreshold", 1},
         {"MinPasswordLength", least_password_length},
         {"MaxPasswordLength", greatest_password_length},
         {"PasswordGuidanceMessage", "A password has " + std::to_string(least_password_length) +
                                         " to " + std::to_string(greatest_password_length) +
                                         " characters, none of them a control character."},
         {"AccountLockoutThreshold", policy.lockout_threshold},
         {"AccountLockoutDuration", policy.lockout_duration.count()},
         {"AccountLockoutCounterResetAfter", policy.lockout_reset_after.count()},
         {"AccountLockoutCounterResetEnabled", true},
         {"HTTPBasicAuth", "Enabled"},
         {"LocalAccountAuth", access.external() == nullptr ? "Enabled" : "LocalFirst"},
         {"RequireChangePasswordAction", false},
         {"SupportedAccountTypes", std::vector<std::string>{"Redfish"}},
         {"Accounts", reference(accounts_path())},
         {"Roles", reference(roles_path())}}));
    return body;
}

json_value account_body(const account& shown, bool is_locked) {
    const std::string role = role_name(shown.role);
    json_value body =
        start_resource(account_path(shown.name), "ManagerAccount", shown.name, "User Account");
    body.merge(json_value::object(
        {{"Description", "Account of a user who may log in"},
         {"UserName", shown.name},
         {"Password", nullptr},
         {"RoleId", role},
         {"Enabled", shown.enabled},
         {"Locked", is_locked},
         {"PasswordChangeRequired", shown.must_change_password},
         {"AccountTypes", std::vector<std::string>{"Redfish"}},
         {"Links", json_value::object({{"Role", reference(role_path(role))}})}}));
    // Others are those of the operating system.
    if (!shown.password_hash.empty()) {
        body.set("Actions",
                 json_value::object(
                     {{std::string("#") + change_password_action,
                       json_value::object({{"target", change_password_path(shown.name)}})}}));
    }
    return body;
}

json_value role_body(roles role) {
    const std::string name = role_name(role);
    json_value body = start_resource(role_path(name), "Role", name, name + " Role");
    body.merge(json_value::object({{"Description", "What users with the role " + name + " may do"},
                                   {"RoleId", name},
                                   {"IsPredefined", true},
                                   {"AssignedPrivileges", privilege_names(role)},
                                   {"OemPrivileges", json_value::array()}}));
    return body;
}

// Also differs after a change of the password, which no property shows.
std::string account_etag(const account& shown, bool is_locked) {
    const digest state =
        sha256(shown.name + '\n' + role_name(shown.role) + '\n' + (shown.enabled ? 'e' : 'd') +
               (is_locked ? 'l' : 'u') + (shown.must_change_password ? 'c' : 'k') + '\n' +
               shown.password_hash);
    constexpr std::size_t most_bytes = 8;
    return etag_of_version(dp_support::hexadecimal_digits(std::span(state).first(most_bytes)));
}

constexpr const char* external_reason = "The operating system keeps this account.";

// An account that the operating system keeps, as one of the file; nothing if there is none. For the
// access thread.
std::optional<account> find_external(const password_access_control& access,
                                     const std::string& name) {
    external_accounts* const external = access.external();
    const auto role =
        external == nullptr || !is_user_name(name) ? std::nullopt : external->role_of(name);
    return role ? std::optional(account{name, *role, true, {}}) : std::nullopt;
}

answer account_answer(const password_access_control& access, const account& shown) {
    const bool is_locked = access.is_locked(shown.name);
    answer found;
    found.body = account_body(shown, is_locked);
    found.etag = account_etag(shown, is_locked);
    found.body.set("@odata.etag", found.etag);
    return found;
}

account_store::precondition precondition_of(password_access_control& access,
                                            const std::shared_ptr<call>& request) {
    return [&access, request](const account& present) {
        const std::string_view wanted = request->request->header("If-Match");
        return wanted.empty() ||
               lists_etag(wanted, account_etag(present, access.is_locked(present.name)));
    };
}

bool may_administer(const identity& caller) {
    return !caller.must_change_password && has_privilege(caller.role, privileges::configure_users);
}

// What the body of a request wants an account to be.
struct wanted_account {
    std::optional<secret_text> password{};
    std::optional<roles> role{};
    std::optional<bool> enabled{};
    bool unlock = false;
    std::optional<bool> must_change_password{};
    bool has_settings = false;  // also those that have that value anyway
};

void not_in_list(request_members& members, std::string_view name, std::string value) {
    members.wrong(name, {"PropertyValueNotInList", {std::move(value), std::string(name)}});
}

// For properties that have one value here, which clients may send all the same.
bool takes_only_false(request_members& members, std::string_view name) {
    const auto value = members.boolean(name);
    if (value == true) {
        not_in_list(members, name, "true");
    }
    return value.has_value();
}

// What is wrong with a new password; `wrong_characters` is the message about its characters.
std::optional<message> problem_of_password(std::string_view password, message wrong_characters) {
    switch (check_new_password(password)) {
        case password_problem::length:
            return message{"PasswordIncorrectLength",
                           {},
                           {},
                           "It must have " + std::to_string(least_password_length) + " to " +
                               std::to_string(greatest_password_length) + " characters."};
        case password_problem::characters:
            wrong_characters.reason = "It must be UTF-8 without control characters.";
            return wrong_characters;
        case password_problem::none:
            break;
    }
    return std::nullopt;
}

void read_password(request_members& members, wanted_account& wanted) {
    const auto password = members.secret("Password");
    if (!password) {
        return;
    }
    if (auto problem = problem_of_password(*password, {"PropertyValueError", {"Password"}})) {
        members.wrong("Password", *std::move(problem));
    } else {
        wanted.password.emplace(*password);
    }
}

wanted_account read_account(request_members& members) {
    wanted_account wanted;
    read_password(members, wanted);
    if (const auto role = members.text("RoleId")) {
        wanted.role = find_role(*role);
        if (!wanted.role) {
            not_in_list(members, "RoleId", std::string(*role));
        }
    }
    wanted.enabled = members.boolean("Enabled");
    wanted.unlock = takes_only_false(members, "Locked");
    wanted.must_change_password = members.boolean("PasswordChangeRequired");
    const json_value* const types = members.any("AccountTypes");
    if (types != nullptr) {
        const bool is_redfish =
            types->kind == json_kind::array && !types->items.empty() &&
            std::all_of(types->items.begin(), types->items.end(), [](const json_value& one) {
                return one.kind == json_kind::text && one.text == "Redfish";
            });
        if (!is_redfish) {
            not_in_list(members, "AccountTypes",
                        to_text(*types, dp_support::json_layout::one_line).substr(0, 200));
        }
    }
    wanted.has_settings = wanted.password || wanted.role || wanted.enabled || wanted.unlock ||
                          wanted.must_change_password || types != nullptr;
    return wanted;
}

// After the password was copied, which is not to remain in the parsed body.
void wipe_password(json_value& document) {
    for (json_value& member : document.items) {
        if (member.name.find("Password") != std::string::npos) {
            wipe(member.text);
        }
    }
}

void change_account_service(password_access_control& access, const std::shared_ptr<call>& request) {
    request_members members(request->document);
    const auto threshold =
        members.integer("AccountLockoutThreshold", 0, access_policy::greatest_threshold);
    const auto duration =
        members.integer("AccountLockoutDuration", 0, access_policy::greatest_time);
    const auto reset_after =
        members.integer("AccountLockoutCounterResetAfter", 0, access_policy::greatest_time);
    members.read_only({"Id", "Name", "Description", "Status", "ServiceEnabled",
                       "AuthFailureLoggingThreshold", "MinPasswordLength", "MaxPasswordLength",
                       "PasswordGuidanceMessage", "AccountLockoutCounterResetEnabled",
                       "HTTPBasicAuth", "LocalAccountAuth", "RequireChangePasswordAction",
                       "SupportedAccountTypes", "Accounts", "Roles", "Actions", "Oem"});
    members.unknown();
    if (!members.errors().empty() || (!threshold && !duration && !reset_after)) {
        request->respond(nothing_changed_answer(members.all()));
        return;
    }
    answer_from_access_thread(
        access, request, [&access, request, threshold, duration, reset_after, members]() -> answer {
            std::optional<answer> conflict;
            const account_problem problem =
                access.accounts().change_policy(request->caller.user, [&](access_policy& policy) {
                    policy.lockout_threshold = threshold.value_or(policy.lockout_threshold);
                    policy.lockout_duration =
                        std::chrono::seconds(duration.value_or(policy.lockout_duration.count()));
                    policy.lockout_reset_after = std::chrono::seconds(
                        reset_after.value_or(policy.lockout_reset_after.count()));
                    if (policy.is_consistent()) {
                        return true;
                    }
                    const std::string property =
                        duration ? "AccountLockoutDuration" : "AccountLockoutCounterResetAfter";
                    const std::string other =
                        duration ? "AccountLockoutCounterResetAfter" : "AccountLockoutDuration";
                    conflict =
                        error_answer(http_status::bad_request,
                                     {{"PropertyValueConflict",
                                       {property, other},
                                       "/" + property,
                                       "AccountLockoutCounterResetAfter must not be greater than "
                                       "AccountLockoutDuration."}});
                    return false;
                });
            if (conflict) {
                return *conflict;
            }
            if (problem != account_problem::none) {
                return change_refused_answer(problem, {});
            }
            answer done;
            done.body = account_service_body(access);
            annotate(done.body, members);
            return done;
        });
}

answer list_accounts(password_access_control& access, const identity& caller) {
    std::vector<std::string> names;
    for (const account& one : access.accounts().list()) {
        names.push_back(one.name);
    }
    if (access.external() != nullptr) {
        for (const auto& one : access.external()->list()) {
            if (std::find(names.begin(), names.end(), one.name) == names.end()) {
                names.push_back(one.name);
            }
        }
    }
    std::vector<std::string> paths;
    for (const std::string& name : names) {
        if (may_administer(caller) || name == caller.user) {
            paths.push_back(account_path(name));
        }
    }
    answer found;
    found.body = collection_resource(accounts_path(), "ManagerAccountCollection",
                                     "Accounts Collection", paths);
    return found;
}

// Lists on this thread, unless there are accounts that may take long to list.
void list_accounts_for(password_access_control& access, const std::shared_ptr<call>& request) {
    if (access.external() == nullptr) {
        request->respond(list_accounts(access, request->caller));
        return;
    }
    answer_from_access_thread(
        access, request, [&access, request] { return list_accounts(access, request->caller); });
}

void show_account(password_access_control& access, const std::shared_ptr<call>& request) {
    const std::string& name = request->parameters.at(0);
    if (!may_administer(request->caller) && request->caller.user != name) {
        request->respond(not_allowed_answer(request->caller));
        return;
    }
    const auto found = access.accounts().find(name);
    if (found || access.external() == nullptr) {
        request->respond(found ? account_answer(access, *found)
                               : not_found_answer("ManagerAccount", name));
        return;
    }
    answer_from_access_thread(access, request, [&access, request]() -> answer {
        const std::string& user = request->parameters.at(0);
        const auto external = find_external(access, user);
        return external ? account_answer(access, *external)
                        : not_found_answer("ManagerAccount", user);
    });
}

void create_account(password_access_control& access, const std::shared_ptr<call>& request) {
    request_members members(request->document);
    members.require({"UserName", "Password", "RoleId"});
    const auto name = members.text("UserName");
    if (name && !is_user_name(*name)) {
        members.wrong("UserName",
                      {"PropertyValueFormatError",
                       {quoted_for_log(*name), "UserName"},
                       {},
                       "It must have 1 to " + std::to_string(greatest_user_name_length) +
                           " letters, digits and characters of \"._-@\", and begin with a letter, "
                           "a digit or \"_\"."});
    }
    const auto wanted = std::make_shared<wanted_account>(read_account(members));
    // The service sets these.
    members.ignore({"Id", "Name", "Description", "Links"});
    members.unknown();
    const auto problems = members.all();
    const std::string user(name.value_or(""));
    wipe_password(request->document);
    if (!problems.empty()) {
        request->respond(error_answer(http_status::bad_request, problems));
        return;
    }
    answer_from_access_thread(access, request, [&access, request, user, wanted]() -> answer {
        if (find_external(access, user)) {
            return change_refused_answer(account_problem::name_taken, user);
        }
        const account_problem problem = access.accounts().create(
            request->caller.user, user, *wanted->role, wanted->enabled.value_or(true),
            *wanted->password, wanted->must_change_password.value_or(false));
        const auto made = access.accounts().find(user);
        if (problem != account_problem::none || !made) {
            return change_refused_answer(problem, user);
        }
        answer done = account_answer(access, *made);
        done.status = http_status::created;
        done.headers["Location"] = account_path(user);
        return done;
    });
}

// An account that the operating system keeps can be unlocked, and nothing else.
void change_external_account(password_access_control& access,
                             const std::shared_ptr<call>& request) {
    wipe_password(request->document);
    if (access.external() == nullptr) {
        request->respond(not_found_answer("ManagerAccount", request->parameters.at(0)));
        return;
    }
    answer_from_access_thread(access, request, [&access, request]() -> answer {
        const std::string& user = request->parameters.at(0);
        const auto found = find_external(access, user);
        if (!found) {
            return not_found_answer("ManagerAccount", user);
        }
        request_members members(request->document);
        const bool unlock = takes_only_false(members, "Locked");
        members.read_only({"Id", "Name", "Description", "Links", "Actions", "Oem", "UserName",
                           "Password", "RoleId", "Enabled", "AccountTypes",
                           "PasswordChangeRequired"});
        members.unknown();
        if (!members.errors().empty() || !unlock) {
            auto problems = members.all();
            for (message& problem : problems) {
                problem.reason = external_reason;
            }
            return nothing_changed_answer(std::move(problems));
        }
        access.unlock(request->caller.user, user);
        answer done = account_answer(access, *found);
        annotate(done.body, members);
        return done;
    });
}

// The privilege ConfigureSelf is for the own password alone.
bool may_change_account(const identity& caller, const std::vector<std::string>& parameters,
                        const json_value& document) {
    return may_administer(caller) ||
           (caller.user == parameters.at(0) &&
            std::all_of(document.items.begin(), document.items.end(), [](const json_value& one) {
                return one.name == "Password" || one.name.starts_with("@odata.");
            }));
}

void change_account(password_access_control& access, const std::shared_ptr<call>& request) {
    const std::string& name = request->parameters.at(0);
    const json_value& document = request->document;
    if (!access.accounts().find(name)) {
        change_external_account(access, request);
        return;
    }
    request_members members(document);
    const auto wanted = std::make_shared<wanted_account>(read_account(members));
    const json_value* const new_name = document.find("UserName");
    if (new_name != nullptr && new_name->kind == json_kind::text && new_name->text == name) {
        members.ignore({"UserName"});
        wanted->has_settings = true;
    }
    members.read_only({"Id", "Name", "Description", "Links", "Actions", "Oem"});
    if (new_name != nullptr && new_name->text != name) {
        members.read_only({"UserName"});
    }
    members.read_only({"AccountExpiration", "Certificates", "EmailAddress", "HostBootstrapAccount",
                       "Keys", "MFABypass", "OEMAccountTypes", "OneTimePasscodeDeliveryAddress",
                       "PasswordExpiration", "PhoneNumber", "SNMP", "SecretKeySet",
                       "StrictAccountTypes"});
    members.unknown();
    wipe_password(request->document);
    if (!members.errors().empty() || !wanted->has_settings) {
        request->respond(nothing_changed_answer(members.all()));
        return;
    }
    answer_from_access_thread(access, request, [&access, request, wanted, members]() -> answer {
        const std::string& user = request->parameters.at(0);
        const account_problem problem = access.accounts().change(
            request->caller.user, user,
            {wanted->password ? &*wanted->password : nullptr, wanted->role, wanted->enabled,
             wanted->unlock, wanted->must_change_password, request->caller.session_id},
            precondition_of(access, request));
        if (problem == account_problem::last_administrator) {
            const bool is_role = wanted->role && *wanted->role != roles::administrator;
            const std::string property = is_role ? "RoleId" : "Enabled";
            return error_answer(http_status::conflict,
                                {{"PropertyValueExternalConflict",
                                  {property, is_role ? role_name(*wanted->role) : "false"},
                                  "/" + property,
                                  last_administrator_reason}});
        }
        const auto changed = access.accounts().find(user);
        if (problem != account_problem::none || !changed) {
            return change_refused_answer(
                problem == account_problem::none ? account_problem::no_such_account : problem,
                user);
        }
        answer done = account_answer(access, *changed);
        annotate(done.body, members);
        return done;
    });
}

// The parameters of ManagerAccount.ChangePassword.
struct password_change {
    secret_text password{};
    secret_text callers_password{};
    std::vector<message> problems{};
};

password_change read_password_change(const json_value& document) {
    password_change wanted;
    const auto take = [&](const char* name) {
        const json_value* const member = document.find(name);
        if (member == nullptr) {
            wanted.problems.push_back(
                {"ActionParameterMissing", {change_password_action, name}, pointer_segment(name)});
        } else if (member->kind != json_kind::text) {
            wanted.problems.push_back({"ActionParameterValueTypeError",
                                       {"(not shown)", name, change_password_action},
                                       pointer_segment(name)});
        } else {
            return std::optional<std::string_view>(member->text);
        }
        return std::optional<std::string_view>();
    };
    if (const auto password = take("NewPassword")) {
        auto problem = problem_of_password(
            *password, {"ActionParameterValueError", {"NewPassword", change_password_action}});
        if (problem) {
            problem->related_property = "/NewPassword";
            wanted.problems.push_back(*std::move(problem));
        }
        wanted.password = secret_text(*password);
    }
    wanted.callers_password = secret_text(take("SessionAccountPassword").value_or(""));
    for (const json_value& member : document.items) {
        if (member.name != "NewPassword" && member.name != "SessionAccountPassword") {
            wanted.problems.push_back({"ActionParameterUnknown",
                                       {change_password_action, member.name},
                                       pointer_segment(member.name)});
        }
    }
    return wanted;
}

// The caller proves again who it is: a stolen session alone changes no password this way.
answer change_password(password_access_control& access, const call& request,
                       password_change& wanted) {
    using problems = password_access_control::login_problem;
    const std::string& user = request.parameters.at(0);
    switch (access.check_again(request.caller.user, std::move(wanted.callers_password),
                               request.request->peer, "ChangePassword")) {
        case problems::none:
            break;
        case problems::refused:
            return error_answer(http_status::bad_request,
                                {{"ActionParameterValueError",
                                  {"SessionAccountPassword", change_password_action},
                                  "/SessionAccountPassword",
                                  "It is not the password of the account that sent the request, or "
                                  "there were too many failed logins."}});
        default:
            return try_again_answer();
    }
    const account_problem problem = access.accounts().change(
        request.caller.user, user, {&wanted.password, {}, {}, false, {}, request.caller.session_id},
        {});
    if (problem == account_problem::no_such_account && find_external(access, user)) {
        return error_answer(
            http_status::bad_request,
            {{"ActionNotSupported", {change_password_action}, {}, external_reason}});
    }
    return problem == account_problem::none ? no_content_answer()
                                            : change_refused_answer(problem, user);
}

void start_password_change(password_access_control& access, const std::shared_ptr<call>& request) {
    const std::string& user = request->parameters.at(0);
    if (!may_administer(request->caller) && request->caller.user != user) {
        request->respond(not_allowed_answer(request->caller));
        return;
    }
    const auto wanted = std::make_shared<password_change>(read_password_change(request->document));
    wipe_password(request->document);
    if (!wanted->problems.empty()) {
        request->respond(error_answer(http_status::bad_request, wanted->problems));
        return;
    }
    answer_from_access_thread(access, request, [&access, request, wanted] {
        return change_password(access, *request, *wanted);
    });
}

void delete_account(password_access_control& access, const std::shared_ptr<call>& request) {
    answer_from_access_thread(access, request, [&access, request]() -> answer {
        const std::string& user = request->parameters.at(0);
        const account_problem problem =
            access.accounts().remove(request->caller.user, user, precondition_of(access, request));
        if (problem == account_problem::no_such_account && find_external(access, user)) {
            return error_answer(http_status::conflict,
                                {{"ResourceCannotBeDeleted", {}, {}, external_reason}});
        }
        return problem == account_problem::none ? no_content_answer()
                                                : change_refused_answer(problem, user);
    });
}

answer list_roles() {
    std::vector<std::string> paths;
    paths.reserve(all_roles.size());
    for (const roles role : all_roles) {
        paths.push_back(role_path(role_name(role)));
    }
    answer found;
    found.body = collection_resource(roles_path(), "RoleCollection", "Roles Collection", paths);
    return found;
}

answer show_role(const std::string& name) {
    const auto role = find_role(name);
    if (!role) {
        return not_found_answer("Role", name);
    }
    answer found;
    found.body = role_body(*role);
    return found;
}

}  // namespace

void add_account_routes(route_table& routes, password_access_control& access) {
    using request_pointer = std::shared_ptr<call>;
    routes.add("GET", account_service, privileges::login,
               [&access](const request_pointer& request) {
                   answer found;
                   found.body = account_service_body(access);
                   request->respond(std::move(found));
               });
    routes.add(
        "PATCH", account_service, privileges::configure_users,
        [&access](const request_pointer& request) { change_account_service(access, request); });
    routes.add("GET", accounts_path(), privileges::login,
               [&access](const request_pointer& request) { list_accounts_for(access, request); });
    // Redfish has two paths for adding to a collection.
    for (const std::string& path : {accounts_path(), accounts_path() + "/Members"}) {
        routes.add("POST", path, privileges::configure_users,
                   [&access](const request_pointer& request) { create_account(access, request); });
    }
    const std::string one_account = account_path("{}");
    routes.add(
        "GET", one_account, privileges::configure_self,
        [&access](const request_pointer& request) { show_account(access, request); },
        for_password_change);
    routes.add(
        "PATCH", one_account, privileges::configure_self,
        [&access](const request_pointer& request) { change_account(access, request); },
        for_password_change);
    routes.allow_only(may_change_account);
    routes.add(
        "POST", change_password_path("{}"), privileges::configure_self,
        [&access](const request_pointer& request) { start_password_change(access, request); },
        for_password_change);
    routes.add("DELETE", one_account, privileges::configure_users,
               [&access](const request_pointer& request) { delete_account(access, request); });
    routes.add("GET", roles_path(), privileges::login,
               [](const request_pointer& request) { request->respond(list_roles()); });
    routes.add("GET", role_path("{}"), privileges::login, [](const request_pointer& request) {
        request->respond(show_role(request->parameters.at(0)));
    });
}

}  // namespace dp_redfish
