#ifndef DP_REDFISH_EVENTS_EVENT_FILTER_HPP
#define DP_REDFISH_EVENTS_EVENT_FILTER_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "redfish/events/service_event.hpp"

namespace dp_redfish {

/// Which events a stream has, as $filter of its URI says:
///
///     (RegistryPrefix eq 'SettingsEvents') and not (OriginResource eq
///     '/redfish/v1/Systems/system')
///
/// The properties are EventFormatType, MessageId, OriginResource, RegistryPrefix, ResourceType and
/// SubordinateResources, the operators eq, ne, and, or, not and parentheses. Texts may be without
/// quotes; a quote in a text is doubled. "SubordinateResources eq true" makes OriginResource match
/// the resources below its path too.
class event_filter {
  public:
    /// Why a text is no filter.
    struct problem {
        bool is_unsupported = false;  ///< it is one, but of something that there is not
        std::string reason;           ///< for a person
    };

    /// Lets all events pass.
    event_filter() = default;

    static std::variant<event_filter, problem> parse(std::string_view text);

    [[nodiscard]] bool matches(const service_event& event) const;

  private:
    friend class event_filter_parser;

    enum class steps : std::uint8_t {
        all,  // every event
        message_id,
        origin,
        registry_prefix,
        resource_type,
        both,
        either,
        negation,
    };
    // In postfix order.
    struct step {
        steps kind = steps::all;
        std::string value{};
    };

    [[nodiscard]] bool compare(const step& by, const service_event& event) const;

    std::vector<step> steps_;  // empty: all
    bool has_subordinates_ = false;
};

}  // namespace dp_redfish

#endif
