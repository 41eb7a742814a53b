#ifndef DP_REDFISH_PROTOCOL_ROUTE_TABLE_HPP
#define DP_REDFISH_PROTOCOL_ROUTE_TABLE_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "redfish/access/identity.hpp"
#include "redfish/protocol/call.hpp"
#include "support/json.hpp"

namespace dp_redfish {

/// An operation of the service: what it does for a method on the resources whose path matches.
struct route {
    std::string method;   ///< "GET" also answers HEAD
    std::string pattern;  ///< "/redfish/v1/Systems/{}/Bios"; "{}" is one segment, any text
    privileges needed;
    operation run;
    /// Whether it is also for users who must change their password first.
    bool is_for_password_change = false;

    enum class kinds : std::uint8_t {
        resource,
        stream,   ///< GET of a stream, whose operation reads the query itself
        refusal,  ///< says why there is no such method; the method is not in "Allow"
    };
    kinds kind = kinds::resource;
    /// What else than the privilege decides whether the caller may do it: who it is, the open
    /// segments of the path, the members of the body. Empty: nothing.
    std::function<bool(const identity& caller, const std::vector<std::string>& parameters,
                       const dp_support::json_value& document)>
        is_allowed{};
    /// Whether it may take long, so that a client can ask for an answer before it is done.
    bool may_be_deferred = false;
};

/// For `route_table::add`.
inline constexpr bool for_password_change = true;

/// The operations of the service. Filled at start, then read only.
class route_table {
  public:
    void add(std::string method, std::string pattern, privileges needed, operation run,
             bool is_for_password_change = false);
    /// Sets `route::may_be_deferred` of the operation that was added last.
    void let_be_deferred() { routes_.back().may_be_deferred = true; }
    /// Sets `route::is_allowed` of that operation.
    void allow_only(decltype(route::is_allowed) is_allowed) {
        routes_.back().is_allowed = std::move(is_allowed);
    }
    /// See `route::kinds`.
    /// @{
    void add_stream(std::string pattern, privileges needed, operation run);
    void add_refusal(std::string method, std::string pattern, privileges needed, operation run);
    /// @}

    [[nodiscard]] const std::vector<route>& routes() const { return routes_; }

    /// What was found for a path.
    struct match {
        const route* found = nullptr;         ///< null: no operation for this method and path
        std::vector<std::string> parameters;  ///< the segments for "{}"
        std::vector<std::string> allowed;     ///< all methods of the path; empty: no such path
    };

    /// A path with a "/" at its end is the same without it, except "/".
    [[nodiscard]] match find(std::string_view method, std::string_view path) const;

  private:
    std::vector<route> routes_;
};

}  // namespace dp_redfish

#endif
