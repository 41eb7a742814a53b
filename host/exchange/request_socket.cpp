#include "host/exchange/request_socket.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "host/process/private_folder.hpp"
#include "host/process/service_log.hpp"
#include "service_api/service_status.hpp"
#include "support/folder_of.hpp"
#include "support/remove_or_set_aside.hpp"

namespace dp_host {
namespace {

using states = client_connection::states;

constexpr int backlog = 64;
constexpr std::chrono::milliseconds accept_pause{100};
constexpr mode_t owner_socket = S_IRUSR | S_IWUSR;
constexpr mode_t group_socket = owner_socket | S_IRGRP | S_IWGRP;
constexpr mode_t owner_folder = S_IRWXU;
constexpr mode_t group_folder = owner_folder | S_IRGRP | S_IXGRP;

bool is_out_of_resources(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

void earliest(std::optional<client_connection::clock::time_point>& first,
              std::optional<client_connection::clock::time_point> other) {
    if (other && (!first || *other < *first)) {
        first = other;
    }
}

}  // namespace

dp_support::result<> request_socket::begin(const std::string& path, std::optional<gid_t> group) {
    const std::string folder_path = dp_support::folder_of(path);
    if (auto prepared = prepare_private_folder(folder_path); !prepared) {
        return prepared;
    }
    const dp_support::file_descriptor folder(
        open(folder_path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder.is_open()) {
        return dp_support::system_failure("open folder", folder_path, errno);
    }
    path_ = path;
    group_ = group;
    dp_support::remove_or_set_aside(path);
    listener_ =
        dp_support::file_descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // A path may be longer than an address. A system without /proc can use short ones.
    const std::string name =
        path.size() < sizeof address.sun_path
            ? path
            : "/proc/self/fd/" + std::to_string(folder.get()) + path.substr(folder_path.size());
    if (name.size() >= sizeof address.sun_path) {
        return dp_support::system_failure("create", path, ENAMETOOLONG);
    }
    name.copy(address.sun_path, name.size());
    // Connecting is possible as soon as the socket listens, which is when its mode is correct.
    if (!listener_.is_open() ||
        bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        (group && chown(path.c_str(), static_cast<uid_t>(-1), *group) != 0) ||
        chmod(path.c_str(), group ? group_socket : owner_socket) != 0 ||
        listen(listener_.get(), backlog) != 0) {
        return dp_support::system_failure("listen on", path, errno);
    }
    if (group && (fchown(folder.get(), static_cast<uid_t>(-1), *group) != 0 ||
                  fchmod(folder.get(), group_folder) != 0)) {
        return dp_support::system_failure("give the group access to", folder_path, errno);
    }
    return {};
}

request_socket::~request_socket() {
    if (listener_.is_open()) {
        unlink(path_.c_str());
    }
}

void request_socket::add_poll_entries(std::vector<pollfd>& entries) const {
    entries.push_back({is_out_of_descriptors_ ? -1 : listener_.get(), POLLIN, 0});
    add_client_entries(entries);
}

void request_socket::add_client_entries(std::vector<pollfd>& entries) const {
    for (const client_connection& connection : connections_) {
        entries.push_back({connection.descriptor(), connection.interest(), 0});
    }
}

std::optional<request_socket::clock::time_point> request_socket::deadline() const {
    std::optional<clock::time_point> first;
    if (is_out_of_descriptors_) {
        first = retry_accept_;
    }
    bool has_waiting = false;
    bool has_offered = false;
    for (const client_connection& connection : connections_) {
        earliest(first, connection.deadline());
        has_waiting |= connection.state() == states::waiting;
        has_offered |= connection.state() == states::offered;
    }
    if (has_waiting && has_offered) {
        earliest(first, last_offer_ + offer_interval);
    }
    return first;
}

void request_socket::exchange(bool running) {
    if (!listener_.is_open()) {
        return;
    }
    const auto now = clock::now();
    accept_clients(now);
    std::vector<pollfd> entries;
    add_client_entries(entries);
    // A failure leaves no events, and the next call tries again.
    static_cast<void>(poll(entries.data(), entries.size(), 0));
    // Those that are moved to the end are not visited again.
    auto connection = connections_.begin();
    for (const pollfd& entry : entries) {
        const auto current = connection++;
        const states before = current->state();
        const std::size_t used = bytes() - current->size();
        current->handle(entry.revents, most_bytes - std::min(used, most_bytes), now);
        if (current->state() == states::closed) {
            connections_.erase(current);
        } else if (before == states::receiving && current->state() == states::waiting) {
            // Complete requests are executed in the order in which they became complete.
            connections_.splice(connections_.end(), connections_, current);
        }
    }
    if (!running) {
        offer_turns(now);
    }
    report_positions(running, now);
}

client_connection* request_socket::next() {
    const auto found =
        std::find_if(connections_.begin(), connections_.end(),
                     [](const auto& connection) { return connection.state() == states::started; });
    return found == connections_.end() ? nullptr : &*found;
}

void request_socket::accept_clients(clock::time_point now) {
    if (is_out_of_descriptors_ && now < retry_accept_) {
        return;
    }
    is_out_of_descriptors_ = false;
    // At most as many at once as there may be, so that connecting again and again occupies nobody.
    for (std::size_t i = 0; i < most_connections; ++i) {
        dp_support::file_descriptor socket(
            accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!socket.is_open()) {
            if (is_out_of_resources(errno)) {
                log_error("cannot accept a client: ", std::strerror(errno));
                is_out_of_descriptors_ = true;
                retry_accept_ = now + accept_pause;
            }
            return;
        }
        auto client = peer_of(socket.get());
        if (!client) {
            log_error(client.reason());
            continue;
        }
        const bool has_slot = connections_.size() < most_connections;
        const bool is_permitted = is_allowed(*client);
        auto& connection = connections_.emplace_back(std::move(socket), *std::move(client), now);
        if (!is_permitted) {
            connection.refuse(dp_service::service_status::over_limit, "permission denied", now);
        } else if (!has_slot) {
            connection.refuse(dp_service::service_status::over_limit, "too many connections", now);
        }
        if (connection.state() == states::closed || !has_slot) {
            connections_.pop_back();
        }
    }
}

// The mode of the socket's file decides already; this does not depend on it.
bool request_socket::is_allowed(const peer& client) const {
    return client.uid == 0 || client.uid == geteuid() || (group_ && client.is_in_group(*group_));
}

std::size_t request_socket::bytes() const {
    std::size_t total = 0;
    for (const client_connection& connection : connections_) {
        total += connection.size();
    }
    return total;
}

void request_socket::offer_turns(clock::time_point now) {
    bool is_busy = false;
    for (client_connection& connection : connections_) {
        if (connection.state() == states::started) {
            return;
        }
        is_busy |= connection.state() == states::offered && now - last_offer_ < offer_interval;
    }
    if (is_busy) {
        return;
    }
    for (client_connection& connection : connections_) {
        if (connection.state() == states::waiting) {
            last_offer_ = now;
            connection.offer(now);
            return;
        }
    }
}

void request_socket::report_positions(bool running, clock::time_point now) {
    std::uint32_t ahead = running ? 1 : 0;
    for (client_connection& connection : connections_) {
        connection.report_position(ahead, now);
        const bool is_ahead = connection.state() == states::waiting ||
                              connection.state() == states::offered ||
                              (connection.state() == states::started && !running);
        ahead += is_ahead ? 1 : 0;
    }
}

}  // namespace dp_host
