#ifndef DP_TESTS_SUPPORT_OWN_QUEUES_HPP
#define DP_TESTS_SUPPORT_OWN_QUEUES_HPP

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace test {

/// Gives this process, and those that it starts, message queues of their own while it lives. The
/// kernel lets a user have nine or so at a time, so the tests of a build take turns.
class own_queues {
  public:
    own_queues() {
        int got = -1;
        do {
            got = flock(programs_, LOCK_EX);
        } while (got != 0 && errno == EINTR);
        EXPECT_EQ(got, 0);
        setenv("DP_QUEUE_PREFIX", prefix().c_str(), 1);
    }
    ~own_queues() {
        unsetenv("DP_QUEUE_PREFIX");
        close(programs_);
    }
    own_queues(const own_queues&) = delete;
    own_queues& operator=(const own_queues&) = delete;

    /// What stands in front of the queues' names.
    static std::string prefix() { return "test-" + std::to_string(getpid()); }

  private:
    static std::string program_folder() {
        return std::filesystem::read_symlink("/proc/self/exe").parent_path();
    }

    int programs_ = open(program_folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
};

}  // namespace test

#endif
