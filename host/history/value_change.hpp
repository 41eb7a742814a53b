#ifndef DP_HOST_HISTORY_VALUE_CHANGE_HPP
#define DP_HOST_HISTORY_VALUE_CHANGE_HPP

#include <optional>
#include <string>

namespace dp_host {

/// A change of one value by a transaction.
struct value_change {
    std::string name;                   ///< CONFIGURATION.SETTING[.INSTANCE]
    std::optional<std::string> before;  ///< none: there was no value
    std::optional<std::string> after;   ///< none: the value was removed
    std::string cause{};  ///< why another change made it: "Mode is Fast"; empty: a command did
};

}  // namespace dp_host

#endif
