#ifndef DP_LOGS_CHANGE_HISTORY_VISITOR_HPP
#define DP_LOGS_CHANGE_HISTORY_VISITOR_HPP

#include <iosfwd>

#include "common/export.hpp"

namespace dp {

class transaction_command;

/// Writes a line of the change history for each command that it is applied to: the local time as
/// `asctime` shows it, the setting's name, and the command's output value in double quotes (nothing
/// escaped), with three blanks in between. Commands that failed or have no setting are skipped.
class DP_API change_history_visitor {
  public:
    /// `history` stays the caller's and outlives the visitor. Looks the local time zone up anew.
    explicit change_history_visitor(std::ostream& history);
    void operator()(const transaction_command* command) const;

  private:
    std::ostream& history_;
};

}  // namespace dp

#endif
