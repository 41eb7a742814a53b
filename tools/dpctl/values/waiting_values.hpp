#ifndef DP_TOOLS_DPCTL_VALUES_WAITING_VALUES_HPP
#define DP_TOOLS_DPCTL_VALUES_WAITING_VALUES_HPP

#include <cstddef>
#include <optional>
#include <string>

#include "service_api/stored_values.hpp"

namespace dpctl {

/// The number of settings whose pending values differ from the current ones, so that they change
/// when the server restarts. A setting that only one of the files has counts.
std::size_t count_waiting_values(const dp_service::stored_values& pending,
                                 const dp_service::stored_values& current);

/// The same for the files of the server; nothing when one of them cannot be read.
std::optional<std::size_t> count_waiting_values();

}  // namespace dpctl

#endif
