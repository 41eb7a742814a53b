#ifndef DP_TOOLS_DPCTL_OUTPUT_PAGER_HPP
#define DP_TOOLS_DPCTL_OUTPUT_PAGER_HPP

#include <string>
#include <string_view>

namespace dpctl {

/// The shell command that shows a text page by page: $PAGER, or "less" when that is not set. Empty
/// when $PAGER is empty or "cat".
std::string pager_command();

/// Runs the shell command `command` with `text` as its input and waits until it ends. $LESS is
/// "FRX" and $LV is "-c" for it unless they are set. Meanwhile SIGINT and SIGQUIT are the pager's.
/// A pager that ends before it has read everything is no failure. False when the shell could not
/// run the command: nothing was shown.
bool show_in_pager(const std::string& command, std::string_view text);

}  // namespace dpctl

#endif
