#ifndef DP_REDFISH_PROTOCOL_ACCEPTED_TYPE_HPP
#define DP_REDFISH_PROTOCOL_ACCEPTED_TYPE_HPP

#include <string_view>

namespace dp_redfish {

/// What a client's Accept field says about a media type. The range that names the type most closely
/// counts: "application/json", then "application/*", then "*/*".
class accepted_type {
  public:
    /// @param field  the value of Accept; empty: every type is accepted
    /// @param type   "application/json"; parameters are ignored
    accepted_type(std::string_view field, std::string_view type);

    bool is_accepted = false;
    /// Whether the client asks for the character set to be named in Content-Type.
    bool wants_utf8 = false;
};

}  // namespace dp_redfish

#endif
