#ifndef DP_REDFISH_PROTOCOL_FIELD_TEXT_HPP
#define DP_REDFISH_PROTOCOL_FIELD_TEXT_HPP

#include <cstddef>
#include <string_view>

namespace dp_redfish {

/// A part of a header field's value without the spaces and tabs around it.
inline std::string_view without_spaces_around(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace dp_redfish

#endif
