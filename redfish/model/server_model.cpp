#include "redfish/model/server_model.hpp"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "service_api/server_paths.hpp"
#include "support/file_descriptor.hpp"

namespace dp_redfish {

server_model::server_model() : is_ending_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

server_model::~server_model() {
    stop();
}

void server_model::stop() {
    static_cast<void>(eventfd_write(is_ending_.get(), 1));
    changes_.stop();  // first: changes wait for reads
    library_.stop();
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
    if (auto known = fresh_snapshot()) {
        return take(std::move(known));
    }
    // Shared: a job that is not taken must still answer.
    const auto taker = std::make_shared<snapshot_taker>(std::move(take));
    const bool is_posted = library_.post([this, taker](worker_thread::modes mode) {
        if (mode == worker_thread::modes::cancel) {
            return;
        }
        snapshot_pointer snapshot = fresh_snapshot();
        if (snapshot == nullptr) {
            if (auto read = reader_.read(latest_)) {
                snapshot = *std::move(read);
                {
                    const std::lock_guard lock(mutex_);
                    latest_ = snapshot;
                }
                if (observer_) {
                    observer_(snapshot);
                }
            }
        }
        (*taker)(std::move(snapshot));
    });
    if (!is_posted) {
        (*taker)(nullptr);
    }
}

snapshot_pointer server_model::read_now() {
    const auto promise = std::make_shared<std::promise<snapshot_pointer>>();
    auto result = promise->get_future();
    read([promise](snapshot_pointer snapshot) { promise->set_value(std::move(snapshot)); });
    return result.get();
}

bool server_model::change(change_job job) {
    return changes_.post(
        [job = std::move(job), cancel = is_ending_.get()](worker_thread::modes mode) {
            if (mode == worker_thread::modes::cancel) {
                return;
            }
            constexpr std::chrono::seconds longest_wait{30};
            dp_service::settings_client client;
            client.start_timeout = longest_wait;
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
    return socket.is_open() &&
           connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace dp_redfish
