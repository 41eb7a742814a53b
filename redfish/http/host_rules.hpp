#ifndef DP_REDFISH_HTTP_HOST_RULES_HPP
#define DP_REDFISH_HTTP_HOST_RULES_HPP

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "redfish/http/http_message.hpp"
#include "redfish/http/refusal.hpp"

namespace dp_redfish {

/// Which hosts and origins a request may name. A page of a foreign site can send requests to this
/// server: under a name of its own that resolves to the server's address (then Host is that name),
/// or under the server's name (then Origin is the site).
class host_rules {
  public:
    /// @param names  of the server, without port, beside localhost, 127.0.0.1 and [::1]. The case
    /// of
    ///               letters and a dot at the end do not matter. IPv6 addresses with or without
    ///               brackets.
    explicit host_rules(const std::vector<std::string>& names);

    /// Why the request is refused: 400 for a malformed Host, 421 for a host that is not one of the
    /// names nor `local_address`, on which the connection was accepted, 403 for an Origin other
    /// than the host itself. Nothing: it is not.
    /// @param authority  the host of the request: its field Host, or that of its target
    [[nodiscard]] std::optional<refusal> check(const http_request& request,
                                               std::string_view authority,
                                               std::string_view local_address) const;

  private:
    std::set<std::string, std::less<>> names_;
};

}  // namespace dp_redfish

#endif
