#ifndef DP_REDFISH_PROTOCOL_HTTP_STATUS_HPP
#define DP_REDFISH_PROTOCOL_HTTP_STATUS_HPP

/// The status codes of HTTP that operations answer with.
namespace dp_redfish::http_status {

inline constexpr unsigned ok = 200;
inline constexpr unsigned created = 201;
inline constexpr unsigned accepted = 202;
inline constexpr unsigned no_content = 204;
inline constexpr unsigned not_modified = 304;
inline constexpr unsigned bad_request = 400;
inline constexpr unsigned unauthorized = 401;
inline constexpr unsigned forbidden = 403;
inline constexpr unsigned not_found = 404;
inline constexpr unsigned method_not_allowed = 405;
inline constexpr unsigned not_acceptable = 406;
inline constexpr unsigned conflict = 409;
inline constexpr unsigned precondition_failed = 412;
inline constexpr unsigned unsupported_media_type = 415;
inline constexpr unsigned internal_error = 500;
inline constexpr unsigned not_implemented = 501;
inline constexpr unsigned unavailable = 503;
inline constexpr unsigned insufficient_storage = 507;

}  // namespace dp_redfish::http_status

#endif
