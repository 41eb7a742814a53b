#ifndef DP_HOST_MODEL_CHOICE_ELEMENT_HPP
#define DP_HOST_MODEL_CHOICE_ELEMENT_HPP

#include <string>
#include <unordered_set>

#include "host/model/template_element.hpp"

namespace dp_host {

/// An enumeration: its values are its choices, compared byte by byte.
class choice_element final : public template_element {
  public:
    explicit choice_element(const template_info& info);

  private:
    std::int32_t check(const std::string& value) override;

    std::unordered_set<std::string> choices_;
};

}  // namespace dp_host

#endif
