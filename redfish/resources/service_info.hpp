#ifndef DP_REDFISH_RESOURCES_SERVICE_INFO_HPP
#define DP_REDFISH_RESOURCES_SERVICE_INFO_HPP

#include <string>

namespace dp_redfish {

/// What the service says about itself.
struct service_info {
    std::string version;  ///< of the program
    std::string uuid{};   ///< of the service, as 8-4-4-4-12 hexadecimal digits; empty: none
};

}  // namespace dp_redfish

#endif
