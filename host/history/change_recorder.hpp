#ifndef DP_HOST_HISTORY_CHANGE_RECORDER_HPP
#define DP_HOST_HISTORY_CHANGE_RECORDER_HPP

#include <ctime>
#include <optional>
#include <string>

#include "service_api/change_record.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {

/// Visits the executed commands of a transaction and makes change records of them.
class change_recorder {
  public:
    /// All change records have this `who` and the time `when`.
    change_recorder(std::string who, std::time_t when);

    /// The change record of a command that succeeded and changed its instance; nothing for any
    /// other command.
    std::optional<dp_service::change_record> operator()(
        const dp::transaction_command& command) const;

  private:
    std::string who_;
    std::string time_;
};

}  // namespace dp_host

#endif
