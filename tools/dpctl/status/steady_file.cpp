#include "tools/dpctl/status/steady_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "support/file_descriptor.hpp"

namespace dpctl {
namespace {

// Longer than the steps of a file's time, so that a later writing shows in it.
constexpr std::chrono::milliseconds pause(12);
constexpr int most_readings = 80;
// Agreeing readings that are enough for whole lines, and for what may be amid its writing.
constexpr int enough = 2;
constexpr int enough_of_a_part = 8;

steady_file failure(const std::string& path, const std::string& reason) {
    steady_file result;
    result.exists = true;
    result.error = path + ": " + reason;
    return result;
}

file_state state_of(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            static_cast<std::int64_t>(status.st_size),
            static_cast<std::int64_t>(status.st_mtim.tv_sec),
            static_cast<std::int64_t>(status.st_mtim.tv_nsec)};
}

steady_file read_once(const std::string& path, std::size_t limit) {
    // A pipe without a writer must not be waited for.
    const dp_support::file_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.is_open()) {
        return errno == ENOENT ? steady_file{} : failure(path, std::strerror(errno));
    }
    struct stat status {};
    if (fstat(file.get(), &status) != 0) {
        return failure(path, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return failure(path, "is not a file");
    }
    steady_file result{path, true, std::string(), "", state_of(status)};
    std::array<char, 16384> buffer{};
    while (true) {
        const ssize_t count = read(file.get(), buffer.data(), buffer.size());
        if (count == 0) {
            return result;
        }
        if (count < 0 && errno != EINTR) {
            return failure(path, std::strerror(errno));
        }
        if (count > 0) {
            result.text->append(buffer.data(), static_cast<std::size_t>(count));
        }
        if (result.text->size() > limit) {
            return failure(path, "is larger than " + std::to_string(limit) + " bytes");
        }
    }
}

}  // namespace

steady_file read_steadily(const std::string& path, std::size_t limit) {
    steady_file last = read_once(path, limit);
    int agreeing = 1;
    for (int i = 1; i < most_readings && last.text; ++i) {
        const bool is_whole = !last.text->empty() && last.text->back() == '\n';
        if (agreeing >= (is_whole ? enough : enough_of_a_part)) {
            break;
        }
        std::this_thread::sleep_for(pause);
        steady_file next = read_once(path, limit);
        agreeing = next.text == last.text && next.state == last.state ? agreeing + 1 : 1;
        last = std::move(next);
    }
    last.path = path;
    return last;
}

steady_file read_steadily(const std::string& asked, const std::string& usual, std::size_t limit) {
    steady_file file = read_steadily(asked.empty() ? usual : asked, limit);
    if (file.error.empty() && !file.exists && !asked.empty()) {
        file.error = asked + ": does not exist";
    }
    return file;
}

}  // namespace dpctl
