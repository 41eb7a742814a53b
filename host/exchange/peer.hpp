#ifndef DP_HOST_EXCHANGE_PEER_HPP
#define DP_HOST_EXCHANGE_PEER_HPP

#include <sys/types.h>

#include <string>
#include <vector>

#include "support/result.hpp"

namespace dp_host {

/// The process at the other end of a local socket, as the kernel recorded it when it connected.
struct peer {
    uid_t uid = 0;
    gid_t gid = 0;
    pid_t pid = 0;
    std::vector<gid_t> groups;  ///< supplementary groups
    /// The path of the program, as `program_word` writes it; "?" if it is not known, as for a
    /// process that has ended. A process can choose it.
    std::string program = "?";

    /// "uid=0,gid=0,pid=17,program=/usr/bin/dpctl": one word. `on_behalf_of`, if not empty, is the
    /// person for whom it says that it acts: "uid=0,gid=0,pid=17,for=eve,program=/usr/bin/dpctl".
    [[nodiscard]] std::string str(const std::string& on_behalf_of = {}) const;

    /// Whether `group` is its group or one of its supplementary groups.
    [[nodiscard]] bool is_in_group(gid_t group) const;
};

/// `path` with "?" for every byte that is a space, a comma, a control character or not ASCII, so
/// that it cannot be taken for another part of a `peer`'s word. "?" when it is empty.
std::string program_word(std::string path);

/// The peer of the connected socket `fd`.
dp_support::result<peer> peer_of(int fd);

}  // namespace dp_host

#endif
