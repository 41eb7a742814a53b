#include "service_api/exchange_lock.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "service_api/server_paths.hpp"

namespace dp_service {

exchange_lock::exchange_lock()
    : folder_(
          open(server_paths::exchange_folder.str().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

exchange_lock::~exchange_lock() {
    if (folder_ != -1) {
        close(folder_);
    }
}

// Taking the lock changes the object's state, though the kernel keeps it.
// NOLINTBEGIN(readability-make-member-function-const)
bool exchange_lock::try_acquire() {
    return folder_ == -1 || flock(folder_, LOCK_EX | LOCK_NB) == 0;
}

void exchange_lock::acquire() {
    if (folder_ != -1) {
        while (flock(folder_, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
}
// NOLINTEND(readability-make-member-function-const)

}  // namespace dp_service
