#include "host/service_loop.hpp"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <vector>

#include "common/fixed_paths.hpp"
#include "host/process/private_folder.hpp"
#include "host/process/service_log.hpp"
#include "host/process/stop_signal.hpp"
#include "host/process/trusted_file.hpp"
#include "service_api/server_paths.hpp"
#include "service_api/service_alerts.hpp"

namespace dp_host {
namespace {

using clock = request_socket::clock;

// The pause before a file that is being written is polled again. The kernel still counts a process
// as writer for a moment after it reported the end of the writing.
constexpr int writer_pause_ms = 20;

// The pause before something that failed for a reason that may pass is tried again.
constexpr int retry_pause_ms = 200;

constexpr int no_timeout = -1;

// Calls `begin`, which creates a folder and what is in it, again when the folder was removed
// meanwhile.
template <class Begin>
dp_support::result<> begin_again(const Begin& begin) {
    constexpr int most_attempts = 100;
    auto begun = begin();
    for (int i = 1; i < most_attempts && !begun && begun.code() == ENOENT; ++i) {
        begun = begin();
    }
    return begun;
}

int pause_after(poll_result found) {
    switch (found) {
        case poll_result::taken:
            return 0;
        case poll_result::being_written:
            return writer_pause_ms;
        case poll_result::retry_later:
            return retry_pause_ms;
        case poll_result::nothing:
            break;
    }
    return no_timeout;
}

int shorter(int timeout_ms, std::optional<clock::time_point> deadline) {
    if (!deadline) {
        return timeout_ms;
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*deadline - clock::now()).count();
    const int limit = static_cast<int>(std::clamp<decltype(left)>(left, 0, 60'000));
    return timeout_ms == no_timeout ? limit : std::min(timeout_ms, limit);
}

}  // namespace

service_loop::service_loop(settings_service& service, std::optional<gid_t> group)
    : service_(service),
      group_(group),
      batches_(service.registrar(),
               [&service] { service.alert(dp_service::service_alerts::batch_set_aside, 0); }),
      requests_(service) {}

dp_support::result<> service_loop::begin() {
    return begin_files().and_then([&] { return begin_socket(); });
}

dp_support::result<> service_loop::begin_files() {
    const std::string folder = dp_service::server_paths::exchange_folder.str();
    auto begun = prepare_private_folder(folder, service_.readers()).and_then([&] {
        return files_watch_.begin(folder);
    });
    if (begun && files_watch_.is_polling()) {
        log_line("no inotify instance is left; looks for batch files four times a second");
    }
    return begun;
}

// The watch begins before the socket is there, so that its removal is always noticed.
dp_support::result<> service_loop::begin_socket() {
    const std::string folder = dp_service::server_paths::request_folder.str();
    return prepare_private_folder(folder)
        .and_then([&] { return socket_watch_.begin(folder); })
        .and_then([&] {
            return requests_.socket().begin(dp_service::server_paths::request_socket.str(), group_);
        });
}

// Programs that clean temporary folders remove these. Clients need them too.
dp_support::result<> service_loop::repair() {
    dp_support::result<> repaired;
    if (!files_watch_.read_events()) {
        log_error("the exchange folder was removed; creating it again");
        repaired = begin_again([&] { return begin_files(); });
    }
    const bool has_folder = socket_watch_.read_events();
    if (!has_folder || is_missing(dp_service::server_paths::request_socket.str())) {
        log_error("the request socket was removed; creating it again");
        repaired = repaired.and_then([&] { return begin_again([&] { return begin_socket(); }); });
    }
    return repaired;
}

void service_loop::recover() {
    batches_.recover();
    service_.retry_failed_write();
}

poll_result service_loop::poll_batch() {
    const std::string name = std::filesystem::path(dp::fixed_paths::batch.str()).filename();
    const poll_result found = batches_.poll(files_watch_.is_complete(name));
    if (found == poll_result::taken || found == poll_result::nothing) {
        files_watch_.forget(name);
    }
    return found;
}

dp_support::result<> service_loop::wait(int timeout_ms) const {
    std::vector<pollfd> entries{{stop_signal::descriptor(), POLLIN, 0},
                                {files_watch_.descriptor(), POLLIN, 0},
                                {socket_watch_.descriptor(), POLLIN, 0}};
    requests_.socket().add_poll_entries(entries);
    if (::poll(entries.data(), entries.size(), timeout_ms) == -1 && errno != EINTR &&
        errno != ENOMEM) {
        return dp_support::system_failure("wait for",
                                          dp_service::server_paths::exchange_folder.str(), errno);
    }
    return {};
}

// Batch files and requests of the socket are executed in turn.
dp_support::result<> service_loop::run() {
    for (;;) {
        const poll_result batch = poll_batch();
        const bool has_executed = requests_.work();
        service_.retry_failed_write();
        if (stop_signal::received()) {
            return {};
        }
        const int timeout_ms = has_executed ? 0 : pause_after(batch);
        if (auto waited = wait(shorter(timeout_ms, requests_.socket().deadline())); !waited) {
            return waited;
        }
        if (stop_signal::received()) {
            return {};
        }
        if (auto repaired = repair(); !repaired) {
            return repaired;
        }
    }
}

}  // namespace dp_host
