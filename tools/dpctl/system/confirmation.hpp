#ifndef DP_TOOLS_DPCTL_SYSTEM_CONFIRMATION_HPP
#define DP_TOOLS_DPCTL_SYSTEM_CONFIRMATION_HPP

#include <string_view>

namespace dpctl {

/// Whether there is a person to ask: standard input and standard error are terminals.
bool can_ask();

/// Writes the question to standard error and reads a line of standard input. True only for "y" and
/// "yes" in any case of letters: not at the end of the input, nor after a failure.
bool confirm(std::string_view question);

}  // namespace dpctl

#endif
