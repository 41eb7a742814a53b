#include "support/read_file.hpp"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "common/io_loops.hpp"
#include "support/file_descriptor.hpp"

namespace dp_support {

result<std::string> read_file(const std::string& path, std::size_t limit) {
    const file_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string content;
    if (file.is_open() && dp::read_all(file.get(), limit, content)) {
        return content;
    }
    const int error = errno;
    if (error == EFBIG) {
        return failure{path + ": is larger than " + std::to_string(limit) + " bytes", error};
    }
    return failure{path + ": " + std::strerror(error), error};
}

}  // namespace dp_support
