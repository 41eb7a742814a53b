#ifndef DP_REDFISH_HTTP_REFUSAL_HPP
#define DP_REDFISH_HTTP_REFUSAL_HPP

#include <string>

namespace dp_redfish {

/// Why the server itself answers a request, instead of its handler.
struct refusal {
    unsigned status = 400;  ///< of HTTP
    std::string reason{};   ///< for a person, one sentence with its period; repeats no secrets
};

}  // namespace dp_redfish

#endif
