#include "redfish/resources/bios_resources.hpp"

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "redfish/protocol/call.hpp"
#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/request_body.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/attribute_value.hpp"
#include "redfish/resources/bios_etags.hpp"
#include "redfish/resources/model_answers.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "redfish/resources/schemas.hpp"
#include "redfish/resources/service_answer.hpp"
#include "redfish/resources/settings_change.hpp"
#include "redfish/resources/settings_update.hpp"
#include "service_api/service_status.hpp"
#include "transactions/command_status.hpp"

namespace dp_redfish {
namespace {

using dp_service::settings_client;
using dp_support::json_kind;
using dp_support::json_value;

constexpr std::int64_t nanoseconds_in_a_second = 1'000'000'000;

// --- the resources

json_value settings_object(const server_snapshot& server) {
    json_value settings =
        json_value::object({{"@odata.type", odata_type("Settings")},
                            {"SettingsObject", reference(resource_paths::bios_settings)},
                            {"SupportedApplyTimes", std::vector<std::string>{"OnReset"}}});
    const file_state& applied = server.state_of(watched_file::current_values);
    if (applied != file_state()) {
        settings.set("Time", time_text(applied.written / nanoseconds_in_a_second));
        json_value messages = json_value::array();
        messages.push_back(message_json({"Success"}));
        settings.set("Messages", std::move(messages));
    }
    return settings;
}

json_value bios_json(const server_snapshot& server) {
    json_value body = start_resource(resource_paths::bios, "Bios", "Bios", "BIOS, current values");
    const std::string etag = etag_of_current(server);
    body.set("@odata.etag", etag);
    body.set("Description", "The values that are in effect since the server's last start");
    body.set("AttributeRegistry", server.catalog->registry_id);
    json_value settings = settings_object(server);
    settings.set("ETag", etag);
    body.set("@Redfish.Settings", std::move(settings));
    body.set("Actions", json_value::object(
                            {{"#Bios.ResetBios",
                              json_value::object({{"target", std::string(resource_paths::bios) +
                                                                 "/Actions/Bios.ResetBios"}})}}));
    body.set("Attributes", attributes_json(*server.catalog, server.current));
    return body;
}

json_value bios_settings_json(const server_snapshot& server) {
    json_value body =
        start_resource(resource_paths::bios_settings, "Bios", "Settings", "BIOS, pending values");
    body.set("@odata.etag", etag_of_pending(server));
    body.set("Description", "The values that take effect when the server starts again");
    body.set("AttributeRegistry", server.catalog->registry_id);
    body.set("Attributes", attributes_json(*server.catalog, server.pending));
    return body;
}

// The text of a resource, written once for each snapshot.
class written_resource {
  public:
    using writer = json_value (*)(const server_snapshot&);

    explicit written_resource(writer write) : write_(write) {}

    std::shared_ptr<const std::string> text_of(const snapshot_pointer& server) {
        {
            const std::lock_guard lock(mutex_);
            if (server_ == server) {
                return text_;
            }
        }
        auto text = std::make_shared<const std::string>(
            to_text(write_(*server), dp_support::json_layout::one_line));
        const std::lock_guard lock(mutex_);
        server_ = server;
        text_ = text;
        return text;
    }

