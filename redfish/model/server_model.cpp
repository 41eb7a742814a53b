#include "redfish/model/server_model.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "redfish/model/watched_files.hpp"
#include "service_api/server_paths.hpp"
#include "support/file_descriptor.hpp"

namespace dp_redfish {
namespace {

using std::chrono::milliseconds;

// Between the looks at files that the kernel does not watch.
constexpr milliseconds polling_time{1000};
// After a change: a request changes several files one after another.
constexpr milliseconds settling_time{20};

std::vector<std::string> all_watched_paths() {
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < watched_file_count; ++i) {
        paths.push_back(path_of(static_cast<watched_file>(i)));
    }
    return paths;
}

// Whoever waits for the call sees it dropped if it throws.
template <class Call>
void call_guarded(Call call) {
    try {
        call();
    } catch (...) {  // NOLINT(bugprone-empty-catch)
    }
}

}  // namespace

server_model::server_model() : server_model(options{}) {}

server_model::server_model(options chosen)
    : options_(std::move(chosen)),
      is_ending_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    // Before anything is read, so that no later change is missed.
    if (options_.watches_files) {
        files_ = std::make_unique<file_watch>(
            all_watched_paths(), [this](const std::string& line) { log(line); }, options_.kernel);
    }
    watcher_ = std::thread([this] { watch(); });
}

server_model::~server_model() {
    stop();
}

void server_model::stop() {
    static_cast<void>(eventfd_write(is_ending_.get(), 1));
    {
        // Who waits for files that cannot be read waits no longer.
        const std::lock_guard lock(mutex_);
        is_stopping_ = true;
        if (is_stuck()) {
            for (waiting_read& each : in_work_) {
                each.deadline = {};
            }
        }
    }
    wake_watcher();
    changes_.stop();  // first: changes wait for reads, which the other threads end
    {
        const std::lock_guard lock(mutex_);
        has_stopped_changes_ = true;
    }
    wake_watcher();
    if (watcher_.joinable()) {
        watcher_.join();
    }
    library_.stop();
    const std::lock_guard lock(mutex_);
    waiting_.clear();
}

void server_model::set_observer(std::function<void(const snapshot_pointer&)> observer) {
    const std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
}

bool server_model::is_blocked() const {
    const std::lock_guard lock(mutex_);
    return is_stuck();
}

void server_model::log(const std::string& line) const {
    if (options_.log) {
        options_.log(line);
    }
}

// The latest snapshot, if no file changed since.
snapshot_pointer server_model::fresh_snapshot() {
    snapshot_pointer latest;
    {
        const std::lock_guard lock(mutex_);
        latest = latest_;
    }
    return latest != nullptr && latest->states == watched_file_states() ? latest : nullptr;
}

void server_model::read(snapshot_taker take) {
    read(std::move(take), true);
}

void server_model::read(snapshot_taker take, bool may_be_old) {
    if (auto known = fresh_snapshot()) {
        return take(std::move(known));
    }
    std::unique_lock lock(mutex_);
    const bool is_useless = (is_stopping_ && is_stuck()) || has_stopped_changes_ ||
                            waiting_.size() >= most_waiting_reads;
    if (is_useless || (may_be_old && latest_ != nullptr && is_stuck())) {
        auto known = is_useless ? nullptr : latest_;
        lock.unlock();
        return take(std::move(known));
    }
    const bool is_long = !may_be_old || latest_ == nullptr;
    waiting_.push_back({std::move(take),
                        clock::now() + (is_long ? options_.long_patience : options_.patience),
                        may_be_old});
    const bool has_job = std::exchange(has_reading_job_, true);
    lock.unlock();
    wake_watcher();  // there may be an earlier deadline
    if (has_job) {
        return;
    }
    library_.post([this](worker_thread::modes mode) {
        if (mode == worker_thread::modes::run) {
            read_files();
        }
    });
}

// On the library's thread: reads the files for all who wait, until nobody does.
void server_model::read_files() {
    for (;;) {
        {
            const std::lock_guard lock(mutex_);
            if (waiting_.empty()) {
                has_reading_job_ = false;
                return;
            }
            in_work_.swap(waiting_);  // which is empty here
            reading_since_ = clock::now();
        }
        snapshot_pointer snapshot = fresh_snapshot();
        const bool is_new = snapshot == nullptr;
        if (is_new) {
            snapshot = read_snapshot();
        }
        waiting_reads done;
        bool was_known_as_stuck = false;
        {
            const std::lock_guard lock(mutex_);
            if (snapshot != nullptr) {
                latest_ = snapshot;
            }
            done.swap(in_work_);
            reading_since_ = {};
            was_known_as_stuck = std::exchange(is_known_as_stuck_, false);
        }
        if (was_known_as_stuck) {
            call_guarded([&] { log("can read the server's files again"); });
        }
        if (is_new && snapshot != nullptr && observer_) {
            call_guarded([&] { observer_(snapshot); });
        }
        for (const auto& each : done) {
            call_guarded([&] { each.take(snapshot); });
        }
    }
}

