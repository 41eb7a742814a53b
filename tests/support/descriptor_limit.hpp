#ifndef DP_TESTS_SUPPORT_DESCRIPTOR_LIMIT_HPP
#define DP_TESTS_SUPPORT_DESCRIPTOR_LIMIT_HPP

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace test {

/// During its lifetime, the process can open at most `left` descriptors more.
class descriptor_limit {
  public:
    explicit descriptor_limit(unsigned left) {
        getrlimit(RLIMIT_NOFILE, &before_);
        rlimit limit = before_;
        limit.rlim_cur = first_free() + left;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~descriptor_limit() { setrlimit(RLIMIT_NOFILE, &before_); }
    descriptor_limit(const descriptor_limit&) = delete;
    descriptor_limit& operator=(const descriptor_limit&) = delete;

  private:
    static rlim_t first_free() {
        const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(fd);
        return static_cast<rlim_t>(fd);
    }

    rlimit before_{};
};

}  // namespace test

#endif
