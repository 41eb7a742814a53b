#ifndef DP_HOST_MODEL_SELECTION_ELEMENT_HPP
#define DP_HOST_MODEL_SELECTION_ELEMENT_HPP

#include <string>
#include <unordered_set>

#include "host/model/template_element.hpp"

namespace dp_host {

/// An ordered selection out of a list: an attribute whose default is in a list's full form. It
/// takes either form; each item must be one of the choices (any, when the template lists none) and
/// none may occur twice. Stored is the terse form, which is what clients read, unless an item holds
/// the comma that separates items there.
class selection_element final : public template_element {
  public:
    explicit selection_element(const template_info& info);

    /// False for a full form whose orders are missing or not distinct: such a list has no order.
    bool map_value(std::string* value) override;

  private:
    std::int32_t check(const std::string& value) override;

    std::unordered_set<std::string> choices_;
};

}  // namespace dp_host

#endif
