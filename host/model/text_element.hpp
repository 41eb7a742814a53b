#ifndef DP_HOST_MODEL_TEXT_ELEMENT_HPP
#define DP_HOST_MODEL_TEXT_ELEMENT_HPP

#include <cstdint>
#include <optional>
#include <string>

#include "host/model/template_element.hpp"
#include "support/value_pattern.hpp"

namespace dp_host {

/// A string: its length in characters lies within the bounds (a greatest length of 0 is no bound),
/// and it matches the pattern, if there is one. A pattern that is not understood can't be held
/// against anything: such an attribute keeps its default, and the log says why. A value
/// that takes too much work to hold against the pattern does not match it, and the log says so.
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

/// The number of characters of a UTF-8 text; of bytes when it is not UTF-8.
std::size_t character_count(const std::string& text);

}  // namespace dp_host

#endif