  private:
    writer write_;
    std::mutex mutex_;
    snapshot_pointer server_;
    std::shared_ptr<const std::string> text_;
};

answer written_answer(std::shared_ptr<const std::string> text, std::string etag) {
    answer result;
    result.text = std::move(text);
    result.etag = std::move(etag);
    result.headers["Link"] = schema_link("Bios");
    return result;
}

answer settings_answer_with(const snapshot_pointer& now, const std::vector<message>& notes) {
    answer result;
    result.body = bios_settings_json(*now);
    if (!notes.empty()) {
        json_value list = json_value::array();
        for (const auto& note : notes) {
            list.push_back(message_json(note));
        }
        append_member(result.body, "@Message.ExtendedInfo", std::move(list));
    }
    result.etag = etag_of_pending(*now);
    return result;
}

// --- PATCH

// What is wrong with the members of a PATCH beside the values.
std::vector<message> problems_of_patch(const json_value& document) {
    constexpr std::array<std::string_view, 6> fixed{
        "Id", "Name", "Description", "AttributeRegistry", "Actions", "Links"};
    std::vector<message> problems;
    for (const auto& member : document.items) {
        const std::string pointer = pointer_segment(member.name);
        if (member.name.starts_with("@odata.")) {
            continue;
        }
        if (member.name == "Attributes") {
            if (member.kind != json_kind::object) {
                problems.push_back(
                    {"PropertyValueTypeError",
                     {to_text(member, dp_support::json_layout::one_line), member.name},
                     pointer});
            } else if (member.items.empty()) {
                problems.push_back({"NoOperation"});
            }
        } else if (member.name == "@Redfish.SettingsApplyTime") {
            const json_value* const when = member.find("ApplyTime");
            if (when == nullptr || when->kind != json_kind::text) {
                problems.push_back({"PropertyMissing", {"ApplyTime"}, pointer + "/ApplyTime"});
            } else if (when->text != "OnReset") {
                problems.push_back({"PropertyValueNotInList",
                                    {when->text, "ApplyTime"},
                                    pointer + "/ApplyTime",
                                    "Allowed: OnReset."});
            }
        } else if (std::find(fixed.begin(), fixed.end(), member.name) != fixed.end()) {
            problems.push_back({"PropertyNotWritable", {member.name}, pointer});
        } else {
            problems.push_back({"PropertyUnknown", {member.name}, pointer});
        }
    }
    if (problems.empty() && document.find("Attributes") == nullptr) {
        problems.push_back({"NoOperation"});
    }
    return problems;
}

// The problems of a request whose other members are wrong, with those of its values.
void add_problems_of_values(const server_snapshot* server, const json_value& document,
                            std::vector<message>& problems) {
    const json_value* const attributes = document.find("Attributes");
    if (server != nullptr && attributes != nullptr && attributes->kind == json_kind::object) {
        const auto change = plan_change(*server, *attributes);
        problems.insert(problems.end(), change.problems.begin(), change.problems.end());
    }
}

void patch_settings(server_model& model, const std::shared_ptr<call>& request) {
    auto problems = problems_of_patch(request->document);
    answer_from_service(
        model, request,
        [&model, request, problems = std::move(problems)](settings_client& client) mutable {
            if (!problems.empty()) {
                add_problems_of_values(model.read_now().get(), request->document, problems);
                return error_answer(http_status::bad_request, problems);
            }
            return update_settings(model, client, *request, settings_answer_with);
        });
}

// --- actions

// Actions of the BIOS that have no parameters.
bool has_no_parameters(const call& request, const std::string& action) {
    std::vector<message> problems;
    for (const auto& member : request.document.items) {
        problems.push_back(
            {"ActionParameterUnknown", {action, member.name}, pointer_segment(member.name)});
    }
    if (!problems.empty()) {
        request.respond(error_answer(http_status::bad_request, problems));
    }
    return problems.empty();
}

answer reset_settings(server_model& model, settings_client& client) {
    const snapshot_pointer server = model.read_now();
    if (server == nullptr) {
        return unavailable_answer("The server's values cannot be read.");
    }
    settings_change change = plan_reset(*server);
    if (change.commands.empty()) {
        return no_content_answer();
    }
    const auto outcome = client.change_settings(change.commands);
    if (!was_done(outcome)) {
        return service_failure(outcome);
    }
    std::vector<message> problems;
    for (std::size_t i = 0; i < change.commands.size(); ++i) {
        const auto& command = change.commands[i];
        // What other values make read-only keeps its value.
        if (command.status != dp::command_status::success &&
            command.status != dp_service::service_status::read_only &&
            command.status != dp_service::service_status::forbidden_by_dependency) {
            problems.push_back(refusal_message(command.status,
                                               server->catalog->settings[change.settings[i]],
                                               command.value, command.reason));
        }
    }
    return problems.empty() ? no_content_answer()
                            : error_answer(http_status::internal_error, problems);
}

void reset_bios(server_model& model, const std::shared_ptr<call>& request) {
    if (!has_no_parameters(*request, "Bios.ResetBios")) {
        return;
    }
    answer_from_service(model, request, [&model](settings_client& client) {
        return reset_settings(model, client);
    });
}

}  // namespace

void add_bios_routes(route_table& routes, server_model& model) {
    const auto add_get = [&](const char* path, written_resource::writer write,
                             std::string (*etag)(const server_snapshot&)) {
        const auto resource = std::make_shared<written_resource>(write);
        routes.add("GET", path, privileges::login,
                   [&model, resource, etag](const std::shared_ptr<call>& request) {
                       answer_from_snapshot(model, request, "The server's values",
                                            [resource, etag](const snapshot_pointer& server) {
                                                return written_answer(resource->text_of(server),
                                                                      etag(*server));
                                            });
                   });
    };
    add_get(resource_paths::bios, bios_json, etag_of_current);
    add_get(resource_paths::bios_settings, bios_settings_json, etag_of_pending);
    routes.add("PATCH", resource_paths::bios_settings, privileges::configure_components,
               [&model](const std::shared_ptr<call>& request) { patch_settings(model, request); });
    routes.let_be_deferred();
    const std::string actions = std::string(resource_paths::bios) + "/Actions/";
    routes.add("POST", actions + "Bios.ResetBios", privileges::configure_components,
               [&model](const std::shared_ptr<call>& request) { reset_bios(model, request); });
    routes.let_be_deferred();
    // The settings service keeps no passwords.
    routes.add(
        "POST", actions + "Bios.ChangePassword", privileges::configure_components,
        [](const std::shared_ptr<call>& request) {
            request->respond(error_answer(http_status::bad_request,
                                          {{"ActionNotSupported", {"Bios.ChangePassword"}}}));
        });
}

}  // namespace dp_redfish
