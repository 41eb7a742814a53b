#ifndef DP_LOGS_ERROR_COMMAND_VISITOR_HPP
#define DP_LOGS_ERROR_COMMAND_VISITOR_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

class process_log;
class transaction_command;

/// Reports each failed command that it is applied to: a line of the application log, a DP.ERROR
/// record with the setting's name and the status and, unless it is empty, a DP.MESSAGE record with
/// the command's output value in double quotes. Commands that succeeded or have no setting are
/// skipped.
class DP_API error_command_visitor {
  public:
    /// Records carry `name`. `log` stays the caller's and outlives the visitor.
    error_command_visitor(process_log& log, std::string name);
    void operator()(const transaction_command* command) const;

  private:
    process_log& log_;
    std::string name_;
};

}  // namespace dp

#endif
