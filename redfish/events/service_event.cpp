#include "redfish/events/service_event.hpp"

#include <utility>

#include "redfish/events/event_registries.hpp"
#include "redfish/protocol/messages.hpp"

namespace dp_redfish {

using dp_support::json_value;

std::string_view service_event::registry_prefix() const {
    return std::string_view(message_id).substr(0, message_id.find('.'));
}

service_event make_event(std::string_view registry, std::string_view message,
                         std::vector<std::string> arguments, std::string origin,
                         std::string resource_type, std::string time) {
    service_event made;
    const message_registry* const known = event_registry_named(registry);
    const registry_message* const text = known == nullptr ? nullptr : known->find(message);
    if (text != nullptr) {
        made.message_id = known->message_id(message);
        made.text = message_text(text->text, arguments);
        made.severity = text->severity;
        made.resolution = text->resolution;
    }
    made.arguments = std::move(arguments);
    made.origin = std::move(origin);
    made.resource_type = std::move(resource_type);
    made.time = std::move(time);
    return made;
}

json_value event_json(const service_event& event, const std::string& id) {
    // The schema requires a type, which means nothing any more.
    json_value body = json_value::object(
        {{"EventType", "Other"}, {"EventId", id}, {"MessageId", event.message_id}});
    if (!event.text.empty()) {
        body.set("Message", event.text);
    }
    body.set("MessageArgs", event.arguments);
    if (!event.severity.empty()) {
        body.set("MessageSeverity", event.severity);
    }
    if (!event.resolution.empty()) {
        body.set("Resolution", event.resolution);
    }
    if (!event.time.empty()) {
        body.set("EventTimestamp", event.time);
    }
    if (!event.origin.empty()) {
        body.set("OriginOfCondition", json_value::object({{"@odata.id", event.origin}}));
    }
    if (event.more.kind == dp_support::json_kind::object) {
        body.merge(event.more);
    }
    return body;
}

}  // namespace dp_redfish
