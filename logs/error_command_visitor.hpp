#ifndef DP_LOGS_ERROR_COMMAND_VISITOR_HPP
#define DP_LOGS_ERROR_COMMAND_VISITOR_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

class process_log;
class transaction_command;

/// Reports each failed command it is applied to: a line in the application log, a DP.ERROR status
/// record with the setting's name and the status, and a DP.MESSAGE status record with the command's
/// output value in double quotes unless that is empty. Skips commands that succeeded or have no
/// setting.
class DP_API error_command_visitor {
  public:
    /// The status records have the name `name`. `log` is not owned and must outlive the visitor.
    error_command_visitor(process_log& log, std::string name);
    /// Reports a command.
    void operator()(const transaction_command* command) const;

  private:
    process_log& log_;
    std::string name_;
};

}  // namespace dp

#endif
