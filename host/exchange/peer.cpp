#include "host/exchange/peer.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "host/process/text_of.hpp"

namespace dp_host {
namespace {

constexpr std::size_t longest_program = 255;

std::string program_of(pid_t pid) {
    std::array<char, longest_program> path{};
    const ssize_t count =
        readlink(text_of("/proc/", pid, "/exe").c_str(), path.data(), path.size());
    return program_word({path.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))});
}

// None when the kernel does not report them.
std::vector<gid_t> groups_of(int fd) {
    std::vector<gid_t> groups(32);
    for (;;) {
        auto size = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
        const bool is_whole = getsockopt(fd, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size) == 0;
        const std::size_t count = size / sizeof(gid_t);
        // An emulator asks for more space without saying how much.
        const bool is_too_small = !is_whole && errno == ERANGE && count > groups.size();
        groups.resize(is_whole || is_too_small ? count : 0);
        if (!is_too_small) {
            return groups;
        }
    }
}

}  // namespace

std::string peer::str(const std::string& on_behalf_of) const {
    return text_of("uid=", uid, ",gid=", gid, ",pid=", pid,
                   on_behalf_of.empty() ? "" : ",for=", on_behalf_of, ",program=", program);
}

bool peer::is_in_group(gid_t group) const {
    return gid == group || std::find(groups.begin(), groups.end(), group) != groups.end();
}

std::string program_word(std::string path) {
    std::replace_if(
        path.begin(), path.end(), [](char c) { return c <= ' ' || c > '~' || c == ','; }, '?');
    return path.empty() ? "?" : path;
}

dp_support::result<peer> peer_of(int fd) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        const int error = errno;
        return dp_support::failure{std::string("cannot identify a client: ") + std::strerror(error),
                                   error};
    }
    return peer{credentials.uid, credentials.gid, credentials.pid, groups_of(fd),
                program_of(credentials.pid)};
}

}  // namespace dp_host
