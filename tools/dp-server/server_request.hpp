#ifndef DP_TOOLS_DP_SERVER_SERVER_REQUEST_HPP
#define DP_TOOLS_DP_SERVER_SERVER_REQUEST_HPP

#include <chrono>
#include <functional>
#include <string>

namespace dp_tools {

/// Asks the service to do `request` ("restart" or "update") and waits for its answer, at most
/// `timeout` in all. One request runs at a time; another operator's is waited for. `prepare` puts
/// in place what the request needs once it is our turn and returns why it could not. Returns why
/// the request was not carried out; empty when it was.
std::string run_request(const std::string& request, std::chrono::milliseconds timeout,
                        const std::function<std::string()>& prepare);

}  // namespace dp_tools

#endif
