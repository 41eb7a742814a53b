#ifndef DP_TOOLS_DPCTL_OUTPUT_JSON_BYTES_HPP
#define DP_TOOLS_DPCTL_OUTPUT_JSON_BYTES_HPP

#include "support/json.hpp"

namespace dpctl {

/// JSON cannot contain bytes that are not UTF-8. Adds to each object in `document`, for each member
/// whose text has such bytes, a member "NAME_bytes" with all its bytes as hexadecimal digits; for a
/// list with such texts a list of the same length, with null for the other texts.
void add_bytes(dp_support::json_value& document);

}  // namespace dpctl

#endif
