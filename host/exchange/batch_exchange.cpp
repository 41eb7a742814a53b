#include "host/exchange/batch_exchange.hpp"

#include <cerrno>
#include <ctime>
#include <string>

#include "common/fixed_paths.hpp"
#include "host/exchange/run_batch.hpp"
#include "host/process/service_files.hpp"
#include "host/process/service_log.hpp"
#include "host/process/trusted_file.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

// The library's client waits 61 seconds for its answer.
constexpr std::time_t client_timeout = 62;

// Why a batch that was running when the service ended is not run again; empty when it is.
std::string reason_to_drop(const trusted_file& running) {
    if (!is_missing(dp::fixed_paths::batch.str())) {
        return "there is a newer batch";
    }
    const auto answer = open_trusted_file(dp::fixed_paths::batch_result.str());
    if (answer && !is_later(running.modified, answer->modified)) {
        return "it was answered";
    }
    const std::time_t age = std::time(nullptr) - running.modified.tv_sec;
    if (age > client_timeout || age < -client_timeout) {
        return "its client no longer waits";
    }
    return {};
}

}  // namespace

void batch_exchange::recover() {
    const std::string path = service_files::running_batch.str();
    const auto running = open_trusted_file(path);
    if (running.code() == ENOENT) {
        return;
    }
    const std::string reason = running ? reason_to_drop(*running) : running.reason();
    if (reason.empty()) {
        log_line("a batch was running when the service ended: running it again");
        run_and_answer();
        return;
    }
    log_line("dropped the batch that was running when the service ended: ", reason);
    dp_support::remove_or_set_aside(path);
}

poll_result batch_exchange::poll(bool is_complete) {
    dp_support::file_descriptor lease;
    const poll_result found = take_exchange_file(
        dp::fixed_paths::batch.str(), service_files::running_batch.str(), is_complete, lease);
    if (found == poll_result::taken) {
        run_and_answer();
    }
    return found;
}

void batch_exchange::run_and_answer() {
    const std::string running = service_files::running_batch.str();
    const std::string result = dp::fixed_paths::batch_result.str();
    dp_support::staged_file answer(result, dp_support::staged_file::volatile_file);
    if (const auto run = run_batch(running, registrar_, answer); !run) {
        log_error("cannot run a batch: ", run.reason());
    } else if (const auto placed = answer.replace(); !placed) {
        // Its client times out; later clients are not blocked.
        log_error("cannot answer a batch: ", placed.reason());
        dp_support::remove_or_set_aside(result);
    }
    dp_support::remove_or_set_aside(running);
}

}  // namespace dp_host
