#ifndef DP_TOOLS_DPCTL_STATUS_STATUS_TEXT_HPP
#define DP_TOOLS_DPCTL_STATUS_STATUS_TEXT_HPP

#include <cstdint>
#include <string>
#include <string_view>

#include "bios/dp_api.h"

namespace dpctl {

/// Why a command ended with `status`, as what follows "SETTING: ". Reasons that lie in the value
/// name it, and what the attribute allows instead when it is known (it may be null).
std::string explain_status(std::uint32_t status, const dp_attribute* attribute,
                           std::string_view value);

/// The same where it is not known what was asked for.
std::string explain_status(std::int32_t status);

/// Why a batch line can't carry `text`, as what follows "the value " or "the name "; empty when it
/// can. Blanks are allowed in values only.
std::string why_not_carried(std::string_view text, bool blanks_allowed);

}  // namespace dpctl

#endif
