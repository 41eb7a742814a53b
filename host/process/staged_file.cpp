#include "host/process/staged_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

#include "common/file_locks.hpp"
#include "common/file_utilities.hpp"
#include "host/exchange/own_file.hpp"
#include "platform/sysipc/thread.hpp"
#include "host/process/service_log.hpp"

namespace dp_host {
namespace {

constexpr std::uint32_t lock_patience_ms = 10'000;
constexpr std::uint32_t lock_pause_ms = 20;

// Readers hold the file's lock while they read it. One that was stopped in the middle must not stop
// the service too, so waiting for the lock without an end only begins when it is free.
bool becomes_unlocked(const std::string& path) {
    for (std::uint32_t waited = 0;; waited += lock_pause_ms) {
        const file_descriptor file(
            open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        if (!file.is_open() || fcntl(file.get(), F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) {
            return true;
        }
        if (waited >= lock_patience_ms) {
            return false;
        }
        sysipc::thread::sleep(lock_pause_ms);
    }
}

}  // namespace

staged_file::staged_file(std::string path, durability how_long)
    : path_(std::move(path)), beside_(path_ + ".new"), durability_(how_long) {
    // One service at a time works here, so what is there was left by one that was killed.
    clear_away(beside_);
    file_ = file_descriptor(open(
        beside_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file_.is_open()) {
        fail("create", beside_, errno);
    }
    out_.emplace(file_.get());
}

staged_file::~staged_file() {
    if (!in_place_) {
        std::remove(beside_.c_str());
    }
}

std::ostream& staged_file::out() {
    return *out_;
}

bool staged_file::fail(const char* what, const std::string& path, int error) {
    if (problem_.empty()) {
        problem_ = text_of("cannot ", what, ' ', path, ": ", std::strerror(error));
        error_ = error;
    }
    return false;
}

bool staged_file::complete() {
    if (!problem_.empty()) {
        return false;
    }
    out_->flush();
    if (!*out_) {
        return fail("write", beside_, out_->error() != 0 ? out_->error() : EIO);
    }
    if (durability_ == lasting && fsync(file_.get()) != 0) {
        return fail("write", beside_, errno);
    }
    return true;
}

bool staged_file::replace() {
    if (!problem_.empty()) {
        return false;
    }
    // Readers compare file times: what appears now must not look older than what was made of the
    // old content a moment ago.
    if (futimens(file_.get(), nullptr) != 0 || file_.close() != 0) {
        return fail("write", beside_, errno);
    }
    if (std::rename(beside_.c_str(), path_.c_str()) != 0) {
        return fail("replace", path_, errno);
    }
    in_place_ = true;
    if (durability_ == lasting) {
        const std::string folder = dirname(path_);
        const file_descriptor handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!handle.is_open() || fsync(handle.get()) != 0) {
            return fail("keep the new names in", folder, errno);
        }
    }
    return true;
}

bool staged_file::replace_under_lock() {
    if (!problem_.empty()) {
        return false;
    }
    if (!becomes_unlocked(path_)) {
        problem_ = path_ + " stays locked by another process";
        error_ = EBUSY;
        return false;
    }
    const writelock lock(path_);
    return replace();
}

}  // namespace dp_host
