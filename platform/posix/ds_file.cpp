#include "platform/ds_file/ds_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "common/io_loops.hpp"
#include "platform/posix/ds_folder.hpp"

namespace dp_platform {
namespace {

std::string ds_folder() {
    const char* value = ::secure_getenv("DP_DS_FOLDER");
    return value != nullptr && *value != '\0' ? value : "/var/dp/ds";
}

bool is_plain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
}

std::string stored_name(const std::string& name) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string stored;
    for (const char c : name) {
        // Only temporary names begin with a dot.
        if (is_plain(c) && !(c == '.' && stored.empty())) {
            stored += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            stored += '%';
            stored += digits[byte >> 4U];
            stored += digits[byte & 0xFU];
        }
    }
    return stored;
}

std::string temporary_name(const std::string& stored) {
    static std::atomic<unsigned> count{0};
    return '.' + stored + '.' + std::to_string(::getpid()) + '.' + std::to_string(++count);
}

}  // namespace

std::string ds_file_path(const std::string& name) {
    return ds_folder() + '/' + stored_name(name);
}

}  // namespace dp_platform

ds_file::~ds_file() {
    dsReleaseFile();
}

int ds_file::dsOpenFile(const std::string& name, int mode, std::size_t size) {
    dsReleaseFile();
    if (name.empty() || mode != mode_replace ||
        size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return -EINVAL;
    }
    const std::string folder = dp_platform::ds_folder();
    if (::mkdir(folder.c_str(), 0750) != 0 && errno != EEXIST) {
        return -errno;
    }
    folder_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder_ < 0) {
        return -errno;
    }
    name_ = dp_platform::stored_name(name);
    temporary_ = dp_platform::temporary_name(name_);
    file_ = ::openat(folder_, temporary_.c_str(),
                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0640);
    if (file_ < 0) {
        const int reason = errno;
        dsReleaseFile();
        return -reason;
    }
    left_ = size;
    return 1;
}

int ds_file::dsWriteFile(const void* data, std::size_t size) {
    if (file_ < 0) {
        return -EBADF;
    }
    if (size > left_) {
        dsReleaseFile();
        return -EFBIG;
    }
    if (!dp::write_all(file_, {static_cast<const char*>(data), size})) {
        const int reason = errno;
        dsReleaseFile();
        return -reason;
    }
    left_ -= size;
    if (left_ == 0 && !temporary_.empty()) {
        if (::renameat(folder_, temporary_.c_str(), folder_, name_.c_str()) != 0) {
            const int reason = errno;
            dsReleaseFile();
            return -reason;
        }
        temporary_.clear();
    }
    return static_cast<int>(size);
}

void ds_file::dsReleaseFile() {
    if (file_ >= 0) {
        ::close(file_);
        if (!temporary_.empty()) {
            ::unlinkat(folder_, temporary_.c_str(), 0);
        }
    }
    if (folder_ >= 0) {
        ::close(folder_);
    }
    file_ = -1;
    folder_ = -1;
    left_ = 0;
    temporary_.clear();
}
