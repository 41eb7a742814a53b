#ifndef DP_BATCH_NAME_PARTS_HPP
#define DP_BATCH_NAME_PARTS_HPP

#include <string_view>

namespace dp {

class qualified_setting_name;

/// Splits `text`, which is no part of `name`, as `qualified_setting_name::parse` does.
void parse_name(std::string_view text, qualified_setting_name& name);

}  // namespace dp

#endif
