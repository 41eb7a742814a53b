#include "redfish/resources/bios_etags.hpp"

#include "redfish/protocol/etag.hpp"

namespace dp_redfish {

std::string etag_of_pending(const server_snapshot& server) {
    return etag_of_version(server.pending_version + '-' + server.catalog->version);
}

std::string etag_of_current(const server_snapshot& server) {
    return etag_of_version(server.current_version + '-' + server.catalog->version + '-' +
                           std::to_string(server.state_of(watched_file::current_values).written));
}

}  // namespace dp_redfish
