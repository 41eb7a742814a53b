#include "tools/dpctl/system/stable_read.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "common/io_loops.hpp"
#include "support/file_descriptor.hpp"
#include "tools/dpctl/system/denied_access.hpp"

namespace dpctl {
namespace {

// Longer than the resolution of a file's time, so that the time shows a later write.
constexpr std::chrono::milliseconds pause(12);
constexpr int most_readings = 80;
// How many readings must agree: for complete lines, and for a file that may be incomplete.
constexpr int agreeing_readings = 2;
constexpr int agreeing_readings_if_incomplete = 8;

file_snapshot failure(const std::string& path, const std::string& reason) {
    file_snapshot result;
    result.exists = true;
    result.error = path + ": " + reason;
    return result;
}

file_version version_of(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            static_cast<std::int64_t>(status.st_size),
            static_cast<std::int64_t>(status.st_mtim.tv_sec),
            static_cast<std::int64_t>(status.st_mtim.tv_nsec)};
}

file_snapshot read_once(const std::string& path, std::size_t limit) {
    // O_NONBLOCK: otherwise open() waits for the writer of a pipe.
    const dp_support::file_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.is_open()) {
        const int error = errno;
        return error == ENOENT ? file_snapshot{}
                               : failure(path, explain_denied_access(path, error));
    }
    struct stat status {};
    if (fstat(file.get(), &status) != 0) {
        return failure(path, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return failure(path, "is not a file");
    }
    std::string text;
    if (!dp::read_all(file.get(), limit, text)) {
        return failure(path, errno == EFBIG ? "is larger than " + std::to_string(limit) + " bytes"
                                            : std::strerror(errno));
    }
    return {path, true, std::move(text), "", version_of(status)};
}

}  // namespace

file_snapshot read_stable(const std::string& path, std::size_t limit) {
    file_snapshot last = read_once(path, limit);
    int agreeing = 1;
    for (int i = 1; i < most_readings && last.text; ++i) {
        const bool is_complete = !last.text->empty() && last.text->back() == '\n';
        if (agreeing >= (is_complete ? agreeing_readings : agreeing_readings_if_incomplete)) {
            break;
        }
        std::this_thread::sleep_for(pause);
        file_snapshot next = read_once(path, limit);
        agreeing = next.text == last.text && next.version == last.version ? agreeing + 1 : 1;
        last = std::move(next);
    }
    last.path = path;
    return last;
}

file_snapshot read_stable(const std::string& requested, const std::string& default_path,
                          std::size_t limit) {
    file_snapshot file = read_stable(requested.empty() ? default_path : requested, limit);
    if (file.error.empty() && !file.exists && !requested.empty()) {
        file.error = requested + ": does not exist";
    }
    return file;
}

}  // namespace dpctl
