#include "tools/dpctl/system/denied_access.hpp"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <vector>

namespace dpctl {
namespace {

// The first folder of `path` that may not be entered; `path` itself if there is none.
std::string obstacle_on(const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        std::string folder = path.substr(0, slash);
        if (faccessat(AT_FDCWD, folder.c_str(), X_OK, AT_EACCESS) != 0 && errno == EACCES) {
            return folder;
        }
    }
    return path;
}

bool is_member(gid_t group) {
    const int count = getgroups(0, nullptr);
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(count, 0)));
    if (count > 0 && getgroups(count, groups.data()) != count) {
        return false;
    }
    return group == getegid() || std::find(groups.begin(), groups.end(), group) != groups.end();
}

// What the group of a file needs, so that its members can use it.
mode_t needed_mode(mode_t type) {
    return S_ISDIR(type) ? S_IXGRP : S_ISSOCK(type) ? S_IWGRP : S_IRGRP;
}

std::string name_of(gid_t group) {
    const struct group* const entry = getgrgid(group);
    return entry == nullptr ? std::to_string(group) : entry->gr_name;
}

}  // namespace

std::string explain_denied_access(const std::string& path, int error) {
    if (error != EACCES || geteuid() == 0) {
        return std::strerror(error);
    }
    std::string advice = "permission denied: run as root";
    struct stat status {};
    if (stat(obstacle_on(path).c_str(), &status) != 0) {
        return advice;
    }
    const bool would_help =
        (status.st_mode & needed_mode(status.st_mode)) != 0 && status.st_gid != 0;
    if (would_help && !is_member(status.st_gid)) {
        advice += " or join the group " + name_of(status.st_gid);
    }
    return advice;
}

std::string why_connection_denied(const std::string& path) {
    const bool is_denied =
        faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 && errno == EACCES;
    return is_denied ? explain_denied_access(path, EACCES) : std::string();
}

}  // namespace dpctl
