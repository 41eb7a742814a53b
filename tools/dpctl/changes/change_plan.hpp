#ifndef DP_TOOLS_DPCTL_CHANGES_CHANGE_PLAN_HPP
#define DP_TOOLS_DPCTL_CHANGES_CHANGE_PLAN_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "service_api/attribute_copy.hpp"
#include "tools/dpctl/changes/change_outcome.hpp"
#include "tools/dpctl/changes/setting_change.hpp"
#include "tools/dpctl/desired/desired_settings.hpp"
#include "tools/dpctl/values/session.hpp"

namespace dpctl {

class registry_state;

/// A desired setting and what becomes of it. It remains valid when the session is initialized
/// again.
struct planned_change {
    setting_change change;
    std::string instance;
    std::string requested;  ///< the value as a person wrote it
    std::string place;      ///< where, to begin a message with; may be empty
    std::shared_ptr<const dp_service::attribute_copy> copy;
    std::optional<std::uint32_t> index;  ///< in the registry
    reading current;
    reading pending;          ///< now
    bool may_remain = false;  ///< as in `desired_setting`

    /// Before the change is made `already`, `planned`, `refused` or `remains`.
    change_outcome outcome = change_outcome::already;
    std::string reason;  ///< why it was refused or remains
    /// Whether a refused change is possible once the others are made: with them, a dependency would
    /// set the setting to another value.
    bool is_possible_later = false;
    /// Whether a dependency would set it, and a later change is not possible either.
    bool is_contradiction = false;
    /// The condition of the dependency that sets the value: it is not requested.
    std::string cause;

    [[nodiscard]] const std::string& name() const { return change.name; }
    [[nodiscard]] const dp_attribute& attribute() const { return copy->get(); }
    /// The value that the setting is to have.
    [[nodiscard]] reading desired() const;
    /// Whether it is to be requested from the service.
    [[nodiscard]] bool is_requested() const {
        return outcome == change_outcome::planned && cause.empty();
    }
};

/// A setting that gets a value from a dependency, and not the one that it was to have if any.
struct side_effect {
    std::string name;
    std::string before;
    std::string after;
    std::string cause;  ///< the condition: "WorkloadProfile is Custom"
};

/// Two batches that make refused changes: the first one with another value of a setting that
/// decides about them, the second one takes that value back.
struct plan_detour {
    std::vector<std::string> names;   ///< of the refused changes
    std::vector<std::string> first;   ///< NAME=VALUE
    std::vector<std::string> second;  ///< the same
};

/// What a batch of changes would do.
struct change_plan {
    std::vector<planned_change> changes;
    std::vector<side_effect> effects;
    std::vector<plan_detour> detours;  ///< if they were looked for
    std::string version;               ///< of the pending values, see `session::pending_version`

    [[nodiscard]] std::size_t count(change_outcome outcome) const;
    /// Whether a change is refused.
    [[nodiscard]] bool has_refusals() const { return count(change_outcome::refused) != 0; }
};

/// Plans to give settings their desired values. Each change is checked against the attribute, and
/// all together against the dependencies, as the service does it. `version` is that of the pending
/// values, which was read before those in `registry`.
change_plan plan_changes(session& service, registry_state& registry,
                         const std::vector<desired_setting>& settings, std::string version);

}  // namespace dpctl

#endif
