#ifndef DP_REDFISH_PROTOCOL_ETAG_HPP
#define DP_REDFISH_PROTOCOL_ETAG_HPP

#include <string>
#include <string_view>

namespace dp_redfish {

/// The ETag, with its quotes, of a resource whose text this is.
std::string etag_of_text(std::string_view text);

/// The ETag, with its quotes, of a resource that has a version, a text without quotes.
std::string etag_of_version(std::string_view version);

/// Whether the value of If-Match or If-None-Match lists this ETag: "*" lists every one. Whether an
/// ETag is a weak one does not matter: clients and proxies make weak ones of those they received.
bool lists_etag(std::string_view header, std::string_view etag);

}  // namespace dp_redfish

#endif
