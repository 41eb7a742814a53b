#include "host/exchange/status_log.hpp"

#include <cerrno>
#include <cstring>
#include <string>

#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "logs/error_command_visitor.hpp"
#include "service_api/server_paths.hpp"
#include "support/remove_or_set_aside.hpp"
#include "transactions/command_status.hpp"
#include "transactions/setting_transaction.hpp"
#include "transactions/transaction_command.hpp"

namespace dp_host {
namespace {

bool is_reported(const dp::transaction_command& command) {
    return command.target.setting != nullptr && command.status != dp::command_status::success;
}

// The path of the status file, which can be opened without following a symlink or waiting for a
// pipe. Empty, so that no file is opened, when something else cannot be removed from that path.
std::string prepared_path() {
    std::string path = dp_service::server_paths::process_status.str();
    const auto checked = check_trusted(path);
    if (!checked && !dp_support::remove_or_set_aside(path)) {
        log_error("no process status: ", checked.reason(),
                  "; it cannot be removed: ", std::strerror(errno));
        return {};
    }
    return path;
}

}  // namespace

status_log::status_log() : dp::process_log(prepared_path(), false) {}

void status_log::stop(dp::setting_transaction* t) {
    int surplus = -most_failures;
    for (const dp::transaction_command* command : t->commands) {
        surplus += is_reported(*command) ? 1 : 0;
    }
    if (surplus <= 0) {
        dp::process_log::stop(t);
        return;
    }
    const dp::error_command_visitor report(*this, t->name);
    for (dp::transaction_command* command : t->commands) {
        if (is_reported(*command) && --surplus < 0) {
            report(command);
        }
    }
    t->commands.update_status();
    const auto& status = t->commands.status;
    log_done(t->name, 1, static_cast<int>(status.total - status.errors),
             static_cast<int>(status.errors));
}

}  // namespace dp_host
