#include "redfish/resources/event_resources.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "redfish/events/event_registries.hpp"
#include "redfish/protocol/accepted_type.hpp"
#include "redfish/protocol/call.hpp"
#include "redfish/protocol/http_status.hpp"
#include "redfish/protocol/messages.hpp"
#include "redfish/protocol/request_body.hpp"
#include "redfish/protocol/standard_answers.hpp"
#include "redfish/resources/model_answers.hpp"
#include "redfish/resources/resource_json.hpp"
#include "redfish/resources/resource_paths.hpp"
#include "support/json.hpp"

namespace dp_redfish {
namespace {

using dp_support::json_kind;
using dp_support::json_value;

constexpr const char* test_action = "EventService.SubmitTestEvent";

std::string subscription_path(const std::string& id) {
    return std::string(resource_paths::event_subscriptions) + '/' + id;
}

// --- the service

json_value event_service_json() {
    json_value body = start_resource(resource_paths::event_service, "EventService", "EventService",
                                     "Event Service");
    body.set("Description", "Events as streams of server-sent events");
    body.set("ServiceEnabled", true);
    body.set("Status", json_value::object({{"State", "Enabled"}, {"Health", "OK"}}));
    std::vector<std::string> prefixes;
    for (const auto& registry : event_registries()) {
        prefixes.emplace_back(registry.prefix);
    }
    body.set("RegistryPrefixes", prefixes);
    body.set("ResourceTypes", std::vector<std::string>{"AttributeRegistry", "Bios",
                                                       "ComputerSystem", "Manager", "Task"});
    body.set("EventFormatTypes", std::vector<std::string>{"Event"});
    body.set("IncludeOriginOfConditionSupported", false);
    body.set("SSEIncludeOriginOfConditionSupported", false);
    body.set("ServerSentEventUri", resource_paths::event_stream);
    body.set("SSEFilterPropertiesSupported", json_value::object({{"EventFormatType", true},
                                                                 {"MessageId", true},
                                                                 {"MetricReportDefinition", false},
                                                                 {"OriginResource", true},
                                                                 {"RegistryPrefix", true},
                                                                 {"ResourceType", true},
                                                                 {"SubordinateResources", true}}));
    body.set("Subscriptions", reference(resource_paths::event_subscriptions));
    body.set("Actions",
             json_value::object(
                 {{std::string("#") + test_action,
                   json_value::object({{"target", std::string(resource_paths::event_service) +
                                                      "/Actions/" + test_action}})}}));
    return body;
}

// --- the stream

// What a client wants to get, or the answer to a query that is wrong.
struct wanted_events {
    bool is_right = true;
    std::string filter_text{};
    event_filter filter{};
    answer refusal{};
};

wanted_events refuse_query(unsigned status, message why) {
    wanted_events refused;
    refused.is_right = false;
    refused.refusal = error_answer(status, {std::move(why)});
    return refused;
}

wanted_events read_stream_query(const http_request& request) {
    wanted_events wanted;
    bool has_filter = false;
    for (const auto& [name, value] : request.query) {
        if (name == "$filter" && has_filter) {
            return refuse_query(http_status::bad_request,
                                {"QueryCombinationInvalid", {}, {}, "$filter is repeated."});
        }
        if (name == "$filter") {
            has_filter = true;
            wanted.filter_text = value;
        } else if (name.starts_with('$') || name == "only") {
            return refuse_query(http_status::not_implemented,
                                {"QueryParameterUnsupported", {name}});
        }
    }
    if (!has_filter) {
        return wanted;
    }
    auto parsed = event_filter::parse(wanted.filter_text);
    if (const auto* const problem = std::get_if<event_filter::problem>(&parsed)) {
        return problem->is_unsupported
                   ? refuse_query(http_status::not_implemented,
                                  {"QueryParameterUnsupported", {"$filter"}, {}, problem->reason})
                   : refuse_query(http_status::bad_request, {"QueryParameterValueFormatError",
                                                             {wanted.filter_text, "$filter"},
                                                             {},
                                                             problem->reason});
    }
    wanted.filter = std::get<event_filter>(std::move(parsed));
    return wanted;
}

constexpr const char* stream_type = "text/event-stream";

answer stream_head(const accepted_type& accepted) {
    answer head;
    head.headers["Content-Type"] =
        std::string(stream_type) + (accepted.wants_utf8 ? ";charset=utf-8" : "");
    return head;
}

void open_stream(server_model& model, event_service& events, const std::shared_ptr<call>& request) {
    const http_request& asked = *request->request;
    const accepted_type accepted(asked.header("Accept"), stream_type);
    if (!accepted.is_accepted) {
        return request->respond(error_answer(
            http_status::not_acceptable,
            {{"HeaderInvalid", {"Accept"}, {}, "The stream is available as text/event-stream."}}));
    }
    const auto wanted = std::make_shared<wanted_events>(read_stream_query(asked));
    if (!wanted->is_right) {
        return request->respond(std::move(wanted->refusal));
    }
    if (asked.method == "HEAD") {
        return request->respond(stream_head(accepted));
    }
    // What is in the history now is not new to the client.
    answer_from_snapshot(
        model, request, "The server's history",
        [&events, request, wanted, accepted](const snapshot_pointer& server) {
            events.start_watching(server);
            auto reserved = events.reserve(
                {{}, request->caller, request->request->peer, wanted->filter_text}, wanted->filter,
                std::string(request->request->header("Last-Event-ID")));
            if (reserved == nullptr) {
                answer refused =
                    error_answer(http_status::unavailable, {{"EventSubscriptionLimitExceeded"}});
                refused.headers["Retry-After"] = "30";
                return refused;
            }
            answer opened = stream_head(accepted);
            opened.start_stream = [&events, reserved](std::shared_ptr<body_stream> stream) {
                events.begin(reserved, std::move(stream));
            };
            return opened;
        });
}

// --- subscriptions

json_value subscription_json(const event_service::stream_info& stream) {
    json_value body =
        start_resource(subscription_path(stream.id), "EventDestination", stream.id, "Event stream");
    body.set("Description", "Open stream of " + stream.client.user + " from " + stream.peer);
    body.set("Context", stream.filter_text);
    body.set("Protocol", "Redfish");
    body.set("SubscriptionType", "SSE");
    body.set("EventFormatType", "Event");
    body.set("Status", json_value::object({{"State", "Enabled"}, {"Health", "OK"}}));
    return body;
}

bool may_see_stream(const identity& caller, const event_service::stream_info& stream) {
    return caller.user == stream.client.user ||
           has_privilege(caller.role, privileges::configure_manager);
}

answer subscriptions_answer(const event_service& events, const identity& caller) {
    std::vector<std::string> paths;
    for (const auto& stream : events.streams()) {
        if (may_see_stream(caller, stream)) {
            paths.push_back(subscription_path(stream.id));
        }
    }
    return {.body =
                collection_resource(resource_paths::event_subscriptions,
                                    "EventDestinationCollection", "Event Subscriptions", paths)};
}

// The stream that a request names, if its caller may see it.
std::optional<event_service::stream_info> wanted_stream(const event_service& events,
                                                        const call& request) {
    for (const auto& stream : events.streams()) {
        if (stream.id == request.parameters.front() && may_see_stream(request.caller, stream)) {
            return stream;
        }
    }
    return std::nullopt;
}

answer subscription_answer(const event_service& events, const call& request) {
    const auto found = wanted_stream(events, request);
    return found ? answer{.body = subscription_json(*found)}
                 : not_found_answer("EventDestination", request.parameters.front());
}

answer end_subscription(event_service& events, const call& request) {
    const auto found = wanted_stream(events, request);
    return found && events.end(found->id)
               ? no_content_answer()
               : not_found_answer("EventDestination", request.parameters.front());
}

// The service opens no connections to others.
answer push_refused_answer() {
    answer refused = error_answer(
        http_status::method_not_allowed,
        {{"OperationNotAllowed",
          {},
          {},
          std::string("This service sends events to streams that clients open with GET ") +
              resource_paths::event_stream + "; it opens no connections itself."}});
    refused.headers["Allow"] = "GET, HEAD";
    return refused;
}

// --- the action

// REGISTRY.MAJOR.MINOR.NAME, each a word.
bool is_message_id(std::string_view text) {
    std::array<std::string_view, 4> parts;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::size_t end =
            i + 1 == parts.size() ? text.size() : std::min(text.find('.'), text.size());
        parts.at(i) = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    const auto is_word = [](std::string_view part) {
        return !part.empty() && std::all_of(part.begin(), part.end(), [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                   c == '_';
        });
    };
    const auto is_number = [](std::string_view part) {
        return !part.empty() && part.find_first_not_of("0123456789") == std::string_view::npos;
    };
    return is_word(parts[0]) && is_number(parts[1]) && is_number(parts[2]) && is_word(parts[3]);
}

bool is_date_time(std::string_view text) {
    constexpr std::string_view form = "dddd-dd-ddTdd:dd:dd";
    const auto has_form = [](std::string_view part, std::string_view wanted) {
        return part.size() == wanted.size() &&
               std::equal(part.begin(), part.end(), wanted.begin(), [](char c, char like) {
                   return like == 'd' ? c >= '0' && c <= '9' : c == like;
               });
    };
    if (!has_form(text.substr(0, form.size()), form)) {
        return false;
    }
    text.remove_prefix(form.size());
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        text.remove_prefix(std::min(text.find_first_not_of("0123456789"), text.size()));
    }
    return text == "Z" || has_form(text, "+dd:dd") || has_form(text, "-dd:dd");
}

// Reads the parameters of a test event.
class test_event_reader {
  public:
    explicit test_event_reader(const json_value& document) : document_(document) {}

