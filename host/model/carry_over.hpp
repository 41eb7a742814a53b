#ifndef DP_HOST_MODEL_CARRY_OVER_HPP
#define DP_HOST_MODEL_CARRY_OVER_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/model/template_model.hpp"
#include "host/model/value_store.hpp"

namespace dp_host {

/// What became of the values of one template's attributes under another template.
struct carry_over_report {
    /// A value that was not simply kept.
    struct entry {
        std::string name;                ///< CONFIGURATION.SETTING[.INSTANCE] before
        std::string value;               ///< before
        std::string new_name;            ///< after; empty when there is no such attribute
        std::optional<std::string> now;  ///< the value after; none when the instance is gone
    };

    std::size_t kept = 0;          ///< values under the same name
    std::vector<entry> converted;  ///< values under a new name
    std::vector<entry> lost;       ///< values that the new template has no place for

    /// For a person, on one line: "kept 350 values, converted 8, lost 2".
    [[nodiscard]] std::string summary() const;

    /// For a person: the summary, then one line for each value that was converted or lost.
    [[nodiscard]] std::vector<std::string> lines() const;
};

/// Fills the empty store `after` of `model` from the values `before` of `previous`: a value is kept
/// or converted if its attribute (`attribute_mapping`) and instance are in `model` and it is valid
/// there. All others become the defaults of `model`, and so do read-only attributes for which it
/// has a default, which nobody but the template determines; these are not in the report.
carry_over_report carry_over(const template_model& previous, const value_store& before,
                             const template_model& model, value_store& after);

}  // namespace dp_host

#endif