// Null when it fails.
snapshot_pointer server_model::read_snapshot() {
    try {
        auto read = reader_.read(latest_);
        return read ? *std::move(read) : nullptr;
    } catch (...) {  // as when memory runs out
        return nullptr;
    }
}

// Whether a reading has run for longer than readers wait. The mutex is locked.
bool server_model::is_stuck() const {
    return reading_since_ != clock::time_point() &&
           clock::now() - reading_since_ >= options_.patience;
}

// Answers those who have waited long enough.
void server_model::give_up_waiting() {
    waiting_reads over;
    snapshot_pointer latest;
    {
        const std::lock_guard lock(mutex_);
        const auto now = clock::now();
        for (waiting_reads* const list : {&waiting_, &in_work_}) {
            const auto first_over = std::stable_partition(
                list->begin(), list->end(),
                [&](const waiting_read& each) { return now < each.deadline; });
            over.insert(over.end(), std::make_move_iterator(first_over),
                        std::make_move_iterator(list->end()));
            list->erase(first_over, list->end());
        }
        latest = latest_;
        if (!over.empty() && !std::exchange(is_known_as_stuck_, true)) {
            log("cannot read the server's files, which another process may have locked: shows what "
                "they contained last");
        }
    }
    for (const auto& each : over) {
        call_guarded([&] { each.take(each.may_be_old ? latest : nullptr); });
    }
}

server_model::clock::time_point server_model::next_deadline() const {
    const std::lock_guard lock(mutex_);
    auto next = clock::time_point::max();
    for (const waiting_reads* const list : {&waiting_, &in_work_}) {
        for (const auto& each : *list) {
            next = std::min(next, each.deadline);
        }
    }
    return next;
}

void server_model::wake_watcher() const {
    static_cast<void>(eventfd_write(wake_.get(), 1));
}

// Reads the files again, if anybody has read them before.
void server_model::refresh() {
    {
        const std::lock_guard lock(mutex_);
        if (latest_ == nullptr) {
            return;
        }
    }
    read([](const snapshot_pointer& /*server*/) {});
}

// The thread that watches the files and the time.
void server_model::watch() {
    file_watch* const files = files_.get();
    const auto never = clock::time_point::max();
    auto refresh_at = never;
    for (;;) {
        const bool polls = files != nullptr && !files->is_complete();
        auto wake_at = std::min(next_deadline(), refresh_at);
        if (polls) {
            wake_at = std::min(wake_at, clock::now() + polling_time);
        }
        int timeout = -1;
        if (wake_at != never) {
            const auto left = std::chrono::ceil<milliseconds>(
                std::max(wake_at - clock::now(), clock::duration()));
            timeout = static_cast<int>(std::min<std::int64_t>(left.count(), 60'000));
        }
        std::array<pollfd, 2> sources{
            {{wake_.get(), POLLIN, 0}, {files == nullptr ? -1 : files->descriptor(), POLLIN, 0}}};
        // While a change settles, further ones need not be counted.
        const bool is_settling = refresh_at != never;
        const int ready = poll(sources.data(), is_settling ? 1 : sources.size(), timeout);
        // Before what woke this thread is looked at: what comes later wakes it again.
        eventfd_t ignored = 0;
        static_cast<void>(eventfd_read(wake_.get(), &ignored));
        {
            const std::lock_guard lock(mutex_);
            if (has_stopped_changes_) {
                return;
            }
        }
        give_up_waiting();
        if (files == nullptr) {
            continue;
        }
        if (!is_settling && ready > 0 && sources[1].revents != 0 && files->take_changes()) {
            refresh_at = clock::now() + settling_time;
        }
        if (ready == 0 && polls) {
            files->repair();
            refresh_at = clock::now();
        }
        if (clock::now() >= refresh_at) {
            refresh_at = never;
            static_cast<void>(files->take_changes());
            refresh();
        }
    }
}

snapshot_pointer server_model::read_now() {
    const auto promise = std::make_shared<std::promise<snapshot_pointer>>();
    auto result = promise->get_future();
    read([promise](snapshot_pointer snapshot) { promise->set_value(std::move(snapshot)); }, false);
    return result.get();
}

bool server_model::change(change_job job) {
    return changes_.post(
        [job = std::move(job), cancel = is_ending_.get(),
         start_by = clock::now() + options_.change_patience](worker_thread::modes mode) {
            if (mode == worker_thread::modes::cancel) {
                return;
            }
            dp_service::settings_client client;
            client.start_timeout = std::max(
                std::chrono::duration_cast<milliseconds>(start_by - clock::now()), milliseconds(0));
            client.cancel_descriptor = cancel;
            job(client);
        });
}

bool server_model::has_settings_service() {
    const std::string path = dp_service::server_paths::request_socket.str();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    path.copy(address.sun_path, path.size());
    const dp_support::file_descriptor socket(
        ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    return socket.is_open() && (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address),
                                        sizeof address) == 0 ||
                                errno == EAGAIN);  // many others wait for it
}

}  // namespace dp_redfish
