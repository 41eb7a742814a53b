#ifndef DP_HOST_MODEL_ATTRIBUTE_MAPPING_HPP
#define DP_HOST_MODEL_ATTRIBUTE_MAPPING_HPP

#include <string_view>
#include <unordered_map>

#include "host/model/template_model.hpp"
#include "settings/setting.hpp"

namespace dp_host {

/// Which attributes of two templates are the same: those of the same collection and name, and those
/// of the same name when each template has one of that name, in whatever collection. A template
/// derives its collections from its menus, so one new menu may give all of them other names.
class attribute_mapping {
  public:
    /// Neither model is owned; both must outlive the mapping.
    attribute_mapping(const template_model& before, const template_model& after);

    /// The attribute of the template after that is the same as `s` of the template before, or null.
    [[nodiscard]] dp::setting* after(const dp::setting& s) const;

    /// The reverse.
    [[nodiscard]] dp::setting* before(const dp::setting& s) const;

    /// The only attribute of each name in the model; null for a name that several collections have.
    using only_attributes = std::unordered_map<std::string_view, dp::setting*>;
    static only_attributes index(const template_model& model);

  private:
    static dp::setting* find(const dp::setting& s, const only_attributes& own,
                             const template_model& model, const only_attributes& other);

    const template_model& before_;
    const template_model& after_;
    only_attributes only_before_;
    only_attributes only_after_;
};

}  // namespace dp_host

#endif
