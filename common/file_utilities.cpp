#include "common/file_utilities.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <utility>

#include "common/log.hpp"
#include "platform/sysipc/thread.hpp"

namespace {

std::size_t last_separator(const std::string& path) {
    return path.find_last_of("/\\");
}

bool is_folder(const std::string& path) {
    struct stat64 info {};
    return stat64(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Like `mtime`, but not cut to 32 bits.
std::int64_t modification_time(const std::string& path) {
    struct stat64 info {};
    return stat64(path.c_str(), &info) == 0 ? info.st_mtime : 0;
}

// The length in bytes, which may exceed an int; -1 when the stream has no position. Leaves the read
// position unchanged.
std::int64_t stream_length(std::ifstream& in) {
    const auto position = in.tellg();
    in.seekg(0, std::ios::end);
    const auto length = in.tellg();
    in.seekg(position);
    return length;
}

}  // namespace

std::string dirname(const std::string& path) {
    return path.substr(0, last_separator(path));
}

std::string basename(const std::string& path) {
    const std::size_t at = last_separator(path);
    return at == std::string::npos ? path : path.substr(at + 1);
}

int istrmlength(std::ifstream& in) {
    return static_cast<int>(
        std::min(stream_length(in), std::int64_t{std::numeric_limits<int>::max()}));
}

int mtime(const std::string& path) {
    return static_cast<std::int32_t>(modification_time(path));
}

// The copies are part of the functions' signatures.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool file_older_than(std::string a, std::string b) {
    return modification_time(a) < modification_time(b);
}

bool file_newer_than(std::string a, std::string b) {
    return !file_older_than(std::move(a), std::move(b));
}

int touch(const char* path) {
    std::ofstream out(path, std::ios::app);
    out.flush();
    out.close();
    return 0;
}

bool fileexist(const std::string& path) {
    const std::ifstream in(path);
    // A folder can be opened for reading too, but is not a file.
    return in.good() && !is_folder(path);
}

int compfile(const std::string& a, const std::string& b) {
    std::ifstream in_a(a, std::ios::binary);
    std::ifstream in_b(b, std::ios::binary);
    if (!in_a || !in_b) {
        return 0;
    }
    std::int64_t remaining = stream_length(in_a);
    // A folder can be opened too, and has length 0 on some file systems.
    if (remaining < 0 || remaining != stream_length(in_b) || is_folder(a) || is_folder(b)) {
        return 0;
    }
    constexpr std::streamsize chunk_size = 4096;
    std::array<char, chunk_size> chunk_a{};
    std::array<char, chunk_size> chunk_b{};
    while (remaining > 0) {
        const auto size =
            static_cast<std::streamsize>(std::min<std::int64_t>(remaining, chunk_size));
        in_a.read(chunk_a.data(), size);
        in_b.read(chunk_b.data(), size);
        if (!in_a || !in_b ||
            std::memcmp(chunk_a.data(), chunk_b.data(), static_cast<std::size_t>(size)) != 0) {
            return 0;
        }
        remaining -= size;
    }
    return 1;
}

bool isValidEfiFile(const char* path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return false;
    }
    constexpr std::int64_t header_size = 8;
    const std::int64_t length = stream_length(in);
    if (length <= header_size) {
        return false;
    }
    std::array<unsigned char, 4> word{};
    // A standard stream reads only chars.
    in.read(reinterpret_cast<char*>(word.data()), word.size());
    if (!in) {
        return false;
    }
    const std::uint32_t payload = word[0] | static_cast<std::uint32_t>(word[1]) << 8U |
                                  static_cast<std::uint32_t>(word[2]) << 16U |
                                  static_cast<std::uint32_t>(word[3]) << 24U;
    return payload + header_size == length;
}

std::string tempname(const std::string& dir, const std::string& prefix) {
    std::array<char, 256> name{};
    const int length =
        std::snprintf(name.data(), name.size(), "%s/%s_XXXXXX", dir.c_str(), prefix.c_str());
    if (length < 0 || static_cast<std::size_t>(length) >= name.size()) {
        std::fputs("tempname: the name of a temporary file does not fit 256 bytes\n", stderr);
        std::abort();
    }
    const mode_t previous = umask(0177);
    const int fd = mkstemp(name.data());
    umask(previous);
    if (fd == 0) {
        // Descriptor 0 (standard input was closed) is a failure by contract: remove the file.
        close(fd);
        unlink(name.data());
    }
    if (fd <= 0) {
        return {};
    }
    close(fd);
    return name.data();
}

int copyfile(const std::string& from, const std::string& to) {
    std::ifstream in(from, std::ios::binary);
    std::ofstream out(to, std::ios::binary);
    if (in && out) {
        out << in.rdbuf();
        out.flush();
    }
    if (out.good()) {
        return 0;
    }
    dp::log_error_line("failed copying ", from, " to ", to);
    return 1;
}

int create_dir(const char* path) {
    const int result = mkdir(path, 0600);
    if (result != 0 && errno != EEXIST) {
        const int error = errno;
        dp::log_line(dp::log_level::log, "LOG", "create_dir ", path, ", errno=", error);
    }
    return result;
}

// The copy is part of the function's signature.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool wait_for_file_exists(std::string path, int tries, int interval_ms) {
    if (tries == 0) {
        return false;
    }
    const std::int64_t seconds = std::int64_t{interval_ms} * tries / 1000;
    dp::log_line(dp::log_level::log, "LOG", "wait_for_file: waiting on ", path, " for ", seconds,
                 " seconds");
    // `tries` + 2 tests with a pause between any two: callers rely on this count.
    for (std::int64_t slept = 0;; ++slept) {
        if (access(path.c_str(), F_OK) == 0) {
            dp::log_line(dp::log_level::log, "LOG", "wait_for_file: found ", path);
            return true;
        }
        if (tries < slept) {
            break;
        }
        sysipc::thread::sleep(static_cast<std::uint32_t>(std::max(interval_ms, 0)));
    }
    dp::log_line(dp::log_level::log, "LOG", "wait_for_file: gave up waiting on ", path);
    return false;
}
