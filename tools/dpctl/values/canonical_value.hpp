#ifndef DP_TOOLS_DPCTL_VALUES_CANONICAL_VALUE_HPP
#define DP_TOOLS_DPCTL_VALUES_CANONICAL_VALUE_HPP

#include <string>
#include <string_view>

#include "bios/dp_api.h"

namespace dpctl {

/// The spelling of `value` that the attribute's values have: of a choice whose case of letters
/// differs, if there is just one, the choice; of a number, its digits without leading zeros. Any
/// other text is unchanged.
std::string canonical_value(const dp_attribute& attribute, const std::string& value);

/// The choice of a Boolean attribute for true or for false: the one of its two choices that is
/// "true" or "false" in any case of letters, or that of a pair such as Enabled and Disabled. Empty
/// when that is not certain.
std::string choice_for(const dp_attribute& attribute, bool truth);

}  // namespace dpctl

#endif
