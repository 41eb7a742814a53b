#ifndef DP_TOOLS_DP_SERVER_RUN_REQUEST_HPP
#define DP_TOOLS_DP_SERVER_RUN_REQUEST_HPP

#include <chrono>
#include <functional>
#include <string>

#include "service_api/settings_client.hpp"
#include "support/result.hpp"

namespace dp_tools {

/// Sends a request to the service and waits for its answer, at most `timeout` in total. Returns the
/// text of the answer, which may be empty. Only one operator's request runs at a time: waits until
/// that of another one has finished, then calls `prepare`, which stores the files for the request.
/// Success means that the service carried out the request.
dp_support::result<std::string> run_request(
    dp_service::settings_client::result (dp_service::settings_client::*request)(),
    std::chrono::milliseconds timeout, const std::function<dp_support::result<>()>& prepare);

}  // namespace dp_tools

#endif
