#ifndef DP_TOOLS_DPCTL_DESIRED_SERVER_IDENTITY_HPP
#define DP_TOOLS_DPCTL_DESIRED_SERVER_IDENTITY_HPP

#include <string>

namespace dpctl {

class registry_state;
class session;

/// What a state is made from. Texts that are not known are empty.
struct server_identity {
    std::string registry_version;
    std::string build_id;  ///< of the BIOS; not known for a template that is not the server's own
};

server_identity identify_server(const session& service, const registry_state& registry);

}  // namespace dpctl

#endif
