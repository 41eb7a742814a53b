#ifndef DP_REDFISH_EVENTS_CHANGE_DETECTOR_HPP
#define DP_REDFISH_EVENTS_CHANGE_DETECTOR_HPP

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "redfish/events/service_event.hpp"
#include "redfish/model/server_snapshot.hpp"

namespace dp_redfish {

/// Finds out what happened to the server from what its files contained one after another. Changes
/// of values come from the history, which has old and new values and when they changed. A change
/// that the history does not have, as one by an editor, is found in the values themselves.
///
/// Values of secret settings, and of settings that the server no longer has, are in no event.
class change_detector {
  public:
    using clock = std::chrono::steady_clock;

    /// How long after the values the history may be written: the settings service writes it second.
    static constexpr std::chrono::seconds history_delay{2};

    /// Begins with `now`. Returns the events of the newest records of its history, at most `most`.
    std::vector<service_event> start(snapshot_pointer now, std::size_t most);

    /// What happened between the last snapshot and `now`, in its order.
    std::vector<service_event> observe(snapshot_pointer now, clock::time_point time);

    /// Changes of values that are not in the history and will not be.
    std::vector<service_event> settle(clock::time_point time);

    /// Whether `settle` may return something later.
    [[nodiscard]] bool has_unsettled() const { return !unsettled_.empty(); }

  private:
    // A change of a value that is not in the history yet.
    struct unsettled_change {
        std::optional<std::string> before;
        clock::time_point since;
    };

    void add_history(std::vector<service_event>& events, std::size_t first);
    void add_update(const server_snapshot& before, std::vector<service_event>& events) const;
    void add_restart(const server_snapshot& before, std::vector<service_event>& events) const;
    void compare_pending(const server_snapshot& before, std::vector<service_event>& events,
                         clock::time_point time);

    snapshot_pointer last_;
    std::string last_record_;                            // its id; empty: the history was empty
    std::map<std::size_t, unsettled_change> unsettled_;  // by position in the catalog
};

}  // namespace dp_redfish

#endif
