#include "host/exchange/batch_exchange.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>

#include "common/fixed_paths.hpp"
#include "host/exchange/run_batch.hpp"
#include "host/process/service_files.hpp"
#include "host/process/service_log.hpp"
#include "service_api/exchange_lock.hpp"
#include "support/remove_or_set_aside.hpp"
#include "support/staged_file.hpp"

namespace dp_host {
namespace {

// The library's client waits 61 seconds for its answer. A file's time may be a little ahead of the
// clock that is read here.
constexpr std::time_t client_timeout = 61;
constexpr std::time_t clock_tolerance = 1;

bool is_lock_held() {
    dp_service::exchange_lock probe;
    return !probe.try_acquire();
}

}  // namespace

batch_exchange::batch_exchange(host_registrar& registrar, std::function<void()> on_set_aside)
    : registrar_(registrar), on_set_aside_(std::move(on_set_aside)) {}

// A file from the future was written before the clock was set back.
bool batch_exchange::may_be_awaited(const trusted_file& batch) const {
    const std::time_t age = std::time(nullptr) - batch.modified.tv_sec;
    const bool is_young = age <= client_timeout && age >= -clock_tolerance;
    return (is_young && !is_age_unknown_) || is_lock_held();
}

void batch_exchange::set_aside(const std::string& path, const std::string& reason) {
    const std::string late = service_files::late_batch.str();
    dp_support::remove_or_set_aside(late);
    if (std::rename(path.c_str(), late.c_str()) == 0) {
        log_error("a batch was not run and is now ", late, ": ", reason);
    } else {
        log_error("a batch was not run: ", reason, "; cannot rename it: ", std::strerror(errno));
        dp_support::remove_or_set_aside(path);
    }
    if (on_set_aside_) {
        on_set_aside_();
    }
}

void batch_exchange::recover() {
    const std::string path = service_files::running_batch.str();
    const std::string repeated = service_files::repeated_batch.str();
    is_age_unknown_ = clock_.was_set_since_last_service(service_files::clock_check.str());
    if (!is_missing(repeated)) {
        set_aside(repeated, "the service was killed twice while it ran");
    }
    const auto running = open_trusted_file(path);
    if (running.code() == ENOENT) {
        return;
    }
    if (!running) {
        log_error("refused: ", running.reason());
        dp_support::remove_or_set_aside(path);
        return;
    }
    const auto answer = open_trusted_file(dp::fixed_paths::batch_result.str());
    if (answer && !is_later(running->modified, answer->modified)) {
        log_line("dropped the batch that was running when the service ended: it was answered");
        dp_support::remove_or_set_aside(path);
    } else if (!is_missing(dp::fixed_paths::batch.str())) {
        set_aside(path, "the service ended while it ran, and there is a newer batch");
    } else if (!may_be_awaited(*running)) {
        set_aside(path, "the service ended while it ran, and its client no longer waits");
    } else if (std::rename(path.c_str(), repeated.c_str()) != 0) {
        set_aside(path, "the service ended while it ran, and it cannot be renamed");
    } else {
        log_line("a batch was running when the service ended: running it again");
        taken_ = repeated;
        static_cast<void>(run_taken());
    }
}

poll_result batch_exchange::poll(bool is_complete) {
    is_age_unknown_ |= clock_.was_set();
    if (!taken_.empty()) {
        return run_taken();
    }
    dp_support::file_descriptor lease;
    const std::string running = service_files::running_batch.str();
    const poll_result found =
        take_exchange_file(dp::fixed_paths::batch.str(), running, is_complete, lease);
    if (found != poll_result::taken) {
        if (found == poll_result::nothing) {
            is_age_unknown_ = false;
        }
        return found;
    }
    taken_ = running;
    const auto batch = open_trusted_file(running);
    if (!batch) {
        return postpone(batch.error());
    }
    if (!may_be_awaited(*batch)) {
        set_aside(std::exchange(taken_, {}), "its client no longer waits");
        return found;
    }
    return run_taken();
}

// Keeps a batch that cannot be run or answered now, as long as its client waits.
poll_result batch_exchange::postpone(const dp_support::failure& why) {
    if (why.reason != reported_problem_) {
        reported_problem_ = why.reason;
        log_error("cannot run a batch yet: ", why.reason);
    }
    const auto batch = open_trusted_file(taken_);
    const bool is_final =
        batch ? why.code == ENOMEM || !may_be_awaited(*batch) : batch.code() == ENOENT;
    if (!is_final) {
        return poll_result::retry_later;
    }
    reported_problem_.clear();
    set_aside(std::exchange(taken_, {}), why.reason);
    return poll_result::taken;
}

poll_result batch_exchange::run_taken() {
    const std::string result = dp::fixed_paths::batch_result.str();
    dp_support::staged_file answer(result, dp_support::staged_file::volatile_file);
    // Without an answer, the client could not know what the batch did.
    if (!answer.outcome()) {
        return postpone(answer.outcome().error());
    }
    if (const auto run = run_batch(taken_, registrar_, answer); !run) {
        return postpone(run.error());
    }
    if (const auto placed = answer.replace(); !placed) {
        // Its client times out; later clients are not blocked.
        log_error("cannot answer a batch: ", placed.reason());
        dp_support::remove_or_set_aside(result);
    }
    dp_support::remove_or_set_aside(std::exchange(taken_, {}));
    reported_problem_.clear();
    return poll_result::taken;
}

}  // namespace dp_host
