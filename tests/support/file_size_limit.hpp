#ifndef DP_TESTS_SUPPORT_FILE_SIZE_LIMIT_HPP
#define DP_TESTS_SUPPORT_FILE_SIZE_LIMIT_HPP

#include <sys/resource.h>

#include <csignal>

namespace test {

/// During its lifetime, this process can write no file beyond `bytes`: simulates a full disk.
class file_size_limit {
  public:
    explicit file_size_limit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~file_size_limit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    file_size_limit(const file_size_limit&) = delete;
    file_size_limit& operator=(const file_size_limit&) = delete;

  private:
    rlimit before_{};
    void (*handler_)(int);
};

}  // namespace test

#endif
