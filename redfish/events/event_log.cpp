#include "redfish/events/event_log.hpp"

#include <string_view>
#include <utility>

#include "redfish/resources/schemas.hpp"

namespace dp_redfish {
namespace {

constexpr std::size_t most_in_a_payload = 100;

// One Event of Redfish, as a server-sent event. The ids have only digits, letters, '-' and '_'.
std::string payload(const event_log::entries& events, std::size_t first, std::size_t end) {
    const std::string& id = events[end - 1]->id;
    std::string text = "id: " + id + "\n" + R"(data: {"@odata.type":")" + odata_type("Event") +
                       R"(","Id":")" + id + R"(","Name":"Event","Events@odata.count":)" +
                       std::to_string(end - first) + R"(,"Events":[)";
    for (std::size_t i = first; i < end; ++i) {
        text += i == first ? "" : ",";
        text += R"({"MemberId":")" + std::to_string(i - first) + R"(",)";
        text += std::string_view(events[i]->json).substr(1);
    }
    return text + "]}\n\n";
}

}  // namespace

event_log::entries event_log::add(std::vector<service_event> events) {
    entries added;
    added.reserve(events.size());
    for (service_event& event : events) {
        auto made = std::make_shared<logged_event>();
        if (event.record_id.empty()) {
            made->id = last_record_id_ + '_' + origin_ + '_' + std::to_string(++others_);
        } else {
            made->id = last_record_id_ = event.record_id;
        }
        made->json = to_text(event_json(event, made->id), dp_support::json_layout::one_line);
        made->event = std::move(event);
        added.push_back(made);
        events_.push_back(std::move(made));
        if (events_.size() > most_) {
            events_.pop_front();
        }
    }
    return added;
}

std::optional<std::size_t> event_log::find(const std::string& id) const {
    // Clients were mostly away for a short time.
    for (std::size_t i = events_.size(); i > 0; --i) {
        if (events_[i - 1]->id == id) {
            return i - 1;
        }
    }
    return std::nullopt;
}

std::optional<event_log::entries> event_log::after(const std::string& id) const {
    auto found = find(id);
    if (!found) {
        // The event of another process: what followed its last change record was missed.
        found = find(id.substr(0, id.find('_')));
    }
    if (!found) {
        return std::nullopt;
    }
    return entries(events_.begin() + static_cast<std::ptrdiff_t>(*found) + 1, events_.end());
}

std::vector<std::string> stream_texts(const event_log::entries& events,
                                      const event_filter& filter) {
    event_log::entries passing;
    for (const auto& each : events) {
        if (filter.matches(each->event)) {
            passing.push_back(each);
        }
    }
    std::vector<std::string> texts;
    for (std::size_t first = 0; first < passing.size();) {
        const std::string& group = passing[first]->event.group;
        std::size_t end = first + 1;
        while (!group.empty() && end < passing.size() && end - first < most_in_a_payload &&
               passing[end]->event.group == group) {
            ++end;
        }
        texts.push_back(payload(passing, first, end));
        first = end;
    }
    return texts;
}

}  // namespace dp_redfish
