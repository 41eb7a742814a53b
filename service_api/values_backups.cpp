#include "service_api/values_backups.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace dp_service::values_backups {
namespace {

bool is_missing(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) != 0 && errno == ENOENT;
}

bool is_same_file(const std::string& a, const std::string& b) {
    struct stat of_a {};
    struct stat of_b {};
    return lstat(a.c_str(), &of_a) == 0 && lstat(b.c_str(), &of_b) == 0 &&
           of_a.st_dev == of_b.st_dev && of_a.st_ino == of_b.st_ino;
}

// Makes `name` a hard link to `file` in one step, whatever `name` was. A rename between two links
// of one file does nothing, so the temporary name is removed in any case.
bool link_as(const std::string& file, const std::string& name) {
    const std::string temporary = name + ".new";
    unlink(temporary.c_str());
    if (link(file.c_str(), temporary.c_str()) != 0) {
        return false;
    }
    const bool done = std::rename(temporary.c_str(), name.c_str()) == 0;
    const int error = errno;
    unlink(temporary.c_str());
    errno = error;
    return done;
}

}  // namespace

std::string backup_of(const std::string& path) {
    return path + ".backup";
}

std::string damaged_of(const std::string& path, unsigned number) {
    return path + ".damaged-" + std::to_string(number);
}

bool keep_backup(const std::string& path) {
    return link_as(path, backup_of(path));
}

bool keep_damaged(const std::string& path, const std::string& file) {
    for (unsigned number = 1; number <= most_damaged; ++number) {
        if (is_same_file(damaged_of(path, number), file)) {
            return true;
        }
    }
    const std::string newest = damaged_of(path, 1);
    unsigned free = 1;
    while (free < most_damaged && !is_missing(damaged_of(path, free))) {
        ++free;
    }
    for (; free > 1; --free) {
        if (std::rename(damaged_of(path, free - 1).c_str(), damaged_of(path, free).c_str()) != 0) {
            return false;
        }
    }
    return link_as(file, newest) || std::rename(file.c_str(), newest.c_str()) == 0;
}

void discard(const std::string& path) {
    std::remove(backup_of(path).c_str());
    for (unsigned number = 1; number <= most_damaged; ++number) {
        std::remove(damaged_of(path, number).c_str());
    }
}

}  // namespace dp_service::values_backups
