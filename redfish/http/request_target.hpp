#ifndef DP_REDFISH_HTTP_REQUEST_TARGET_HPP
#define DP_REDFISH_HTTP_REQUEST_TARGET_HPP

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/result.hpp"

namespace dp_redfish {

/// The target of a request, decoded.
struct request_target {
    std::string authority;  ///< "host:port" of a target with a scheme, as sent; otherwise empty
    std::string path;       ///< UTF-8, begins with '/'; has no segment "." or ".."
    std::vector<std::pair<std::string, std::string>> query;  ///< UTF-8, in its order

    /// Parses "/path?name=value&..." or "http://host/path?...". In the query "+" is a space, and a
    /// member without "=" has an empty value. Fails on wrong percent-encodings, on decoded '/',
    /// '\', control characters and bytes that are not UTF-8, on segments "." and ".." however they
    /// are encoded, and on a fragment.
    static dp_support::result<request_target> parse(std::string_view text);
};

}  // namespace dp_redfish

#endif
