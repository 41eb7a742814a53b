#ifndef DP_SERVICE_API_SERVER_REQUEST_HPP
#define DP_SERVICE_API_SERVER_REQUEST_HPP

/// The requests to the simulated server: the one line of `server_paths::server_request`.
namespace dp_service::server_request {

/// Restarts the server: pending values become current.
inline constexpr const char* restart = "restart";

/// Updates the BIOS from the files in `server_paths::update_folder`, and restarts the server.
inline constexpr const char* update = "update";

}  // namespace dp_service::server_request

#endif
