#ifndef DP_BATCH_QUALIFIED_SETTING_NAME_HPP
#define DP_BATCH_QUALIFIED_SETTING_NAME_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

/// The parts of a setting's name, which is written as configuration "." setting [ "." instance ].
class DP_API qualified_setting_name {
  public:
    std::string configuration;  ///< "err" when the text had no "."
    std::string setting;        ///< "invalid_setting" when the text was empty; may contain dots
    std::string instance;       ///< as text; empty when the setting is not addressed by instance

    /// Splits `text` at its first and last dot. Never fails. `text` may be a part of this name.
    void parse(const std::string& text);

    /// Returns the parts joined with dots, without an empty instance.
    [[nodiscard]] std::string get_name() const;
};

}  // namespace dp

#endif
