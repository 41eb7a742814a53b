#ifndef DP_LOGS_CHANGE_HISTORY_VISITOR_HPP
#define DP_LOGS_CHANGE_HISTORY_VISITOR_HPP

#include <iosfwd>

#include "common/export.hpp"

namespace dp {

class transaction_command;

/// Writes one line of the change history for each command it is applied to: the local time in the
/// form of `asctime`, the setting's name, and the command's output value in double quotes (nothing
/// escaped), separated by three spaces. Skips commands that failed or have no setting.
class DP_API change_history_visitor {
  public:
    /// `history` is not owned and must outlive the visitor. Reads the local time zone again.
    explicit change_history_visitor(std::ostream& history);
    /// Writes the line of a command.
    void operator()(const transaction_command* command) const;

  private:
    std::ostream& history_;
};

}  // namespace dp

#endif
