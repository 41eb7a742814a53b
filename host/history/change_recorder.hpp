#ifndef DP_HOST_HISTORY_CHANGE_RECORDER_HPP
#define DP_HOST_HISTORY_CHANGE_RECORDER_HPP

#include <ctime>
#include <optional>
#include <string>

#include "service_api/change_record.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {

/// Visits the commands of a transaction that is over and tells what each of them changed.
class change_recorder {
  public:
    /// All records are `who`'s and of that time.
    change_recorder(std::string who, std::time_t when);

    /// The record of a command that succeeded and changed its instance; nothing for any other.
    std::optional<dp_service::change_record> operator()(
        const dp::transaction_command& command) const;

  private:
    std::string who_;
    std::string time_;
};

}  // namespace dp_host

#endif
