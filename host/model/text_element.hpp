#ifndef DP_HOST_MODEL_TEXT_ELEMENT_HPP
#define DP_HOST_MODEL_TEXT_ELEMENT_HPP

#include <cstdint>
#include <optional>
#include <string>

#include "host/model/template_element.hpp"
#include "support/value_pattern.hpp"

namespace dp_host {

/// A string: its length in characters is within the bounds (a greatest length of 0 is no bound),
/// and it matches the pattern, if there is one. With an invalid pattern only the default is
/// accepted, and the log says why. A value that needs too much work to match does not match, and
/// the log says so.
class text_element final : public template_element {
  public:
    explicit text_element(const template_info& info);

  private:
    std::int32_t check(const std::string& value) override;
    [[nodiscard]] bool matches(const std::string& value) const;

    std::uint32_t min_length_;
    std::uint32_t max_length_;
    std::optional<dp_support::value_pattern> pattern_;
};

}  // namespace dp_host

#endif