    service_event read() {
        for (const auto& member : document_.items) {
            take(member);
        }
        if (document_.find("MessageId") == nullptr) {
            problems.push_back(
                {"ActionParameterMissing", {test_action, "MessageId"}, "/MessageId"});
        }
        return std::move(event_);
    }

    std::vector<message> problems;

  private:
    void wrong(const char* id, const json_value& member) {
        problems.push_back(
            {id,
             {member.kind == json_kind::text ? member.text
                                             : to_text(member, dp_support::json_layout::one_line),
              member.name, test_action},
             pointer_segment(member.name)});
    }

    void add(const json_value& member) {
        if (event_.more.kind == json_kind::null) {
            event_.more = json_value::object();
        }
        event_.more.set(member.name, member);
    }

    void take(const json_value& member) {
        constexpr std::array<std::string_view, 5> types{
            "StatusChange", "ResourceUpdated", "ResourceAdded", "ResourceRemoved", "Alert"};
        constexpr std::array<std::string_view, 3> severities{"OK", "Warning", "Critical"};
        const auto is_one_of = [&](const auto& list) {
            return std::find(list.begin(), list.end(), member.text) != list.end();
        };
        const std::string& name = member.name;
        if (name == "EventGroupId" || name == "MessageArgs") {
            take_other(member);
            return;
        }
        constexpr std::array<std::string_view, 8> texts{
            "EventId",   "EventTimestamp",  "EventType",         "Message",
            "MessageId", "MessageSeverity", "OriginOfCondition", "Severity"};
        if (std::find(texts.begin(), texts.end(), name) == texts.end()) {
            problems.push_back(
                {"ActionParameterUnknown", {test_action, name}, pointer_segment(name)});
        } else if (member.kind != json_kind::text) {
            wrong("ActionParameterValueTypeError", member);
        } else if ((name == "MessageSeverity" && !is_one_of(severities)) ||
                   (name == "EventType" && !is_one_of(types) && member.text != "Other")) {
            wrong("ActionParameterValueNotInList", member);
        } else if ((name == "MessageId" && !is_message_id(member.text)) ||
                   (name == "EventTimestamp" && !is_date_time(member.text))) {
            wrong("ActionParameterValueFormatError", member);
        } else {
            take_text(member);
        }
    }

