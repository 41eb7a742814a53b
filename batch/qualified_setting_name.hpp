#ifndef DP_BATCH_QUALIFIED_SETTING_NAME_HPP
#define DP_BATCH_QUALIFIED_SETTING_NAME_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

/// The three parts of a setting's name in text: configuration "." setting [ "." instance ].
class DP_API qualified_setting_name {
  public:
    std::string configuration;  ///< "err" when the text had no "."
    std::string setting;        ///< "invalid_setting" when the text was empty; may hold dots itself
    std::string instance;       ///< as text; empty when the setting is not addressed by instance

    /// Splits `text` at its first and its last dot. Never fails; empty parts stay empty. `text` may
    /// be one of this name's own parts.
    void parse(const std::string& text);

    /// The parts joined with dots; without the instance when it is empty.
    [[nodiscard]] std::string get_name() const;
};

}  // namespace dp

#endif
