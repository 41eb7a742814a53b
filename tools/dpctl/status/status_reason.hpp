#ifndef DP_TOOLS_DPCTL_STATUS_STATUS_REASON_HPP
#define DP_TOOLS_DPCTL_STATUS_STATUS_REASON_HPP

#include <cstdint>
#include <string>
#include <string_view>

#include "bios/dp_api.h"

namespace dpctl {

/// Why a command ended with `status`, as the text after "SETTING: ". A reason in the value names
/// the value, and the allowed values if `attribute` is not null and they are known.
std::string explain_status(std::uint32_t status, const dp_attribute* attribute,
                           std::string_view value);

/// The same if the requested value is not known.
std::string explain_status(std::int32_t status);

/// The parts of a batch line that a person can choose.
enum class text_part {
    name,   ///< a word of the line
    value,  ///< between quotes, with a backslash before quotes and backslashes
};

/// Why a batch line cannot contain `text`, as the text after "the value " or "the name "; empty if
/// it can.
std::string why_not_encodable(std::string_view text, text_part part);

}  // namespace dpctl

#endif
