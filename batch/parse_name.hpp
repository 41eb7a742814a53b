#ifndef DP_BATCH_PARSE_NAME_HPP
#define DP_BATCH_PARSE_NAME_HPP

#include <string_view>

namespace dp {

class qualified_setting_name;

/// Splits `text` like `qualified_setting_name::parse`, but `text` must not be a part of `name`.
void parse_name(std::string_view text, qualified_setting_name& name);

}  // namespace dp

#endif
