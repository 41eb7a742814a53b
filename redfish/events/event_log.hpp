#ifndef DP_REDFISH_EVENTS_EVENT_LOG_HPP
#define DP_REDFISH_EVENTS_EVENT_LOG_HPP

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "redfish/events/event_filter.hpp"
#include "redfish/events/service_event.hpp"

namespace dp_redfish {

/// An event with its id, written.
struct logged_event {
    std::string id;
    service_event event;
    std::string json;  ///< see `event_json`
};

/// The latest events, so that a client that was away gets what it missed. An event of a change
/// record has the record's id, so that clients find it also after a restart of the service.
class event_log {
  public:
    using entries = std::vector<std::shared_ptr<const logged_event>>;

    /// @param origin  a text that other processes do not have, for the ids of other events
    explicit event_log(std::string origin, std::size_t most = 1000)
        : origin_(std::move(origin)), most_(most) {}

    /// Adds events; those that are too many are forgotten. Returns them with their ids.
    entries add(std::vector<service_event> events);

    /// The events after the one with this id. Nothing when that is not known: the client may have
    /// missed events.
    [[nodiscard]] std::optional<entries> after(const std::string& id) const;

    /// All that are not forgotten.
    [[nodiscard]] entries all() const { return {events_.begin(), events_.end()}; }

  private:
    [[nodiscard]] std::optional<std::size_t> find(const std::string& id) const;

    std::string origin_;
    std::size_t most_;
    std::deque<std::shared_ptr<const logged_event>> events_;
    std::string last_record_id_;
    std::uint64_t others_ = 0;  // events that are not made of a change record
};

/// The text of server-sent events for those that a filter lets pass, in pieces that are to be sent
/// one after another. Events of a group are sent together, in one Event of at most 100.
std::vector<std::string> stream_texts(const event_log::entries& events, const event_filter& filter);

}  // namespace dp_redfish

#endif
