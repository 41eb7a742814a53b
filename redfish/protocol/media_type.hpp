#ifndef DP_REDFISH_PROTOCOL_MEDIA_TYPE_HPP
#define DP_REDFISH_PROTOCOL_MEDIA_TYPE_HPP

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dp_redfish {

/// A media type with its parameters, as in Content-Type: "application/json;charset=utf-8".
class media_type {
  public:
    explicit media_type(std::string_view text);

    /// In lower-case letters, without parameters: "application/json".
    std::string name;

    /// The value of a parameter without its quotes; empty if there is none.
    [[nodiscard]] std::string_view parameter(std::string_view wanted) const;

  private:
    std::vector<std::pair<std::string, std::string>>
        parameters_;  // the names in lower-case letters
};

}  // namespace dp_redfish

#endif
