#ifndef DP_TESTS_SUPPORT_PRIVATE_QUEUES_HPP
#define DP_TESTS_SUPPORT_PRIVATE_QUEUES_HPP

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace test {

/// Gives this process and the programs that it starts their own message queues for a scope. The
/// kernel allows a user about nine queues, so only one test of a build uses queues at a time.
class private_queues {
  public:
    private_queues() {
        int got = -1;
        do {
            got = flock(programs_, LOCK_EX);
        } while (got != 0 && errno == EINTR);
        EXPECT_EQ(got, 0);
        setenv("DP_QUEUE_PREFIX", prefix().c_str(), 1);
    }
    ~private_queues() {
        unsetenv("DP_QUEUE_PREFIX");
        close(programs_);
    }
    private_queues(const private_queues&) = delete;
    private_queues& operator=(const private_queues&) = delete;

    /// The prefix of the queues' names.
    static std::string prefix() { return "test-" + std::to_string(getpid()); }

  private:
    static std::string program_folder() {
        return std::filesystem::read_symlink("/proc/self/exe").parent_path();
    }

    int programs_ = open(program_folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
};

}  // namespace test

#endif
