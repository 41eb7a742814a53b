#include "common/file_locks.hpp"

#include <fcntl.h>

#include <cerrno>

#include "common/log.hpp"

namespace {

int lock_whole_file(int fd, int command, short type) {
    struct flock64 lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 0;
    return fcntl(fd, command, &lock);
}

// Releases the lock and closes the stream. Closing drops the process's locks on the file even when
// the release failed.
void unlock_and_close(std::FILE* stream, const char* what) {
    if (stream == nullptr) {
        return;
    }
    if (file_unlock(fileno(stream)) != 0) {
        const int error = errno;
        dp::log_line(dp::log_level::log, "LOG", what, " failed, errno= ", error);
    }
    static_cast<void>(std::fclose(stream));
}

}  // namespace

int file_lock_write(int fd) {
    return lock_whole_file(fd, F_SETLKW64, F_WRLCK);
}

int file_lock_read(int fd) {
    return lock_whole_file(fd, F_SETLKW64, F_RDLCK);
}

int file_unlock(int fd) {
    return lock_whole_file(fd, F_SETLK64, F_UNLCK);
}

// The copies are part of the constructors' signatures.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
readlock::readlock(std::string path) : stream_(std::fopen(path.c_str(), "r")) {
    if (stream_ != nullptr && file_lock_read(fileno(stream_)) != 0) {
        const int error = errno;
        dp::log_line(dp::log_level::log, "LOG", "readlock file ", path, " failed, errno= ", error);
    }
}

readlock::~readlock() {
    unlock_and_close(stream_, "~readlock");
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
writelock::writelock(std::string path) : stream_(std::fopen(path.c_str(), "a")) {
    if (stream_ != nullptr && file_lock_write(fileno(stream_)) != 0) {
        const int error = errno;
        dp::log_line(dp::log_level::log, "LOG", "writelock file ", path, " failed, errno= ", error);
    }
}

writelock::~writelock() {
    unlock_and_close(stream_, "~writelock file");
}
