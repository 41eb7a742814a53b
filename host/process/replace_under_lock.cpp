#include "host/process/replace_under_lock.hpp"

#include "host/process/bounded_lock.hpp"

namespace dp_host {

dp_support::result<> replace_under_lock(dp_support::staged_file& file) {
    if (!file.outcome()) {
        return file.outcome();
    }
    // A reader that was stopped must not stop the service too.
    const auto lock = bounded_lock::acquire(file.path(), bounded_lock::kind::exclusive);
    if (!lock) {
        return lock.error();
    }
    return file.replace();
}

}  // namespace dp_host
