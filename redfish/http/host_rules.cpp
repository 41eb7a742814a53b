#include "redfish/http/host_rules.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "support/ascii_case.hpp"
#include "support/decimal.hpp"

namespace dp_redfish {
namespace {

struct host_and_port {
    std::string host;  // lower case, an IPv6 address without brackets
    std::string port;  // empty: none
};

bool is_host_character(char c) {
    const char lower = dp_support::lower_case(c);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_';
}

bool is_address_character(char c) {
    const char lower = dp_support::lower_case(c);
    return (lower >= 'a' && lower <= 'f') || (c >= '0' && c <= '9') || c == ':' || c == '.';
}

// "host", "host:port", "[address]:port"; nothing for other texts.
std::optional<host_and_port> split_authority(std::string_view text) {
    host_and_port parts;
    if (!text.empty() && text.front() == '[') {
        const std::size_t end = text.find(']');
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        parts.host = dp_support::lower_case(text.substr(1, end - 1));
        text.remove_prefix(end + 1);
        if (!std::all_of(parts.host.begin(), parts.host.end(), is_address_character)) {
            return std::nullopt;
        }
    } else {
        const std::size_t length = std::min(text.find(':'), text.size());
        parts.host = dp_support::lower_case(text.substr(0, length));
        text.remove_prefix(length);
        if (!std::all_of(parts.host.begin(), parts.host.end(), is_host_character)) {
            return std::nullopt;
        }
        if (parts.host.size() > 1 && parts.host.back() == '.') {
            parts.host.pop_back();
        }
    }
    if (parts.host.empty()) {
        return std::nullopt;
    }
    if (!text.empty()) {
        if (text.front() != ':') {
            return std::nullopt;
        }
        text.remove_prefix(1);
        if (!text.empty() && !dp_support::decimal::parse<std::uint16_t>(text)) {
            return std::nullopt;
        }
        parts.port = text;
    }
    return parts;
}

std::string port_or_default(const host_and_port& parts, bool is_secure) {
    if (!parts.port.empty()) {
        return parts.port;
    }
    return is_secure ? "443" : "80";
}

// Whether the origin, as "https://host:port", is the host that the request was sent to.
bool is_same_origin(std::string_view origin, const host_and_port& own, bool is_secure) {
    const std::string_view scheme = is_secure ? "https://" : "http://";
    if (origin.size() < scheme.size() ||
        !dp_support::equal_ignoring_case(origin.substr(0, scheme.size()), scheme)) {
        return false;
    }
    const auto other = split_authority(origin.substr(scheme.size()));
    return other && other->host == own.host &&
           port_or_default(*other, is_secure) == port_or_default(own, is_secure);
}

}  // namespace

host_rules::host_rules(const std::vector<std::string>& names)
    : names_{"localhost", "127.0.0.1", "::1"} {
    for (std::string name : names) {
        const bool is_bare_address =
            std::count(name.begin(), name.end(), ':') > 1 && name[0] != '[';
        const auto parts = split_authority(is_bare_address ? "[" + name + "]" : name);
        if (parts) {
            names_.insert(parts->host);
        }
    }
}

std::optional<refusal> host_rules::check(const http_request& request, std::string_view authority,
                                         std::string_view local_address) const {
    const auto own = split_authority(authority);
    if (!own) {
        return refusal{400, "The field Host is not a host with an optional port."};
    }
    if (names_.find(own->host) == names_.end() && own->host != local_address) {
        return refusal{421, "This server has no such host name."};
    }
    const auto origin = request.headers.find("Origin");
    if (origin != request.headers.end() &&
        !is_same_origin(origin->second, *own, request.is_secure)) {
        return refusal{403, "Requests from pages of other origins are not allowed."};
    }
    return std::nullopt;
}

}  // namespace dp_redfish
