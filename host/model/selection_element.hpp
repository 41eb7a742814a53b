#ifndef DP_HOST_MODEL_SELECTION_ELEMENT_HPP
#define DP_HOST_MODEL_SELECTION_ELEMENT_HPP

#include <string>
#include <unordered_set>

#include "host/model/template_element.hpp"

namespace dp_host {

/// An ordered selection from a list: an attribute whose default is in a list's full form. Values
/// are accepted in the full and the terse form. Every item must be one of the choices, or anything
/// when the template lists none, and must not be repeated. The terse form is stored and read by
/// clients; the full form when an item contains the comma that separates items of the terse form.
class selection_element final : public template_element {
  public:
    explicit selection_element(const template_info& info);

    /// False for a full form whose orders are missing or not distinct: it is not ordered.
    bool map_value(std::string* value) override;

  private:
    std::int32_t check(const std::string& value) override;

    std::unordered_set<std::string> choices_;
};

}  // namespace dp_host

#endif
