#ifndef DP_REDFISH_PROTOCOL_REFERENCE_EXPANSION_HPP
#define DP_REDFISH_PROTOCOL_REFERENCE_EXPANSION_HPP

#include <functional>
#include <memory>
#include <string>

#include "redfish/protocol/query_options.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// Gets a resource for its path; null if the client may not see it or there is none. Calls the
/// function once, from any thread, maybe before it returns.
using fetch_resource =
    std::function<void(const std::string& path, std::function<void(dp_support::json_value)>)>;

/// Replaces references in `root`, objects whose only member is "@odata.id", by the resources that
/// they name, and references in these, as many levels as wanted. References to parts of resources,
/// with "#", remain; so do those that cannot be fetched, and all beyond `most_resources`. Calls
/// `done` once, when everything is in place, from the thread that got the last resource.
void expand_references(const std::shared_ptr<dp_support::json_value>& root, expansion wanted,
                       fetch_resource fetch, std::function<void()> done);

/// Greatest number of resources that one request expands.
inline constexpr int most_resources = 2000;

}  // namespace dp_redfish

#endif
