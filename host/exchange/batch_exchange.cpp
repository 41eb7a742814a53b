#include "host/exchange/batch_exchange.hpp"

#include <ctime>
#include <string>

#include "common/fixed_paths.hpp"
#include "host/exchange/batch_run.hpp"
#include "host/exchange/own_file.hpp"
#include "host/process/service_files.hpp"
#include "host/process/service_log.hpp"
#include "support/file_descriptor.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

// The library's client looks for its answer for 61 seconds.
constexpr std::time_t client_patience = 62;

// Why a batch that was being run at a crash need not be run again; empty when it must.
std::string reason_to_drop(const own_file& running) {
    const std::string next = dp::fixed_paths::batch.str();
    const std::string result = dp::fixed_paths::batch_result.str();
    if (!open_own_file(next).missing) {
        return "a newer batch waits";
    }
    const own_file answer = open_own_file(result);
    if (answer.problem.empty() && !is_later(running.modified, answer.modified)) {
        return "it was answered";
    }
    const std::time_t age = std::time(nullptr) - running.modified.tv_sec;
    if (age > client_patience || age < -client_patience) {
        return "its client has given up";
    }
    return {};
}

}  // namespace

void batch_exchange::recover() {
    const std::string path = service_files::running_batch.str();
    const own_file running = open_own_file(path);
    if (running.missing) {
        return;
    }
    const std::string reason = running.problem.empty() ? reason_to_drop(running) : running.problem;
    if (reason.empty()) {
        log_line("a batch was being run when the service ended: running it again");
        run_and_answer();
        return;
    }
    log_line("dropped the batch that was being run when the service ended: ", reason);
    dp_support::remove_or_set_aside(path);
}

exchange_look batch_exchange::look(bool has_ended) {
    dp_support::file_descriptor hold;
    const exchange_look look = take_exchange_file(
        dp::fixed_paths::batch.str(), service_files::running_batch.str(), has_ended, hold);
    if (look == exchange_look::taken) {
        run_and_answer();
    }
    return look;
}

void batch_exchange::run_and_answer() {
    const std::string running = service_files::running_batch.str();
    const std::string result = dp::fixed_paths::batch_result.str();
    dp_support::staged_file answer(result, dp_support::staged_file::volatile_file);
    const std::string problem = run_batch(running, registrar_, answer);
    if (!problem.empty()) {
        log_error("cannot run a batch: ", problem);
    } else if (const auto placed = answer.replace(); !placed) {
        // Its client waits in vain; the next one finds the way free.
        log_error("cannot answer a batch: ", placed.reason());
        dp_support::remove_or_set_aside(result);
    }
    dp_support::remove_or_set_aside(running);
}

}  // namespace dp_host
