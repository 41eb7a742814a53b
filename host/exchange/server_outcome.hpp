#ifndef DP_HOST_EXCHANGE_SERVER_OUTCOME_HPP
#define DP_HOST_EXCHANGE_SERVER_OUTCOME_HPP

#include <cstdint>
#include <string>

namespace dp_host {

/// How a request to the simulated server ended.
struct server_outcome {
    std::int32_t status = 0;  ///< 0 done, else a code of service_status
    std::string reason;       ///< why it failed, one line
};

}  // namespace dp_host

#endif
