#include "host/history/transaction_id.hpp"

#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <ctime>

#include "host/process/text_of.hpp"
#include "service_api/fnv1a_64.hpp"

namespace dp_host {

std::string new_transaction_id() {
    dp_service::fnv1a_64 hash;
    std::array<char, 16> random{};
    if (getrandom(random.data(), random.size(), GRND_NONBLOCK) > 0) {
        hash.add({random.data(), random.size()});
    } else {
        // The kernel has no random bytes yet.
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        hash.add(text_of(now.tv_sec, ' ', now.tv_nsec, ' ', getpid()));
    }
    return hash.str();
}

}  // namespace dp_host
