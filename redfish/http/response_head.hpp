#ifndef DP_REDFISH_HTTP_RESPONSE_HEAD_HPP
#define DP_REDFISH_HTTP_RESPONSE_HEAD_HPP

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "redfish/http/http_message.hpp"

namespace dp_redfish {

/// What the connection adds to a response.
struct response_framing {
    std::optional<std::size_t> length;  ///< of the body as it is sent, or would be for GET
    bool is_chunked = false;            ///< the body is sent in chunks; `length` is empty
    bool is_gzip = false;
    bool varies = false;  ///< the body is compressed for some clients
    bool is_secure = false;
    bool keeps_alive = true;
    std::time_t now = 0;
};

/// The status line, the response's fields, those of the framing and those for security, up to the
/// empty line. The response's own values for Cache-Control and Content-Security-Policy hold; its
/// fields of the framing are ignored. Control characters in values become spaces.
std::string response_head(const http_response& response, const response_framing& framing);

/// The standard text of a status: "Not Found"; "Status" for one that is not known.
std::string_view status_text(unsigned status);

}  // namespace dp_redfish

#endif
