#include "host/exchange/own_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/io_loops.hpp"
#include "host/process/service_log.hpp"

namespace dp_host {
namespace {

std::string problem_with(const struct stat& info, const std::string& path) {
    if (S_ISLNK(info.st_mode)) {
        return path + " is a link";
    }
    if (!S_ISREG(info.st_mode)) {
        return path + " is not a regular file";
    }
    if (info.st_uid != geteuid()) {
        return text_of(path, " belongs to user ", info.st_uid, ", not to user ", geteuid());
    }
    return {};
}

}  // namespace

std::string problem_with_file(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) {
        return errno == ENOENT ? "" : text_of("cannot examine ", path, ": ", std::strerror(errno));
    }
    return problem_with(info, path);
}

own_file open_own_file(const std::string& path) {
    own_file file;
    file.descriptor = dp_support::file_descriptor(
        open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info {};
    if (!file.descriptor.is_open()) {
        file.missing = errno == ENOENT;
        file.problem = errno == ELOOP ? path + " is a link"
                                      : text_of("cannot open ", path, ": ", std::strerror(errno));
    } else if (fstat(file.descriptor.get(), &info) != 0) {
        file.problem = text_of("cannot examine ", path, ": ", std::strerror(errno));
    } else {
        file.problem = problem_with(info, path);
        file.size = static_cast<std::uint64_t>(info.st_size);
        file.modified = info.st_mtim;
    }
    if (!file.problem.empty()) {
        file.descriptor.close();
    }
    return file;
}

bool is_later(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_nsec > b.tv_nsec;
}

std::string read_own_file(const std::string& path, std::uint64_t limit, std::string& problem) {
    const own_file file = open_own_file(path);
    problem = file.problem;
    std::string content;
    if (!problem.empty() || dp::read_all(file.descriptor.get(), limit, content)) {
        return content;
    }
    problem = errno == EFBIG ? text_of(path, " is longer than ", limit, " bytes")
                             : text_of("cannot read ", path, ": ", std::strerror(errno));
    return {};
}

}  // namespace dp_host