    void take_text(const json_value& member) {
        if (member.name == "MessageId") {
            event_.message_id = member.text;
        } else if (member.name == "EventTimestamp") {
            event_.time = member.text;
        } else if (member.name == "Message") {
            event_.text = member.text;
        } else if (member.name == "MessageSeverity") {
            event_.severity = member.text;
        } else if (member.name == "OriginOfCondition") {
            event_.origin = member.text;
        } else {
            add(member);
        }
    }

    void take_other(const json_value& member) {
        const bool is_list = member.name == "MessageArgs";
        const bool is_right = is_list ? member.kind == json_kind::array &&
                                            std::all_of(member.items.begin(), member.items.end(),
                                                        [](const json_value& item) {
                                                            return item.kind == json_kind::text;
                                                        })
                                      : member.kind == json_kind::integer;
        if (!is_right) {
            wrong("ActionParameterValueTypeError", member);
        } else if (is_list) {
            for (const auto& item : member.items) {
                event_.arguments.push_back(item.text);
            }
        } else {
            add(member);
        }
    }

    const json_value& document_;
    service_event event_;
};

answer submit_test_event(event_service& events, const call& request) {
    test_event_reader reader(request.document);
    service_event event = reader.read();
    if (!reader.problems.empty()) {
        return error_answer(http_status::bad_request, reader.problems);
    }
    if (event.origin.starts_with(resource_paths::bios)) {
        event.resource_type = "Bios";
    } else if (event.origin == resource_paths::system) {
        event.resource_type = "ComputerSystem";
    }
    events.publish(std::move(event));
    return no_content_answer();
}

}  // namespace

void add_event_routes(route_table& routes, server_model& model, event_service& events) {
    routes.add("GET", resource_paths::event_service, privileges::login,
               [](const std::shared_ptr<call>& request) {
                   request->respond({.body = event_service_json()});
               });
    routes.add_stream(resource_paths::event_stream, privileges::login,
                      [&model, &events](const std::shared_ptr<call>& request) {
                          open_stream(model, events, request);
                      });
    const std::string subscriptions = resource_paths::event_subscriptions;
    routes.add("GET", subscriptions, privileges::login,
               [&events](const std::shared_ptr<call>& request) {
                   request->respond(subscriptions_answer(events, request->caller));
               });
    for (const std::string& path : {subscriptions, subscriptions + "/Members"}) {
        routes.add_refusal(
            "POST", path, privileges::login,
            [](const std::shared_ptr<call>& request) { request->respond(push_refused_answer()); });
    }
    routes.add("GET", subscription_path("{}"), privileges::login,
               [&events](const std::shared_ptr<call>& request) {
                   request->respond(subscription_answer(events, *request));
               });
    routes.add("DELETE", subscription_path("{}"), privileges::configure_self,
               [&events](const std::shared_ptr<call>& request) {
                   request->respond(end_subscription(events, *request));
               });
    routes.add("POST", std::string(resource_paths::event_service) + "/Actions/" + test_action,
               privileges::configure_manager, [&events](const std::shared_ptr<call>& request) {
                   request->respond(submit_test_event(events, *request));
               });
}

}  // namespace dp_redfish
