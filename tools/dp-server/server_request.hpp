#ifndef DP_TOOLS_DP_SERVER_SERVER_REQUEST_HPP
#define DP_TOOLS_DP_SERVER_SERVER_REQUEST_HPP

#include <chrono>
#include <functional>
#include <string>

#include "support/result.hpp"

namespace dp_tools {

/// Sends `request`, one of `dp_service::server_request`, to the service and waits for its answer,
/// at most `timeout` in total. Only one request runs at a time: waits until that of another
/// operator has finished, then calls `prepare`, which stores the files for the request. Success
/// means that the service carried out the request.
dp_support::result<> run_request(const std::string& request, std::chrono::milliseconds timeout,
                                 const std::function<dp_support::result<>()>& prepare);

}  // namespace dp_tools

#endif
