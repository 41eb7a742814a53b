#ifndef DP_REDFISH_PROTOCOL_QUERY_OPTIONS_HPP
#define DP_REDFISH_PROTOCOL_QUERY_OPTIONS_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "redfish/protocol/call.hpp"

namespace dp_redfish {

/// Which references of a resource are replaced by the resources that they name.
struct expansion {
    static constexpr unsigned most_levels = 4;

    bool links = false;   ///< those in "Links"
    bool others = false;  ///< those elsewhere
    unsigned levels = 1;  ///< 1 to `most_levels`
};

/// The query parameters of a request that the service knows.
struct query_options {
    std::vector<std::string> selected;  ///< of $select, at least one if there is one
    std::optional<expansion> expanded;  ///< of $expand
    std::optional<std::size_t> top;     ///< greatest number of members
    std::optional<std::size_t> skip;    ///< number of members to leave out
    bool only = false;                  ///< the only member of a collection instead of it

    [[nodiscard]] bool is_empty() const {
        return selected.empty() && !expanded && !top && !skip && !only;
    }
};

/// The decoded query parameters of a request.
using query_parameters = std::vector<std::pair<std::string, std::string>>;

/// Reads the query of a GET, or answers that it is wrong: parameters that begin with "$" and are
/// not known are not implemented, others that are not known are ignored.
std::variant<query_options, answer> read_query(const query_parameters& query);

/// Whether there is a parameter that only a GET may have.
bool has_query_options(const query_parameters& query);

}  // namespace dp_redfish

#endif
