#include "redfish/access/pam_accounts.hpp"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/types.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string_view>

#include "redfish/access/text_rules.hpp"
#include "support/file_descriptor.hpp"

namespace dp_redfish {
namespace {

using dp_support::failure;
using dp_support::file_descriptor;
using dp_support::result;

constexpr std::size_t least_entry_buffer = 1024;
constexpr std::size_t greatest_entry_buffer = std::size_t{1} << 20U;

// Calls a function of the kind getgrnam_r with a buffer that is large enough. The entry points into
// `buffer`.
template <class Entry, class Get>
bool get_entry(Get get, const std::string& name, Entry& entry, std::vector<char>& buffer) {
    for (std::size_t size = least_entry_buffer; size <= greatest_entry_buffer; size *= 2) {
        buffer.resize(size);
        Entry* found = nullptr;
        const int error = get(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
        if (error != ERANGE) {
            return error == 0 && found != nullptr;
        }
    }
    return false;
}

// A helper that was started, or the process at the other end of a socket. Ends a started one.
class auth_helper {
  public:
    auth_helper() = default;
    ~auth_helper() {
        connection.close();
        if (child > 0) {
            kill(child, SIGKILL);
            while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
    }
    auth_helper(const auth_helper&) = delete;
    auth_helper& operator=(const auth_helper&) = delete;

    file_descriptor connection;
    pid_t child = -1;
};

result<> connect_to(const std::string& path, int patience_ms, auth_helper& helper) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        return failure{path + ": the path is too long for a socket", ENAMETOOLONG};
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    helper.connection = file_descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // Without a limit, connecting waits for as long as the other process accepts nobody.
    const timeval patience{patience_ms / 1000, static_cast<suseconds_t>(patience_ms % 1000) * 1000};
    if (!helper.connection.is_open() ||
        setsockopt(helper.connection.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience) !=
            0 ||
        connect(helper.connection.get(), reinterpret_cast<const sockaddr*>(&address),
                sizeof address) != 0) {
        return dp_support::system_failure("connect to", path, errno);
    }
    return {};
}

result<> start_program(const std::string& path, const std::string& service, auth_helper& helper) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return dp_support::system_failure("start", path, errno);
    }
    helper.connection = file_descriptor(ends[0]);
    const file_descriptor of_child(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, of_child.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, of_child.get(), STDOUT_FILENO);
    // The connections of clients, which are not closed when a program is executed.
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // The signals that this process blocks or handles itself.
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::string program = path;
    std::string name = service;
    std::array<char*, 3> arguments{program.data(), service.empty() ? nullptr : name.data(),
                                   nullptr};
    const int error =
        posix_spawn(&helper.child, path.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        helper.child = -1;
        return dp_support::system_failure("start", path, error);
    }
    return {};
}

bool send_all(int connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return shutdown(connection, SHUT_WR) == 0;
}

// The helper's one character; '?' when none comes in time.
char receive_verdict(int connection, int patience_ms) {
    using clock = std::chrono::steady_clock;
    const auto end = clock::now() + std::chrono::milliseconds(patience_ms);
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - clock::now()).count();
        pollfd waiting{connection, POLLIN, 0};
        const int ready = poll(&waiting, 1, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        char verdict = '?';
        if (ready <= 0 || recv(connection, &verdict, 1, MSG_DONTWAIT) != 1) {
            return '?';
        }
        return verdict;
    }
}

}  // namespace

std::vector<external_accounts::external_account> pam_accounts::list() {
    std::map<std::string, roles> found;
    for (const auto& [name, role] : chosen_.groups) {
        group entry{};
        std::vector<char> buffer;
        if (!get_entry(getgrnam_r, name, entry, buffer)) {
            continue;
        }
        for (char** member = entry.gr_mem; *member != nullptr; ++member) {
            if (is_user_name(*member)) {
                found.emplace(*member, role);
            }
        }
    }
    std::vector<external_account> accounts;
    accounts.reserve(found.size());
    for (const auto& [name, role] : found) {
        accounts.push_back({name, role});
    }
    return accounts;
}

std::optional<roles> pam_accounts::role_of(const std::string& user) {
    passwd entry{};
    std::vector<char> buffer;
    if (!get_entry(getpwnam_r, user, entry, buffer)) {
        return std::nullopt;
    }
    constexpr int most_groups = 65'536;
    std::vector<gid_t> groups(64);
    for (;;) {
        int count = static_cast<int>(groups.size());
        if (getgrouplist(user.c_str(), entry.pw_gid, groups.data(), &count) >= 0) {
            groups.resize(static_cast<std::size_t>(count));
            break;
        }
        if (static_cast<int>(groups.size()) >= most_groups) {
            return std::nullopt;
        }
        groups.resize(groups.size() * 2);
    }
    for (const auto& [name, role] : chosen_.groups) {
        group of_role{};
        std::vector<char> group_buffer;
        if (get_entry(getgrnam_r, name, of_role, group_buffer) &&
            std::find(groups.begin(), groups.end(), of_role.gr_gid) != groups.end()) {
            return role;
        }
    }
    return std::nullopt;
}

result<bool> pam_accounts::check(const std::string& user, const secret_text& password) {
    // The helper reads texts that end with a zero byte.
    if (user.find('\0') != std::string::npos ||
        password.view().find('\0') != std::string_view::npos) {
        return false;
    }
    struct stat info {};
    auth_helper helper;
    // Not every posix_spawn reports a missing program: one that forks cannot.
    if (stat(chosen_.helper.c_str(), &info) != 0) {
        return dp_support::system_failure("start", chosen_.helper, errno);
    }
    const auto started = S_ISSOCK(info.st_mode)
                             ? connect_to(chosen_.helper, chosen_.patience_ms, helper)
                             : start_program(chosen_.helper, chosen_.service, helper);
    if (!started) {
        return started.error();
    }
    secret_text question(user.size() + password.view().size() + 2);
    std::copy(user.begin(), user.end(), question.data());
    std::copy(password.view().begin(), password.view().end(), question.data() + user.size() + 1);
    if (!send_all(helper.connection.get(), question.view())) {
        return dp_support::system_failure("ask", chosen_.helper, errno);
    }
    switch (receive_verdict(helper.connection.get(), chosen_.patience_ms)) {
        case '1':
            return true;
        case '0':
            return false;
        default:
            return failure{chosen_.helper + ": cannot decide about a password now", EAGAIN};
    }
}

}  // namespace dp_redfish
