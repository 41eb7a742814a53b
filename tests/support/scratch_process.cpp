#include "tests/support/scratch_process.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

#include "tests/support/process.hpp"
#include "tests/support/scratch_files.hpp"

namespace test {

int run_in_scratch_process(char* const* argv, const std::filesystem::path& parent,
                           const std::function<int()>& work) {
    constexpr const char* is_child = "DP_SCRATCH_PROCESS";
    if (std::getenv(is_child) != nullptr) {
        clean_root();
        return work();
    }
    // Free of symlinks, because tests compare it with paths that the system reports.
    std::string folder = std::filesystem::canonical(parent) / "dp-test-XXXXXX";
    umask(022);
    if (mkdtemp(folder.data()) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    setenv("DP_ROOT", folder.c_str(), 1);
    setenv(is_child, "1", 1);
    const pid_t child = fork();
    if (child == 0) {
        execv("/proc/self/exe", argv);
        std::perror("execv");
        _exit(127);
    }
    const int exit_code = wait_for_exit(child);
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    return exit_code;
}

}  // namespace test
