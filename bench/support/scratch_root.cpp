#include "bench/support/scratch_root.hpp"

#include <unistd.h>

#include "tests/support/scratch_process.hpp"

namespace bench {

int in_scratch_root(char** argv, place where, void (*work)()) {
    constexpr const char* memory = "/dev/shm";
    const bool use_memory = where == place::memory && access(memory, W_OK) == 0;
    return test::run_in_scratch_process(argv, use_memory ? memory : "/tmp", [work] {
        work();
        return 0;
    });
}

}  // namespace bench
