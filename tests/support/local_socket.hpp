#ifndef DP_TESTS_SUPPORT_LOCAL_SOCKET_HPP
#define DP_TESTS_SUPPORT_LOCAL_SOCKET_HPP

#include <sys/socket.h>
#include <sys/un.h>

#include <stdexcept>
#include <string>

#include "support/file_descriptor.hpp"

namespace test {

/// The address of the socket at `path`. Throws std::length_error when it is too long.
inline sockaddr_un local_address(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::length_error("the scratch folder's path is too long for a socket");
    }
    path.copy(address.sun_path, path.size());
    return address;
}

/// A socket that listens at `path`, where nothing may be yet. `most_waiting` is that of listen(2).
inline dp_support::file_descriptor listen_at(const std::string& path, int most_waiting,
                                             int flags = 0) {
    const sockaddr_un address = local_address(path);
    dp_support::file_descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener.get(), most_waiting) != 0) {
        throw std::runtime_error("cannot listen on " + path);
    }
    return listener;
}

/// A connection to the socket at `path`.
inline dp_support::file_descriptor connect_to(const std::string& path) {
    const sockaddr_un address = local_address(path);
    dp_support::file_descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
        0) {
        throw std::runtime_error("cannot connect to " + path);
    }
    return connection;
}

}  // namespace test

#endif
