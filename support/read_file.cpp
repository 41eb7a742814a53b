#include "support/read_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "common/io_loops.hpp"
#include "support/file_descriptor.hpp"

namespace dp_support {

result<std::string> read_file(const std::string& path, std::size_t limit) {
    const file_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string content;
    struct stat info {};
    const bool is_too_large = file.is_open() && fstat(file.get(), &info) == 0 &&
                              S_ISREG(info.st_mode) &&
                              static_cast<std::uint64_t>(info.st_size) > limit;
    if (file.is_open() && !is_too_large && dp::read_all(file.get(), limit, content)) {
        return content;
    }
    const int error = is_too_large ? EFBIG : errno;
    if (error == EFBIG) {
        return failure{path + ": is larger than " + std::to_string(limit) + " bytes", error};
    }
    return failure{path + ": " + std::strerror(error), error};
}

}  // namespace dp_support
