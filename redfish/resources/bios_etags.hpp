#ifndef DP_REDFISH_RESOURCES_BIOS_ETAGS_HPP
#define DP_REDFISH_RESOURCES_BIOS_ETAGS_HPP

#include <string>

#include "redfish/model/server_snapshot.hpp"

namespace dp_redfish {

/// The ETag of the pending values. It differs whenever their version does, so that a request with
/// it can be made conditional on that version.
std::string etag_of_pending(const server_snapshot& server);

/// The ETag of the current values; also of the time when they were applied.
std::string etag_of_current(const server_snapshot& server);

}  // namespace dp_redfish

#endif
