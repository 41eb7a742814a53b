#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/scratch_files.hpp"

// Runs the tests in a child process whose $DP_ROOT is a scratch folder: the library reads it when
// it is loaded, and the folder goes away however the tests end.
int main(int argc, char** argv) {
    // The test framework takes its options out of argv; the child needs them.
    std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(nullptr);
    testing::InitGoogleMock(&argc, argv);
    if (testing::GTEST_FLAG(list_tests)) {
        return RUN_ALL_TESTS();
    }
    const char* inner = std::getenv("DP_TEST_SCRATCH");
    if (inner != nullptr) {
        test::clean_root();
        return RUN_ALL_TESTS();
    }
    // Without links, as the system names what is in it; and open to others where a test makes it
    // so.
    std::string folder =
        std::filesystem::canonical(std::filesystem::temp_directory_path()) / "dp-test-XXXXXX";
    umask(022);
    if (mkdtemp(folder.data()) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    setenv("DP_ROOT", folder.c_str(), 1);
    setenv("DP_TEST_SCRATCH", "1", 1);
    const pid_t child = fork();
    if (child == 0) {
        execv("/proc/self/exe", arguments.data());
        std::perror("execv");
        _exit(127);
    }
    int status = 1;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
