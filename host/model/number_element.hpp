#ifndef DP_HOST_MODEL_NUMBER_ELEMENT_HPP
#define DP_HOST_MODEL_NUMBER_ELEMENT_HPP

#include <cstdint>
#include <string>

#include "host/model/template_element.hpp"

namespace dp_host {

/// A number: plain decimal digits, within the bounds, a whole number of steps above the lower bound
/// (a step of 0 counts as 1). When both bounds are 0 there are none, and any 32-bit number is
/// valid.
class number_element final : public template_element {
  public:
    explicit number_element(const template_info& info);

    /// Removes leading zeros, so that equal numbers are equal texts.
    bool map_value(std::string* value) override;

  private:
    std::int32_t check(const std::string& value) override;

    std::uint32_t min_;
    std::uint32_t max_;
    std::uint32_t step_;
};

}  // namespace dp_host

#endif
